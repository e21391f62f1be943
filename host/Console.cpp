#include "host/Console.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <limits>
#include <system_error>

#include "host/Clock.h"
#include "host/Session.h"

namespace host {
namespace {

/// Lines from standard input, without blocking for the rest of one.
class LineReader {
 public:
  /// Reads what is there. False at the end of the input.
  bool Fill() {
    char buffer[4096];
    const ssize_t size = read(STDIN_FILENO, buffer, sizeof buffer);
    if (size < 0 && errno == EINTR) return true;
    if (size < 0) throw std::system_error(errno, std::generic_category(), "standard input");
    if (size == 0 && !text_.empty()) text_ += '\n';
    text_.append(buffer, static_cast<std::size_t>(size));
    return size != 0;
  }

  bool TakeLine(std::string& line) {
    const std::size_t end = text_.find('\n');
    if (end == std::string::npos) return false;
    line = text_.substr(0, end);
    text_.erase(0, end + 1);
    return true;
  }

 private:
  std::string text_;
};

void WaitForInput(std::optional<std::int64_t> due, std::int64_t now) {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  constexpr std::int64_t kLongest = std::numeric_limits<int>::max();
  const std::int64_t wait = due ? std::clamp<std::int64_t>(*due - now, 0, kLongest) : -1;
  if (poll(&input, 1, static_cast<int>(wait)) < 0 && errno != EINTR) {
    throw std::system_error(errno, std::generic_category(), "standard input");
  }
}

bool HasInput() {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  return poll(&input, 1, 0) > 0;
}

}  // namespace

void RunConsole(const PluginLibrary& plugin, bool verbose) {
  const bool isTerminal = isatty(STDIN_FILENO) != 0;
  const auto prompt = [&] {
    if (isTerminal) std::cout << "> " << std::flush;
  };
  SystemClock clock;
  Session session(plugin, clock, [](const std::string& line) {
    std::cout << line << '\n' << std::flush;
  });
  session.SetVerbose(verbose);
  session.Start();
  LineReader reader;
  prompt();
  for (bool open = true; open;) {
    WaitForInput(session.GetHost().GetNextDue(), clock.Monotonic());
    session.DeliverExpiries();
    if (!HasInput()) continue;
    open = reader.Fill();
    for (std::string line; reader.TakeLine(line);) {
      if (line.compare(0, 2, "> ") == 0) line.erase(0, 2);
      const bool isComment = line.empty() || line.front() == '#';
      if (!isTerminal) std::cout << (isComment ? "" : "> ") << line << '\n' << std::flush;
      if (!isComment) session.RunStep(line);
      prompt();
    }
  }
}

}  // namespace host

#include "host/console/Console.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <utility>

namespace host {
namespace {

namespace asio = boost::asio;

bool IsColourWanted() {
  const char* const off = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  const bool isOff = off != nullptr && *off != '\0';
  const bool isDumb = terminal == nullptr || std::strcmp(terminal, "dumb") == 0;
  return isatty(STDOUT_FILENO) != 0 && !isOff && !isDumb;
}

/// The terminal's colour code for a line; null for none.
const char* ColourOf(std::string_view line) {
  constexpr std::pair<std::string_view, const char*> kColours[] = {
      {"error ", "31"},     {"assert ", "31"},
      {"log ERROR", "31"},  {"! health state=\"failed", "1;31"},
      {"! notice", "1;31"}, {"! ", "36"},
      {"> ", "1"},          {"push ", "32"},
      {"bound ", "34"},     {"fire ", "35"},
      {"forward ", "35"},   {"log ", "2"},
  };
  for (const auto& [start, colour] : kColours) {
    if (line.substr(0, start.size()) == start) return colour;
  }
  return nullptr;
}

/// Whether the terminal hung up.
bool IsHungUp() {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  return poll(&input, 1, 0) > 0 && (input.revents & (POLLHUP | POLLERR)) != 0;
}

}  // namespace

Console::Console(asio::io_context& io, OnLine onLine, OnEnd onEnd)
    : onLine_(std::move(onLine)),
      onEnd_(std::move(onEnd)),
      input_(io, dup(STDIN_FILENO)),
      isTerminal_(isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0),
      isColoured_(IsColourWanted()) {}

void Console::Open() {
  if (isTerminal_) {
    editor_ = std::make_unique<LineEditor>([this](const std::string* line) {
      if (line != nullptr) {
        onLine_(*line);
      } else {
        asio::post(input_.get_executor(), onEnd_);  // not from inside the editor, which it ends
      }
    });
  }
  Wait();
}

void Console::Close() {
  boost::system::error_code ignored;
  input_.close(ignored);
  editor_.reset();
}

void Console::Wait() {
  const int flags = fcntl(STDIN_FILENO, F_GETFL);
  input_.async_wait(asio::posix::descriptor_base::wait_read,
                    [this](const boost::system::error_code& error) {
                      if (error == asio::error::operation_aborted || !input_.is_open()) return;
                      Read();  // an error, too: a file is always readable and cannot be polled
                    });
  // The wait makes the open file non-blocking, also for other processes that share it.
  fcntl(STDIN_FILENO, F_SETFL, flags);
}

void Console::Read() {
  if (editor_) {
    if (IsHungUp()) return onEnd_();
    editor_->Read();
  } else {
    char buffer[4096];
    const ssize_t size = read(STDIN_FILENO, buffer, sizeof buffer);
    if (size > 0) text_.append(buffer, static_cast<std::size_t>(size));
    const bool isLast = size == 0 || (size < 0 && errno != EINTR);
    TakeLines(isLast);
    if (isLast) {
      Close();
      onEnd_();
      return;
    }
  }
  if (input_.is_open()) Wait();
}

void Console::TakeLines(bool isLast) {
  if (isLast && !text_.empty()) text_ += '\n';
  for (std::size_t end = 0;
       input_.is_open() && (end = text_.find('\n', searched_)) != std::string::npos;) {
    const std::string line = text_.substr(0, end);
    text_.erase(0, end + 1);
    searched_ = 0;
    onLine_(line);
  }
  searched_ = text_.size();
}

void Console::Resize() {
  if (editor_) LineEditor::Resize();
}

void Console::Print(std::string_view line) {
  if (editor_) editor_->Hide();
  const char* const colour = isColoured_ ? ColourOf(line) : nullptr;
  if (colour != nullptr) std::printf("\033[%sm", colour);
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fputs(colour != nullptr ? "\033[0m\n" : "\n", stdout);
  std::fflush(stdout);
  if (editor_) editor_->Show();
}

}  // namespace host

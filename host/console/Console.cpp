#include "host/console/Console.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "host/console/Journal.h"
#include "host/session/Transcript.h"

namespace host {
namespace {

namespace asio = boost::asio;

constexpr std::size_t kLongestLine = std::size_t{1} << 20;
constexpr std::size_t kLongQueue = std::size_t{64} << 10;    // no line is read beyond
constexpr std::size_t kLongestQueue = std::size_t{1} << 20;  // others' lines are dropped beyond
constexpr std::chrono::seconds kFlushTime{2};
constexpr std::chrono::milliseconds kForegroundPeriod{500};

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

/// Whether the process may read from its terminal, and set its mode.
bool IsForeground() {
  const pid_t group = tcgetpgrp(STDIN_FILENO);
  return group < 0 || group == getpgrp();
}

}  // namespace

Console::Console(asio::io_context& io, Mode mode, Handlers handlers)
    : mode_(mode),
      handlers_(std::move(handlers)),
      input_(io, dup(STDIN_FILENO)),
      foreground_(io),
      output_(
          io, [this] { OnWritten(); }, handlers_.onOutputFailed),
      isTerminal_(mode == Mode::kConsole && isatty(STDIN_FILENO) != 0 &&
                  isatty(STDOUT_FILENO) != 0),
      isOutputTerminal_(isatty(STDOUT_FILENO) != 0),
      isColoured_(IsColourWanted()),
      isJournal_(IsJournal(STDOUT_FILENO)) {}

void Console::Open() {
  if (mode_ == Mode::kConsole) Attach();
}

void Console::AttachLater() {
  foreground_.expires_after(kForegroundPeriod);
  foreground_.async_wait([this](const boost::system::error_code& error) {
    if (!error) Attach();
  });
}

void Console::GoOn() {
  if (mode_ == Mode::kConsole) AttachLater();
}

void Console::End() {
  isEnding_ = true;
  boost::system::error_code ignored;
  input_.close(ignored);
  foreground_.cancel();
  editor_.reset();
  if (output_.GetWaiting() == 0) asio::post(foreground_.get_executor(), handlers_.onEnd);
}

void Console::Close() {
  boost::system::error_code ignored;
  input_.close(ignored);
  editor_.reset();
  PrintDropped();
  output_.Flush(kFlushTime);
}

void Console::Attach() {
  if (isEnding_) return;
  if (!IsForeground()) {
    if (editor_) editor_->Suspend(false);
    return AttachLater();
  }
  foreground_.cancel();
  if (editor_) {
    editor_->Resume();
  } else if (isTerminal_) {
    editor_ = std::make_unique<LineEditor>([this](std::string_view text) { output_.Write(text); });
  }
  TakeLines();
}

void Console::Wait() {
  if (isWaiting_ || !input_.is_open()) return;
  isWaiting_ = true;
  const int flags = fcntl(STDIN_FILENO, F_GETFL);
  input_.async_wait(asio::posix::descriptor_base::wait_read,
                    [this](const boost::system::error_code& error) {
                      isWaiting_ = false;
                      if (error == asio::error::operation_aborted || !input_.is_open()) return;
                      if (!IsForeground()) return Attach();
                      Read();  // an error, too: a file is always readable and cannot be polled
                      TakeLines();
                    });
  // The wait makes the open file non-blocking, also for other processes that share it.
  fcntl(STDIN_FILENO, F_SETFL, flags);
}

void Console::Read() {
  constexpr std::size_t kMostAtOnce = 4096;
  const std::size_t begin = text_.size();
  text_.resize(begin + kMostAtOnce);  // before bytes are taken that could get lost
  const ssize_t size = read(STDIN_FILENO, &text_[begin], kMostAtOnce);
  const bool isLater = size < 0 && (errno == EINTR || errno == EAGAIN);
  text_.resize(begin + static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  if (isLater) return;
  isLast_ = size <= 0;  // of a terminal, too: it hung up
  if (editor_ && !isLast_) editor_->Type(std::exchange(text_, {}));
}

void Console::TakeLines() {
  while (!isEnding_ && output_.GetWaiting() <= kLongQueue) {
    const auto line = TakeLine();
    if (line) {
      handlers_.onLine(*line);
    } else if (!isLast_) {
      return Wait();
    } else {
      return End();
    }
  }
}

/// The next line that was read; none if its end is yet to be read.
std::optional<std::string> Console::TakeLine() {
  if (!editor_) return TakeTextLine();
  switch (editor_->Next()) {
    case LineEditor::Event::kLine:
      return editor_->TakeLine();
    case LineEditor::Event::kEnd:
      isLast_ = true;
      [[fallthrough]];
    default:
      return std::nullopt;
  }
}

std::optional<std::string> Console::TakeTextLine() {
  for (;;) {
    std::size_t end = text_.find('\n');
    const bool isWhole = end != std::string::npos || (isLast_ && !text_.empty());
    end = std::min(end, text_.size());
    const bool isTooLong = std::exchange(isTextTooLong_, isTextTooLong_ || end > kLongestLine);
    if (!isTooLong && isTextTooLong_) {
      Print(FormatError("a line is longer than " + std::to_string(kLongestLine) + " bytes"));
    }
    std::optional<std::string> line;
    if (isWhole && !isTextTooLong_) line = text_.substr(0, end);
    if (isWhole || isTextTooLong_) text_.erase(0, end + 1);
    if (line || !isWhole) return line;
    isTextTooLong_ = false;
  }
}

void Console::Resize() {
  if (editor_) editor_->Resize();
}

bool Console::ClearLine() { return editor_ && editor_->Clear(); }

void Console::Suspend() {
  if (editor_) editor_->Suspend(IsForeground());
}

void Console::Resume() {
  if (isTerminal_) Attach();
}

void Console::OnWritten() {
  const std::size_t waiting = output_.GetWaiting();
  if (waiting <= kLongQueue) PrintDropped();
  if (!isEnding_) {
    if (mode_ == Mode::kConsole) TakeLines();
  } else if (output_.GetWaiting() == 0) {
    handlers_.onEnd();
  }
}

void Console::Print(std::string_view line, Cause cause) {
  if (output_.IsGone()) return;
  if (cause == Cause::kOther && output_.GetWaiting() > kLongestQueue) {
    ++dropped_;
    return;
  }
  PrintDropped();
  PrintNow(line);
}

void Console::PrintDropped() {
  if (dropped_ == 0) return;
  PrintNow("! dropped " + std::to_string(std::exchange(dropped_, 0)) +
           " lines that came faster than this output is read");
}

void Console::PrintNow(std::string_view line) {
  if (mode_ == Mode::kService) {
    if (const auto entry = ToServiceLog(line, isJournal_)) output_.Write(*entry + '\n');
    return;
  }
  if (editor_) editor_->Hide();
  const char* const colour = isColoured_ ? ColourOf(line) : nullptr;
  std::string text = isOutputTerminal_ ? ToPrintable(line) : std::string(line);
  if (colour != nullptr) text = std::string("\033[") + colour + 'm' + text + "\033[0m";
  output_.Write(text += '\n');
  if (editor_) editor_->Show();
}

}  // namespace host

#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/console/LineEditor.h"
#include "host/console/Output.h"

namespace host {

/// Standard input and output: lines come from a terminal, from a pipe or from a file.
///
/// Backpressure: while much output waits for its reader, no line is read, and a line that others
/// caused is dropped. The output of the console's own lines is not dropped.
class Console {
 public:
  /// What made a line be printed.
  enum class Cause { kConsole, kOther };

  /// All of them are called from `io`'s run.
  struct Handlers {
    std::function<void(const std::string& line)> onLine;
    std::function<void()> onEnd;  // the input has ended, and the output is written
    std::function<void(const std::string& reason)> onOutputFailed;  // once
  };

  /// What standard input and output are.
  enum class Mode {
    kConsole,  // a person's or a script's: lines are read, and all that is printed is written
    kService,  // a service's: nothing is read, and what `ToServiceLog` takes is written
  };

  /// Ignores SIGPIPE in the whole process.
  Console(boost::asio::io_context& io, Mode mode, Handlers handlers);

  /// Begins to read, but for a service. At a terminal, shows the prompt.
  void Open();
  /// Reads on, half a second later, after `std::bad_alloc` has passed out of `io`'s run.
  void GoOn();
  /// Takes no further line, restores the terminal's mode, and calls `onEnd` when the output is
  /// written. To be called from `onLine`.
  void End();
  /// Restores the terminal's mode, and waits 2 seconds at most for the output to be read. To be
  /// called after `io`'s run.
  void Close();

  /// Reads the terminal's new size (SIGWINCH).
  void Resize();
  /// Clears the line that is being edited. Returns false if there was none.
  bool ClearLine();
  /// Restores the terminal's mode, before the process stops (SIGTSTP).
  void Suspend();
  /// Reads from the terminal as soon as the process is in the foreground again (SIGCONT).
  void Resume();

  /// Prints a line above the line that is being edited.
  void Print(std::string_view line, Cause cause = Cause::kConsole);

  /// Whether input and output are a terminal, which echoes the input. Not for a service.
  bool IsTerminal() const { return isTerminal_; }
  /// Why output could not be written, the first time; "" if all was.
  const std::string& GetOutputFailure() const { return output_.GetFailure(); }
  /// Whether there is no reader of the output any more.
  bool IsOutputGone() const { return output_.IsGone(); }

 private:
  void Attach();
  void AttachLater();
  void Wait();
  void Read();
  /// Passes lines on while the output is read, then waits for more.
  void TakeLines();
  std::optional<std::string> TakeLine();
  std::optional<std::string> TakeTextLine();
  void OnWritten();
  void PrintDropped();
  void PrintNow(std::string_view line);

  const Mode mode_;
  const Handlers handlers_;
  boost::asio::posix::stream_descriptor input_;
  boost::asio::steady_timer foreground_;  // until `Attach`
  Output output_;
  const bool isTerminal_;
  const bool isOutputTerminal_;
  const bool isColoured_;
  const bool isJournal_;
  std::unique_ptr<LineEditor> editor_;
  std::string text_;  // of the lines that are not passed on yet; of an editor, none
  bool isTextTooLong_ = false;
  bool isLast_ = false;  // whether the input has ended
  bool isEnding_ = false;
  bool isWaiting_ = false;   // for input
  std::size_t dropped_ = 0;  // lines
};

}  // namespace host

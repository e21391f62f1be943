#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "host/console/LineEditor.h"

namespace host {

/// Standard input and output. Lines come from a person at a terminal, from a pipe or from a file.
class Console {
 public:
  using OnLine = std::function<void(const std::string& line)>;
  using OnEnd = std::function<void()>;

  /// Calls `onLine` and, after the last line, `onEnd` from `io`'s run.
  Console(boost::asio::io_context& io, OnLine onLine, OnEnd onEnd);

  /// Begins to read. At a terminal, shows the prompt.
  void Open();
  /// Stops reading, and restores the terminal's mode.
  void Close();

  /// Reads the terminal's new size (SIGWINCH).
  void Resize();

  /// Prints a line above the line that is being edited.
  void Print(std::string_view line);

  /// Whether input and output are a terminal, which echoes the input.
  bool IsTerminal() const { return isTerminal_; }

 private:
  void Wait();
  void Read();
  void TakeLines(bool isLast);

  const OnLine onLine_;
  const OnEnd onEnd_;
  boost::asio::posix::stream_descriptor input_;
  const bool isTerminal_;
  const bool isColoured_;
  std::unique_ptr<LineEditor> editor_;
  std::string text_;          // of a line without its line end
  std::size_t searched_ = 0;  // how much of it has no line end
};

}  // namespace host

#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "host/console/LineEditor.h"

namespace host {

/// Standard input and output: lines from a person at a terminal or from a pipe or file, and lines
/// to be read there.
class Console {
 public:
  using OnLine = std::function<void(const std::string& line)>;
  using OnEnd = std::function<void()>;

  /// Lines come from within `io`'s run, and `onEnd` after the last.
  Console(boost::asio::io_context& io, OnLine onLine, OnEnd onEnd);

  /// Begins to read. An editor shows its line from here on.
  void Open();
  /// Reads no more, and gives the terminal back.
  void Close();

  /// Takes note of the terminal's new size.
  void Resize();

  /// Prints a line; one that is being edited is not disturbed.
  void Print(std::string_view line);

  /// Whether what is entered is seen on the screen anyhow.
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
  std::string text_;  // of a line whose end is still to come
};

}  // namespace host

#pragma once

#include <functional>
#include <optional>
#include <string>

namespace host {

/// Edits a line at the terminal, with history and completion of steps. One at a time in a process.
/// It does not block: its owner calls `Read` when standard input is readable.
class LineEditor {
 public:
  /// Calls `onLine` with each line that is entered, and with null at the end of the input.
  explicit LineEditor(std::function<void(const std::string* line)> onLine);
  /// Restores the terminal's mode.
  ~LineEditor();
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  /// Reads what was typed. To be called when standard input is readable.
  void Read();
  /// Reads the terminal's new size.
  static void Resize();
  /// Clears the line that is being edited from the screen, so that another line can be printed.
  void Hide() const;
  /// Draws it again.
  void Show() const;

 private:
  static void OnLine(char* text);

  std::function<void(const std::string*)> onLine_;
  std::optional<std::string> entered_;  // a line that `Read` has yet to pass on
  bool isAtEnd_ = false;
};

}  // namespace host

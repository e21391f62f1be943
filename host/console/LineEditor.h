#pragma once

#include <functional>
#include <optional>
#include <string>

namespace host {

/// Edits a line at the terminal, with history and completion of steps. There can be one in a
/// process. It never waits: its owner says when there is something to read.
class LineEditor {
 public:
  /// `onLine` is told each line that is entered, and null at the end of the input.
  explicit LineEditor(std::function<void(const std::string* line)> onLine);
  /// Gives the terminal back as it was.
  ~LineEditor();
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  /// Takes what was typed; to be called when standard input can be read.
  void Read();
  /// Takes note of the terminal's new size.
  static void Resize();
  /// Takes the line that is being edited off the screen, so that something can be printed.
  void Hide() const;
  /// Puts it back.
  void Show() const;

 private:
  static void OnLine(char* text);

  std::function<void(const std::string*)> onLine_;
  std::optional<std::string> entered_;  // a line that `Read` has yet to tell of
  bool isAtEnd_ = false;
};

}  // namespace host

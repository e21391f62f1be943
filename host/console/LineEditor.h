#pragma once

#include <histedit.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "host/console/LineHistory.h"

namespace host {

/// Edits a line at the terminal, with history and completion of steps. It neither reads nor writes
/// by itself, and so it does not block: its owner passes on what was typed, and writes what the
/// editor shows.
class LineEditor {
 public:
  enum class Event {
    kNone,  // all that was typed is carried out
    kLine,  // a line was entered
    kEnd,   // the end of the input was typed
  };

  /// Sets the terminal's mode, and shows the prompt by `write`. Sets the process's locale for
  /// characters, to C.UTF-8 where the user's has another encoding.
  explicit LineEditor(std::function<void(std::string_view text)> write);
  /// Restores the terminal's mode.
  ~LineEditor();
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  /// Adds what was typed.
  void Type(std::string_view bytes);
  /// Carries out what was typed, up to the next event.
  Event Next();
  /// Takes the line that was entered. After `Event::kLine`.
  std::string TakeLine() { return std::move(entered_); }

  /// Clears the line that is being edited. Returns false if it was empty.
  bool Clear();
  /// Reads the terminal's new size.
  void Resize();
  /// Clears the line from the screen, so that another line can be printed.
  void Hide();
  /// Draws it again.
  void Show();

  /// Leaves the terminal to another process group; `isOurs` tells whether it is still ours, so that
  /// its mode can be restored. `Hide` and `Show` do nothing until `Resume`.
  void Suspend(bool isOurs);
  /// Sets the terminal's mode again, and draws the line.
  void Resume();

 private:
  struct Closer {
    void operator()(FILE* file) const { std::fclose(file); }
    void operator()(EditLine* editor) const { el_end(editor); }
  };

  static LineEditor& Of(EditLine* editor);
  static int GetKey(EditLine* editor, wchar_t* key);
  static unsigned char OnTab(EditLine* editor, int key);
  static unsigned char OnEnd(EditLine* editor, int key);

  void BindKeys();
  void InsertText();
  void DropUnknownKeys();
  void Enter();
  void Reset();
  unsigned char Complete();
  int RowsAboveCursor() const;

  const std::function<void(std::string_view)> write_;
  LineHistory history_;
  const std::unique_ptr<FILE, Closer> screen_;
  const std::unique_ptr<EditLine, Closer> editor_;
  std::string bytes_;  // typed, of an incomplete character
  std::wstring keys_;  // typed, not carried out yet
  std::string entered_;
  std::string candidates_;  // to be shown; "" for none
  bool isAtEnd_ = false;
  bool isSuspended_ = false;
  bool isHistoryFailed_ = false;
};

}  // namespace host

#include "host/console/LineEditor.h"

#include <editline/readline.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "host/session/StepCompletion.h"

namespace host {
namespace {

constexpr const char* kPrompt = "> ";

LineEditor* theEditor = nullptr;

/// The library's callback for completion: the next word. The library frees it.
char* NextCompletion(const char*, int isLater) {
  static std::vector<std::string> words;
  static std::size_t next = 0;
  if (isLater == 0) {
    words = CompleteStep(std::string_view(rl_line_buffer, static_cast<std::size_t>(rl_point)));
    next = 0;
  }
  if (next == words.size()) return nullptr;
  const std::string& word = words[next++];
  const bool hasValue = word.back() == '=';
  rl_completion_append_character = hasValue ? 0 : static_cast<unsigned char>(' ');
  return strdup(word.c_str());
}

char** Complete(const char* text, int, int) {
  rl_attempted_completion_over = 1;  // no file names
  return rl_completion_matches(text, NextCompletion);
}

/// How many screen rows the text wraps before the cursor.
int RowsAboveCursor() {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 0;
  int column = static_cast<int>(std::strlen(kPrompt));
  for (int i = 0; i < rl_point; ++i) {
    if ((static_cast<unsigned char>(rl_line_buffer[i]) & 0xC0) != 0x80) ++column;
  }
  return column / size.ws_col;
}

}  // namespace

LineEditor::LineEditor(std::function<void(const std::string*)> onLine)
    : onLine_(std::move(onLine)) {
  std::setlocale(LC_CTYPE, "");
  theEditor = this;
  rl_catch_signals = 0;  // the event loop handles them
  rl_initialize();
  using_history();
  rl_attempted_completion_function = Complete;
  rl_basic_word_break_characters = " \t";
  rl_callback_handler_install(kPrompt, &LineEditor::OnLine);
}

LineEditor::~LineEditor() {
  if (!isAtEnd_) std::fputs("\n", stdout);
  rl_callback_handler_remove();
  theEditor = nullptr;
}

void LineEditor::Read() {
  rl_callback_read_char();
  if (isAtEnd_) return onLine_(nullptr);
  if (!entered_) return;
  // The library has restored the terminal's mode, in which a Ctrl-D that is typed now would be
  // lost. So the editor is installed again before the line is carried out.
  rl_callback_handler_install(kPrompt, &LineEditor::OnLine);
  rl_point = 0;
  const std::string line = *std::exchange(entered_, std::nullopt);
  onLine_(&line);
}

void LineEditor::OnLine(char* text) {
  LineEditor& editor = *theEditor;
  editor.isAtEnd_ = text == nullptr;
  if (editor.isAtEnd_) return rl_callback_handler_remove();
  if (*text != '\0') add_history(text);
  editor.entered_ = text;
  std::free(text);
}

void LineEditor::Resize() { rl_resize_terminal(); }

void LineEditor::Hide() const {
  if (isAtEnd_) return;
  const int rows = RowsAboveCursor();
  if (rows > 0) std::printf("\033[%dA", rows);
  std::fputs("\r\033[J", stdout);
}

void LineEditor::Show() const {
  if (!isAtEnd_) rl_forced_update_display();
}

}  // namespace host

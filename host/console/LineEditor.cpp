#include "host/console/LineEditor.h"

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <utility>
#include <vector>

#include "host/session/StepCompletion.h"

namespace host {
namespace {

constexpr wchar_t kEscape = L'\033';
constexpr std::size_t kMostKeys = std::size_t{1} << 20;  // in a line

char kPrompt[] = "> ";
char* GetPrompt(EditLine*) { return kPrompt; }

/// The keys that are not in the library's tables, or for which its command waits for another key
/// and would take the lack of one for the end of the input.
constexpr const char* kKeys[][2] = {
    {"\\e[A", "ed-prev-history"}, {"\\e[B", "ed-next-history"},      {"\\e[C", "ed-next-char"},
    {"\\e[D", "ed-prev-char"},    {"\\e[H", "ed-move-to-beg"},       {"\\e[F", "ed-move-to-end"},
    {"\\e[1~", "ed-move-to-beg"}, {"\\e[4~", "ed-move-to-end"},      {"\\e[7~", "ed-move-to-beg"},
    {"\\e[8~", "ed-move-to-end"}, {"\\e[3~", "ed-delete-next-char"}, {"\\e[1;5C", "em-next-word"},
    {"\\e[1;5D", "ed-prev-word"}, {"^R", "ed-search-prev-history"},  {"^I", "host-complete"},
    {"^D", "host-end"},           {"^V", "ed-unassigned"},           {"\\ex", "ed-unassigned"},
    {"\\eX", "ed-unassigned"},
};

void SetLocale() {
  std::setlocale(LC_CTYPE, "");
  if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) std::setlocale(LC_CTYPE, "C.UTF-8");
}

FILE* OpenScreen(const std::function<void(std::string_view)>& write) {
  cookie_io_functions_t functions{};
  functions.write = [](void* cookie, const char* text, std::size_t size) {
    (*static_cast<const std::function<void(std::string_view)>*>(cookie))({text, size});
    return static_cast<ssize_t>(size);
  };
  // The library does not write by this function object, and so it need not be mutable.
  return fopencookie(const_cast<std::function<void(std::string_view)>*>(&write), "w", functions);
}

/// The length of an escape sequence at the start of the keys; 0 if its rest is yet to come.
std::size_t LengthOfSequence(std::wstring_view keys) {
  if (keys.size() < 2) return 0;
  if (keys[1] == L'O') return keys.size() < 3 ? 0 : 3;
  if (keys[1] != L'[') return 2;
  const std::size_t last = keys.find_first_not_of(L"0123456789;", 2);
  return last == std::wstring_view::npos ? 0 : last + 1;
}

bool IsKnownSequence(std::wstring_view keys) {
  return std::any_of(std::begin(kKeys), std::end(kKeys), [&](const auto& key) {
    const std::string_view rest = std::string_view(key[0]).substr(2);  // without "\e"
    return std::equal(rest.begin(), rest.end(), keys.begin() + 1, keys.end());
  });
}

bool IsText(wchar_t key) { return std::iswprint(static_cast<std::wint_t>(key)) != 0; }

std::string ToUtf8(std::wstring_view text) {
  std::string bytes;
  std::mbstate_t state{};
  for (const wchar_t c : text) {
    char buffer[16];
    const std::size_t size = std::wcrtomb(buffer, c, &state);
    if (size != static_cast<std::size_t>(-1)) bytes.append(buffer, size);
  }
  return bytes;
}

std::wstring_view Before(const LineInfoW& line) {
  return {line.buffer, static_cast<std::size_t>(line.cursor - line.buffer)};
}

std::size_t SizeOf(const LineInfoW& line) {
  return static_cast<std::size_t>(line.lastchar - line.buffer);
}

}  // namespace

LineEditor::LineEditor(std::function<void(std::string_view)> write)
    : write_((SetLocale(), std::move(write))),
      screen_(OpenScreen(write_)),
      editor_(el_init_fd("guest-services-host", stdin, screen_.get(), screen_.get(), STDIN_FILENO,
                         STDOUT_FILENO, STDOUT_FILENO)) {
  EditLine* const editor = editor_.get();
  el_set(editor, EL_CLIENTDATA, this);
  el_set(editor, EL_SIGNAL, 0);  // the event loop handles them
  el_set(editor, EL_PROMPT, GetPrompt);
  el_set(editor, EL_EDITOR, "emacs");
  el_set(editor, EL_HIST, history, history_.Get());
  el_set(editor, EL_GETCFN, &LineEditor::GetKey);
  BindKeys();
  el_set(editor, EL_UNBUFFERED, 1);
}

LineEditor::~LineEditor() {
  if (isSuspended_) {
    el_set(editor_.get(), EL_EDITMODE, 0);  // leaves the terminal's mode as it is
  } else if (SizeOf(*el_wline(editor_.get())) > 0) {
    write_("\n");
  } else {
    Hide();
  }
}

void LineEditor::BindKeys() {
  EditLine* const editor = editor_.get();
  el_set(editor, EL_ADDFN, "host-complete", "Complete a step", &LineEditor::OnTab);
  el_set(editor, EL_ADDFN, "host-end", "End the input, or delete a character", &LineEditor::OnEnd);
  for (const auto& [key, command] : kKeys) el_set(editor, EL_BIND, key, command, nullptr);
}

LineEditor& LineEditor::Of(EditLine* editor) {
  void* self = nullptr;
  el_get(editor, EL_CLIENTDATA, &self);
  return *static_cast<LineEditor*>(self);
}

int LineEditor::GetKey(EditLine* editor, wchar_t* key) {
  std::wstring& keys = Of(editor).keys_;
  if (keys.empty()) return 0;
  *key = keys.front();
  keys.erase(0, 1);
  return 1;
}

unsigned char LineEditor::OnTab(EditLine* editor, int) { return Of(editor).Complete(); }

unsigned char LineEditor::OnEnd(EditLine* editor, int) {
  const LineInfoW& line = *el_wline(editor);
  if (SizeOf(line) == 0) {
    Of(editor).isAtEnd_ = true;
    return CC_NORM;
  }
  if (line.cursor == line.lastchar) return CC_ERROR;
  el_cursor(editor, 1);
  el_deletestr(editor, 1);
  return CC_REFRESH;
}

void LineEditor::Type(std::string_view bytes) {
  bytes_ += bytes;
  const char* at = bytes_.data();
  const char* const end = at + bytes_.size();
  while (at != end) {
    wchar_t key = 0;
    std::mbstate_t state{};
    const std::size_t size = std::mbrtowc(&key, at, static_cast<std::size_t>(end - at), &state);
    if (size == static_cast<std::size_t>(-2)) break;  // incomplete
    const bool isValid = size != static_cast<std::size_t>(-1);
    if (isValid) keys_ += key;
    at += isValid ? std::max<std::size_t>(size, 1) : 1;
  }
  bytes_.erase(0, static_cast<std::size_t>(at - bytes_.data()));
}

LineEditor::Event LineEditor::Next() {
  for (;;) {
    DropUnknownKeys();
    if (keys_.empty() || (keys_.front() == kEscape && LengthOfSequence(keys_) == 0)) {
      return Event::kNone;
    }
    if (keys_.size() > 1 && IsText(keys_[0]) && IsText(keys_[1])) {
      InsertText();
      continue;
    }
    int size = 0;
    const wchar_t* const text = el_wgets(editor_.get(), &size);
    if (isAtEnd_) {
      write_("\n");
      return Event::kEnd;
    }
    if (!candidates_.empty()) {
      Hide();
      write_(std::exchange(candidates_, ""));
      Show();
    }
    if (text != nullptr && size > 0 && text[size - 1] == L'\n') {
      entered_ = ToUtf8({text, static_cast<std::size_t>(size - 1)});
      Enter();
      return Event::kLine;
    }
  }
}

/// Inserts text that was pasted, and draws the line once.
void LineEditor::InsertText() {
  const auto end = std::find_if_not(keys_.begin(), keys_.end(), IsText);
  const std::wstring text(keys_.begin(), end);
  keys_.erase(keys_.begin(), end);
  Hide();
  if (SizeOf(*el_wline(editor_.get())) < kMostKeys) el_winsertstr(editor_.get(), text.c_str());
  Show();
}

/// Drops escape sequences without a meaning, whose end would be inserted as text.
void LineEditor::DropUnknownKeys() {
  while (keys_.size() > 1 && keys_[0] == kEscape && keys_[1] == L'[') {
    const std::size_t length = LengthOfSequence(keys_);
    if (length == 0 || IsKnownSequence(std::wstring_view(keys_).substr(0, length))) return;
    keys_.erase(0, length);
  }
}

void LineEditor::Enter() {
  if (!entered_.empty()) {
    const std::string fault = history_.Add(entered_);
    if (!fault.empty() && !std::exchange(isHistoryFailed_, true)) {
      write_("! the history is not saved: " + fault + '\n');
    }
  }
  Reset();
  Show();
}

/// Begins a new line, in the terminal's present mode.
void LineEditor::Reset() {
  el_set(editor_.get(), EL_EDITMODE, 0);  // otherwise the library restores the terminal's mode
  el_reset(editor_.get());
  el_set(editor_.get(), EL_EDITMODE, 1);
}

unsigned char LineEditor::Complete() {
  const std::string text = ToUtf8(Before(*el_wline(editor_.get())));
  const std::vector<std::string> words = CompleteStep(text);
  if (words.empty()) return CC_ERROR;
  const std::size_t begun = text.size() - (text.find_last_of(" \t") + 1);
  std::string common = words.front();
  for (const std::string& word : words) {
    const auto end = std::mismatch(common.begin(), common.end(), word.begin(), word.end()).first;
    common.erase(end, common.end());
  }
  const bool isWhole = words.size() == 1 && common.back() != '=';
  const std::string rest = common.substr(begun) + (isWhole ? " " : "");
  if (!rest.empty()) {
    el_insertstr(editor_.get(), rest.c_str());
    return CC_REFRESH;
  }
  for (const std::string& word : words)
    candidates_ += word + (&word != &words.back() ? "  " : "\n");
  return CC_NORM;
}

bool LineEditor::Clear() {
  if (SizeOf(*el_wline(editor_.get())) == 0) return false;
  Hide();
  Reset();
  Show();
  return true;
}

void LineEditor::Resize() { el_resize(editor_.get()); }

/// How many screen rows the text wraps before the cursor.
int LineEditor::RowsAboveCursor() const {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 0;
  int column = static_cast<int>(std::strlen(kPrompt));
  for (const wchar_t c : Before(*el_wline(editor_.get()))) column += std::max(wcwidth(c), 0);
  return std::min(column / size.ws_col, std::max(size.ws_row - 1, 0));
}

void LineEditor::Hide() {
  if (isAtEnd_ || isSuspended_) return;
  const int rows = RowsAboveCursor();
  if (rows > 0) write_("\033[" + std::to_string(rows) + 'A');
  write_("\r\033[J");
}

void LineEditor::Show() {
  if (!isAtEnd_ && !isSuspended_) el_set(editor_.get(), EL_REFRESH);
}

void LineEditor::Suspend(bool isOurs) {
  if (isSuspended_) return;
  if (isOurs) {
    Hide();
    el_set(editor_.get(), EL_PREP_TERM, 0);
  }
  isSuspended_ = true;
}

void LineEditor::Resume() {
  if (!isSuspended_) Hide();
  isSuspended_ = false;
  el_set(editor_.get(), EL_PREP_TERM, 0);
  el_set(editor_.get(), EL_PREP_TERM, 1);
  el_resize(editor_.get());
  Show();
}

}  // namespace host

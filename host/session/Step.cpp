#include "host/session/Step.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string_view>

#include "host/session/Transcript.h"
#include "platform/QxTime.h"
#include "platform/xml/XmlNode.h"

namespace host {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

/// Splits a line into words.
class WordReader {
 public:
  explicit WordReader(std::string_view line) : rest_(line) {}

  /// Moves to the next word; false at the end of the line.
  bool Next() {
    while (!rest_.empty() && IsBlank(rest_.front())) rest_.remove_prefix(1);
    return !rest_.empty();
  }

  StepWord ReadWord() {
    StepWord word{};
    const std::size_t end = rest_.find_first_of(" \t='\"");
    if (end != std::string_view::npos && end != 0 && rest_[end] == '=') {
      word.key = rest_.substr(0, end);
      rest_.remove_prefix(end + 1);
    }
    const char quote = rest_.empty() ? '\0' : rest_.front();
    word.isQuoted = quote == '\'' || quote == '"';
    word.value = word.isQuoted ? ReadQuoted(quote) : ReadBare();
    return word;
  }

  std::string ReadBare() {
    const std::size_t end = std::min(rest_.find_first_of(" \t"), rest_.size());
    std::string value(rest_.substr(0, end));
    rest_.remove_prefix(end);
    return value;
  }

 private:
  std::string ReadQuoted(char quote) {
    std::string value;
    rest_.remove_prefix(1);
    for (;;) {
      const char c = Take();
      if (c == quote) break;
      value += c == '\\' && quote == '"' ? ReadEscape() : c;
    }
    if (!rest_.empty() && !IsBlank(rest_.front())) {
      throw StepError("no blank after the closing quote");
    }
    return value;
  }

  char ReadEscape() {
    const char c = Take();
    switch (c) {
      case '"':
      case '\\':
        return c;
      case 'n':
        return '\n';
      case 't':
        return '\t';
      case 'x': {
        const char digits[] = {Take(), Take()};
        unsigned int byte = 0;
        const auto result = std::from_chars(digits, digits + 2, byte, 16);
        if (result.ptr != digits + 2) throw StepError("\\x needs two hexadecimal digits");
        return static_cast<char>(byte);
      }
      default:
        throw StepError(std::string("unknown escape \\") + c);
    }
  }

  char Take() {
    if (rest_.empty()) throw StepError("a quoted value has no end");
    const char c = rest_.front();
    rest_.remove_prefix(1);
    return c;
  }

  std::string_view rest_;
};

/// 0 for a letter that is no unit.
int SecondsOfUnit(char unit) {
  switch (unit) {
    case 's':
      return 1;
    case 'm':
      return 60;
    case 'h':
      return 3600;
    default:
      return 0;
  }
}

}  // namespace

bool Step::IsCommandName(std::string_view name) {
  const auto isUpper = [](char c) { return c >= 'A' && c <= 'Z'; };
  const auto isOther = [](char c) { return (c >= '0' && c <= '9') || c == '_'; };
  return !name.empty() && isUpper(name.front()) &&
         std::all_of(name.begin(), name.end(), [&](char c) { return isUpper(c) || isOther(c); });
}

Step ParseStep(std::string_view line) {
  WordReader reader(line);
  Step step;
  step.text = line;
  if (!reader.Next()) throw StepError("an empty step");
  step.name = reader.ReadBare();
  while (reader.Next()) step.words.push_back(reader.ReadWord());
  return step;
}

std::int64_t ParseDuration(const std::string& text) {
  constexpr std::int64_t kMost = std::int64_t{36525} * 24 * 3600;
  std::int64_t seconds = text.empty() ? -1 : 0;
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end && seconds >= 0;) {
    unsigned int number = 0;
    const auto result = std::from_chars(at, end, number);
    const int unit = result.ptr != end ? SecondsOfUnit(*result.ptr) : 0;
    const bool isRead = result.ec == std::errc() && unit != 0;
    seconds = isRead ? seconds + std::int64_t{number} * unit : -1;
    if (seconds > kMost) seconds = -1;
    at = isRead ? result.ptr + 1 : end;
  }
  if (seconds < 0) {
    throw StepError('\'' + ToOneLine(text) + "' is no duration up to a century, such as 14m30s");
  }
  return seconds * 1000;
}

std::int64_t ParseTime(const std::string& text) {
  constexpr std::string_view kShape = "dddd-dd-ddTdd:dd:dd";
  const auto fits = [](char c, char shape) {
    return shape == 'd' ? c >= '0' && c <= '9' : c == shape;
  };
  const bool hasShape =
      text.size() == kShape.size() && std::equal(text.begin(), text.end(), kShape.begin(), fits);
  const auto number = [&](std::size_t at) { return qx::ToInt(text.c_str() + at); };
  if (hasShape) {
    const QxTime time(number(0), number(5), number(8), number(11), number(14), number(17));
    // Convert back: `QxTime` carries over a day that no calendar has.
    const std::int64_t seconds = time.GetTime();
    const QxTime same(seconds);
    if (same.GetYear() == time.GetYear() && same.GetMonth() == time.GetMonth() &&
        same.GetDay() == time.GetDay() && same.GetHour() == time.GetHour() &&
        same.GetMinute() == time.GetMinute() && same.GetSecond() == time.GetSecond()) {
      return seconds * 1000;
    }
  }
  throw StepError("'" + ToOneLine(text) + "' is no time such as 2024-03-02T09:05:07");
}

std::string FormatTime(std::int64_t milliseconds) {
  const QxTime time(milliseconds / 1000);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", time.GetYear(), time.GetMonth(),
                time.GetDay(), time.GetHour(), time.GetMinute(), time.GetSecond());
  return text;
}

unsigned int ParseUnsigned(const std::string& text) {
  unsigned int number = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end) {
    throw StepError("'" + ToOneLine(text) + "' is no number of 32 bits");
  }
  return number;
}

}  // namespace host

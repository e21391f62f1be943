#include "platform/xml/Utf8.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iterator>

namespace qx {
namespace {

/// From the first to the last character, in UTF-8.
constexpr std::string_view kUnprintable[][2] = {
    {{"\0", 1}, "\x1F"},
    {"\x7F", "\xC2\x9F"},              // DEL, C1
    {"\xE2\x80\xA8", "\xE2\x80\xAE"},  // separators, embeddings, overrides
    {"\xE2\x81\xA6", "\xE2\x81\xA9"},  // isolates
};

bool IsPrintable(std::string_view character) {
  return Utf8Length(character) > 0 &&
         std::none_of(std::begin(kUnprintable), std::end(kUnprintable), [&](const auto& range) {
           return character >= range[0] && character <= range[1];
         });
}

void AppendEscape(std::string& out, char c) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  if (c == '\n') {
    out += "\\n";
  } else if (c == '\t') {
    out += "\\t";
  } else {
    ((out += "\\x") += kDigits[byte >> 4]) += kDigits[byte & 15];
  }
}

}  // namespace

int Utf8Length(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return -1;
  const int length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  // The second byte's range keeps out overlong forms, surrogates and what lies past U+10FFFF.
  const unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned char high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  if (text.size() < 2 || byte(1) < low || byte(1) > high) return -1;
  for (int i = 2; i < length; ++i) {
    const auto index = static_cast<std::size_t>(i);
    if (index >= text.size() || (byte(index) & 0xC0) != 0x80) return -i;
  }
  return length;
}

std::string ToPrintable(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const auto length = static_cast<std::size_t>(std::abs(Utf8Length(text)));
    const std::string_view character = text.substr(0, length);
    text.remove_prefix(length);
    if (IsPrintable(character)) {
      out += character;
    } else {
      for (const char c : character) AppendEscape(out, c);
    }
  }
  return out;
}

}  // namespace qx

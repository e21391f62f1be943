#include "platform/xml/XmlText.h"

#include <algorithm>
#include <array>

namespace qx {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

enum class ByteClass : unsigned char { kPlain, kEscaped, kForbidden, kMultiByte };

constexpr std::array<ByteClass, 256> MakeByteClasses() {
  std::array<ByteClass, 256> classes{};
  for (unsigned i = 0; i < 0x20; ++i) classes[i] = ByteClass::kForbidden;
  for (unsigned i = 0x80; i < 0x100; ++i) classes[i] = ByteClass::kMultiByte;
  for (unsigned char c : {'&', '<', '>', '"', '\t', '\n', '\r'}) classes[c] = ByteClass::kEscaped;
  return classes;
}

constexpr std::array<ByteClass, 256> kByteClasses = MakeByteClasses();

ByteClass ClassOf(char c) { return kByteClasses[static_cast<unsigned char>(c)]; }

std::string_view Escape(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\t':
      return "&#9;";
    case '\n':
      return "&#10;";
    default:
      return "&#13;";
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

void AppendEscaped(Markup& out, std::string_view text) {
  const auto isPlain = [](char c) { return ClassOf(c) == ByteClass::kPlain; };
  for (;;) {
    const auto* const special = std::find_if_not(text.begin(), text.end(), isPlain);
    const auto plain = static_cast<std::size_t>(special - text.begin());
    out.Append(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) return;
    const ByteClass byteClass = ClassOf(text.front());
    std::size_t size = 1;
    std::string_view written = kReplacement;
    if (byteClass == ByteClass::kEscaped) {
      written = Escape(text.front());
    } else if (byteClass == ByteClass::kMultiByte) {
      const int length = Utf8Length(text);
      size = static_cast<std::size_t>(length < 0 ? -length : length);
      const std::string_view character = text.substr(0, size);
      // U+FFFE and U+FFFF are UTF-8 but no XML characters.
      const bool allowed = character != "\xEF\xBF\xBE" && character != "\xEF\xBF\xBF";
      if (length > 0 && allowed) written = character;
    }
    out.Append(written);
    text.remove_prefix(size);
  }
}

}  // namespace qx

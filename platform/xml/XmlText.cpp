#include "platform/xml/XmlText.h"

#include <algorithm>
#include <array>

#include "platform/xml/Utf8.h"

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

std::size_t PlainSize(std::string_view text) {
  const auto isPlain = [](char c) { return ClassOf(c) == ByteClass::kPlain; };
  const auto* const special = std::find_if_not(text.begin(), text.end(), isPlain);
  return static_cast<std::size_t>(special - text.begin());
}

}  // namespace

void AppendEscaped(Markup& out, std::string_view text) {
  for (;;) {
    const std::size_t plain = PlainSize(text);
    Append(out, text.substr(0, plain));
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
    Append(out, written);
    text.remove_prefix(size);
  }
}

void AppendAttribute(Markup& out, std::string_view name, std::string_view value) {
  Markup escaped;
  if (PlainSize(value) != value.size()) {
    AppendEscaped(escaped, value);
    value = View(escaped);
  }
  char* to = Extend(out, name.size() + value.size() + std::string_view(" =\"\"").size());
  to = Write(to, " ");
  to = Write(to, name);
  to = Write(to, "=\"");
  to = Write(to, value);
  Write(to, "\"");
}

}  // namespace qx

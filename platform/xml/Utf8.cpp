#include "platform/xml/Utf8.h"

#include <cstddef>

namespace qx {

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

}  // namespace qx

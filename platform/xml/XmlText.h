#pragma once

#include <string_view>

#include "platform/Types.h"
#include "platform/xml/Markup.h"

namespace qx {

/// Appends `text` escaped for an attribute value or element text, with U+FFFD in place of each
/// byte sequence that XML 1.0 cannot carry.
void AppendEscaped(Markup& out, std::string_view text);

/// The number of bytes, 1 to 4, of the UTF-8 character that `text` begins with, negative when these
/// are the bytes of an ill-formed sequence to be replaced as one. `text` must not be empty.
PLATFORM_API int Utf8Length(std::string_view text);

}  // namespace qx

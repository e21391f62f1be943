#pragma once

#include <string_view>

#include "platform/Types.h"

namespace qx {

/// Returns the length in bytes, 1 to 4, of the UTF-8 character at the start of `text`. When `text`
/// starts with an ill-formed sequence, returns the negated length of that sequence, -1 to -3, which
/// a reader replaces as a whole. `text` must not be empty. Does not fail. [any time]
PLATFORM_API int Utf8Length(std::string_view text);

}  // namespace qx

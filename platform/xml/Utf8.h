#pragma once

#include <string>
#include <string_view>

#include "platform/Types.h"

namespace qx {

/// Returns the length in bytes, 1 to 4, of the UTF-8 character at the start of `text`. When `text`
/// starts with an ill-formed sequence, returns the negated length of that sequence, -1 to -3, which
/// a reader replaces as a whole. `text` must not be empty. Does not fail. [any time]
PLATFORM_API int Utf8Length(std::string_view text);

/// Returns the text as one line that is safe to show: writes as escapes (`\n`, `\t`, `\xHH` for a
/// byte) what a terminal or a reader of a log acts on (C0, DEL, C1, line separators), what reorders
/// the text around it (bidirectional embeddings, overrides, isolates), and what is not UTF-8.
/// [any time]
PLATFORM_API std::string ToPrintable(std::string_view text);

}  // namespace qx

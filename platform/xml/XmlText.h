#pragma once

#include <string_view>

#include "platform/xml/Markup.h"

namespace qx {

/// Appends `text` escaped for an attribute value or element text, with U+FFFD in place of each
/// byte sequence that XML 1.0 cannot carry.
void AppendEscaped(Markup& out, std::string_view text);

}  // namespace qx

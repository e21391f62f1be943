#pragma once

#include <string>
#include <string_view>

#include "host/engine/HostCall.h"

namespace host {

/// The line that stands for a call in a transcript; "" for a call that has none.
std::string FormatLine(const HostCall& call);

/// Whether the call's line is printed only where somebody wants to see what happens around the
/// commands.
bool IsVerbose(const HostCall& call);

/// The text in double quotes, as a step may hold it: quotes, backslashes, control characters and
/// bytes that are not UTF-8 are escaped.
std::string Quote(std::string_view text);

/// The text with control characters and bytes that are not UTF-8 escaped, so that it is one line.
std::string ToOneLine(std::string_view text);

}  // namespace host

#pragma once

#include <string>
#include <string_view>

#include "host/engine/HostCall.h"

namespace host {

/// The transcript line of a call; "" for a call that has none.
std::string FormatLine(const HostCall& call);

/// The line of an answer.
std::string FormatAnswer(std::string_view text);

/// The line of a failure.
std::string FormatError(std::string_view reason);

/// Whether the call's line is printed by a verbose session only.
bool IsVerbose(const HostCall& call);

/// Whether a line begins as one that a session prints.
bool IsPrinted(std::string_view line);

/// Whether it is the line of a failure.
bool IsError(std::string_view line);

/// Whether it is the line of an answer.
bool IsAnswer(std::string_view line);

/// Whether the text is UTF-8 as a whole.
bool IsUtf8(std::string_view text);

/// Puts the text in double quotes, as in a step. Escapes quotes, backslashes, control characters
/// and bytes that are not UTF-8.
std::string Quote(std::string_view text);

/// Makes one line of the text: escapes control characters and bytes that are not UTF-8.
std::string ToOneLine(std::string_view text);

/// The line as a terminal may show it: escapes what `qx::ToPrintable` names.
std::string ToPrintable(std::string_view line);

}  // namespace host

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace host {

/// What a service's log gets of a printed line: log records, failures and status lines, as one
/// printable line each. None for steps, pushes and calls, which repeat what the records say.
///
/// `hasLevels` puts the line's syslog level before it, such as "<6>", which the journal reads.
std::optional<std::string> ToServiceLog(std::string_view line, bool hasLevels);

/// Whether that open file is the journal's, as the service manager's `JOURNAL_STREAM` says.
bool IsJournal(int file);

}  // namespace host

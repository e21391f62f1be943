#pragma once

// What a host may set up of the process's log. A host need not use it, and plug-ins do not include
// it.

#include <string>
#include <string_view>

#include "platform/Types.h"

namespace qx {

/// The levels of log4cplus's root logger, from the one that lets all records through on.
inline constexpr std::string_view kLogLevels[] = {"TRACE", "DEBUG", "INFO", "WARN",
                                                  "ERROR", "FATAL", "OFF"};

/// Sets the level of log4cplus's root logger, one of `kLogLevels`. Throws `std::invalid_argument`
/// for any other text and leaves the level as it was. [any time]
PLATFORM_API void SetLogLevel(const std::string& name);
/// Returns that level, by the same names. [any time]
PLATFORM_API std::string GetLogLevel();

/// Configures log4cplus by the property file at `path`. The root logger keeps the appender that
/// hands records to the host. The file's appenders of the root logger get each record's text as one
/// line (`ToPrintable`), the host gets it unchanged. Throws `std::runtime_error` that names the
/// file when it cannot be read; log4cplus itself reports on standard error what it does not
/// understand in the file. [any time]
PLATFORM_API void ConfigureLog(const std::string& path);

/// Writes `text` to the root logger as a record of level ERROR. The other appenders get the record,
/// `IHost::OnLogRecord` does not. [any time]
PLATFORM_API void WriteHostError(const std::string& text);

}  // namespace qx

#pragma once

#include <string>

namespace host {

/// Configures the log by log4cplus's property file at `path`. Throws `std::runtime_error` that
/// names the file, and leaves the log as it is, when the file or one that it includes is no regular
/// file, cannot be read, or includes itself.
void ConfigureLog(const std::string& path);

}  // namespace host

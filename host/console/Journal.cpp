#include "host/console/Journal.h"

#include <sys/stat.h>
#include <syslog.h>

#include <cstdlib>

#include "host/session/Transcript.h"

namespace host {
namespace {

/// The syslog level of a line; none for a line that a service does not log.
std::optional<int> LevelOf(std::string_view line) {
  struct Row {
    std::string_view start;
    int level;
  };
  constexpr Row kRows[] = {
      {"log TRACE ", LOG_DEBUG},   {"log DEBUG ", LOG_DEBUG},
      {"log INFO ", LOG_INFO},     {"log WARN ", LOG_WARNING},
      {"log ERROR ", LOG_ERR},     {"log FATAL ", LOG_CRIT},
      {"assert ", LOG_ERR},        {"error ", LOG_ERR},
      {"error: ", LOG_ERR},        {"! health state=\"failed", LOG_ERR},
      {"! health ", LOG_NOTICE},   {"! notice ", LOG_WARNING},
      {"! dropped ", LOG_WARNING}, {"! page ", LOG_INFO},
  };
  for (const Row& row : kRows) {
    if (line.substr(0, row.start.size()) == row.start) return row.level;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> ToServiceLog(std::string_view line, bool hasLevels) {
  const auto level = LevelOf(line);
  if (!level) return std::nullopt;
  return (hasLevels ? '<' + std::to_string(*level) + '>' : "") + ToPrintable(line);
}

bool IsJournal(int file) {
  const char* const stream = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  return stream != nullptr && fstat(file, &status) == 0 &&
         stream == std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
}

}  // namespace host

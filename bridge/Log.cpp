#include "bridge/Log.h"

#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <string_view>

namespace bridge {
namespace {

/// Whether the standard output is the journal's, as the service manager says.
bool IsJournal() {
  const char* const stream = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  return stream != nullptr && fstat(STDOUT_FILENO, &status) == 0 &&
         stream == std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
}

void Write(bool isJournal, int level, std::string_view word, const std::string& text) {
  if (isJournal) std::cout << '<' << level << '>';
  std::cout << word << text << std::endl;
}

}  // namespace

Log::Log() : isJournal_(IsJournal()) {}

void Log::Info(const std::string& text) const { Write(isJournal_, LOG_INFO, "", text); }
void Log::Warn(const std::string& text) const { Write(isJournal_, LOG_WARNING, "warning: ", text); }

}  // namespace bridge

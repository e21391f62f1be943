#include "host/live/SessionRecord.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace host {

void SessionRecord::Begin(std::int64_t moment, const std::vector<std::string>& steps) {
  moment_ = moment;
  text_.clear();
  for (const std::string& step : steps) Add("> " + step);
}

void SessionRecord::AddStep(std::int64_t moment, const std::string& step,
                            const std::vector<std::string>& lines, std::int64_t end) {
  if (moment > moment_) AddPassage(moment);
  Add("> " + step);
  for (const std::string& line : lines) Add(line);
  moment_ = end;
}

void SessionRecord::AddLines(std::int64_t moment, const std::vector<std::string>& lines) {
  if (lines.empty()) return;
  AddPassage(moment);
  for (const std::string& line : lines) Add(line);
}

void SessionRecord::AddPassage(std::int64_t moment) {
  Add("> advance " + std::to_string(moment - moment_) + 's');
  moment_ = moment;
}

void SessionRecord::Write(const std::string& path) const {
  const auto check = [&](bool succeeded) {
    if (succeeded) return;
    throw std::system_error(errno, std::generic_category(), path + ": cannot write it");
  };
  std::FILE* const file = std::fopen(path.c_str(), "wx");
  check(file != nullptr);
  const bool isWritten = std::fwrite(text_.data(), 1, text_.size(), file) == text_.size();
  const bool isClosed = std::fclose(file) == 0;
  check(isWritten && isClosed);
}

}  // namespace host

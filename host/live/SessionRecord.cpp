#include "host/live/SessionRecord.h"

#include "platform/HostLog.h"

namespace host {

void SessionRecord::NoteSetting(const Step& step) {
  for (const char* const name : {"verbose", "programming", "forwarder"}) {
    if (step.name == name) settings_[name] = step.text;
  }
}

void SessionRecord::Begin(const Beginning& beginning) {
  moment_ = beginning.armed;
  text_ = std::make_shared<std::string>();
  if (!beginning.isExact) Add("# The agent has not one timer: expiries may come at other moments.");
  Add("> " + beginning.clock);
  Add("> " + beginning.restart);
  for (const auto& setting : settings_) Add("> " + setting.second);
  const std::string level = qx::GetLogLevel();
  if (level != "INFO") Add("> loglevel " + level);
  if (beginning.moment > moment_) AddPassage(beginning.moment);
  beginningSize_ = text_->size();
}

void SessionRecord::Add(const std::string& line) {
  if (text_.use_count() > 1) text_ = std::make_shared<std::string>(*text_);
  (*text_ += line) += '\n';
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

}  // namespace host

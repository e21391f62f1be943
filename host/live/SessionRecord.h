#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/session/Step.h"

namespace host {

/// The record of a session from some moment on, as a scenario that replays. Moments are seconds of
/// the session's monotonic clock.
class SessionRecord {
 public:
  /// Takes note of a step that changed a setting: `verbose`, `programming` or `forwarder`. A record
  /// that begins later begins with it.
  void NoteSetting(const Step& step);

  /// Discards the record and begins a new one. `clock` and `restart` are the steps that set the
  /// wall clock and start an agent with the present state.
  void Begin(std::int64_t moment, const std::string& clock, const std::string& restart);

  /// Adds the lines of a step that began at `moment` and ended at `end`.
  void AddStep(std::int64_t moment, const std::string& step, const std::vector<std::string>& lines,
               std::int64_t end);
  /// Adds lines that no step caused, and that came until `moment`.
  void AddLines(std::int64_t moment, const std::vector<std::string>& lines);

  /// Whether the record is so long that a new one should begin.
  bool IsLong() const { return text_.size() > kLong; }

  /// The scenario. Valid until the record changes.
  const std::string& GetText() const { return text_; }

 private:
  static constexpr std::size_t kLong = std::size_t{1} << 20;

  void Add(const std::string& line) { (text_ += line) += '\n'; }
  /// Adds a step that advances the clock to `moment`.
  void AddPassage(std::int64_t moment);

  std::int64_t moment_ = 0;
  std::string text_;
  std::map<std::string, std::string> settings_;  // the last step of each name
};

}  // namespace host

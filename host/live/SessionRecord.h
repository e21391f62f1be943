#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
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

  /// How a record begins.
  struct Beginning {
    std::int64_t moment;  // now
    std::int64_t armed;   // when the agent armed its timer, `moment` at the latest
    bool isExact;         // whether a new agent's timer then expires at the same moments
    std::string clock;    // the step that sets the wall clock to the time of `armed`
    std::string restart;  // the step that starts an agent with the present state
  };
  /// Discards the record and begins a new one.
  void Begin(const Beginning& beginning);

  /// Adds the lines of a step that began at `moment` and ended at `end`.
  void AddStep(std::int64_t moment, const std::string& step, const std::vector<std::string>& lines,
               std::int64_t end);
  /// Adds lines that no step caused, and that came until `moment`.
  void AddLines(std::int64_t moment, const std::vector<std::string>& lines);

  /// Whether the record is so long that a new one should begin: it has grown by 1 MiB, and by as
  /// much as its beginning, so that what beginnings cost stays in proportion.
  bool IsLong() const {
    return text_->size() > beginningSize_ + std::max<std::size_t>(kLong, beginningSize_);
  }

  /// The scenario as it is now. Copied only if the record goes on while the text is kept.
  std::shared_ptr<const std::string> GetText() const { return text_; }

 private:
  static constexpr std::size_t kLong = std::size_t{1} << 20;

  void Add(const std::string& line);
  /// Adds a step that advances the clock to `moment`.
  void AddPassage(std::int64_t moment);

  std::int64_t moment_ = 0;
  std::shared_ptr<std::string> text_ = std::make_shared<std::string>();
  std::size_t beginningSize_ = 0;
  std::map<std::string, std::string> settings_;  // the last step of each name
};

}  // namespace host

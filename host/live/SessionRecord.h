#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// What happened in a session from some moment on, as a scenario. Moments are seconds of the
/// session's monotonic clock.
class SessionRecord {
 public:
  /// Forgets what there is. `steps` bring a new session to where this one is at `moment`.
  void Begin(std::int64_t moment, const std::vector<std::string>& steps);

  /// Adds the lines of a step that was carried out at `moment` and ended at `end`, ...
  void AddStep(std::int64_t moment, const std::string& step, const std::vector<std::string>& lines,
               std::int64_t end);
  /// ... or lines that came by themselves until `moment`.
  void AddLines(std::int64_t moment, const std::vector<std::string>& lines);

  /// Whether it has grown so long that it is to begin anew.
  bool IsLong() const { return text_.size() > kLong; }

  /// The scenario. Valid until something is added.
  const std::string& GetText() const { return text_; }
  /// Writes the scenario to a new file. Throws `std::system_error`, which names the file, also when
  /// there is such a file.
  void Write(const std::string& path) const;

 private:
  static constexpr std::size_t kLong = std::size_t{1} << 20;

  void Add(const std::string& line) { (text_ += line) += '\n'; }
  /// Adds a step that lets the time pass up to `moment`.
  void AddPassage(std::int64_t moment);

  std::int64_t moment_ = 0;
  std::string text_;
};

}  // namespace host

#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// A step that cannot be read or carried out; the message says what is wrong with it.
class StepError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One word of a step after its first: a value, or a key with a value.
struct StepWord {
  std::string key;  // "" for a bare value
  std::string value;
  bool isQuoted;
};

/// A step as it was written.
struct Step {
  std::string name;
  std::vector<StepWord> words;

  /// Whether it is a command or request name: upper-case letters, digits and underscores.
  static bool IsCommandName(std::string_view name);
};

/// Reads a step, without the "> " before it. Throws `StepError`.
Step ParseStep(std::string_view line);

/// Reads "90s", "15m", "14m30s", "2h" as milliseconds. Throws `StepError`, also for more than a
/// century: every expiry on the way is delivered.
std::int64_t ParseDuration(const std::string& text);

/// Reads "2024-03-02T09:05:07", a time in the process's zone, as milliseconds since 1970-01-01
/// 00:00:00 UTC. Throws `StepError`.
std::int64_t ParseTime(const std::string& text);

/// The same the other way round; fractions of a second are dropped.
std::string FormatTime(std::int64_t milliseconds);

/// Reads a decimal number of 32 bits. Throws `StepError`.
unsigned int ParseUnsigned(const std::string& text);

}  // namespace host

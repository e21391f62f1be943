#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// A step that cannot be parsed or carried out; the message names the fault.
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

struct StepRow;

/// A parsed step.
struct Step {
  std::string text;  // as it was written, without the "> " before it
  std::string name;
  std::vector<StepWord> words;
  const StepRow* row = nullptr;  // of the step table; null until the name is looked up

  /// Whether it is a command or request name: upper-case letters, digits and underscores.
  static bool IsCommandName(std::string_view name);
};

/// Parses a line, given without the "> " before it. Throws `StepError`.
Step ParseStep(std::string_view line);

/// Parses "90s", "15m", "14m30s", "2h"; returns milliseconds. Throws `StepError`, also for more
/// than a century, since an advance delivers every timer expiry on the way.
std::int64_t ParseDuration(const std::string& text);

/// Parses "2024-03-02T09:05:07", a time in the process's time zone; returns milliseconds since
/// 1970-01-01 00:00:00 UTC. Throws `StepError`.
std::int64_t ParseTime(const std::string& text);

/// Formats milliseconds since 1970-01-01 00:00:00 UTC likewise. Drops fractions of a second.
std::string FormatTime(std::int64_t milliseconds);

/// Parses a decimal number of 32 bits. Throws `StepError`.
unsigned int ParseUnsigned(const std::string& text);

}  // namespace host

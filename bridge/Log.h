#pragma once

#include <string>

namespace bridge {

/// The program's log: one line for each record on the standard output. In systemd's journal a line
/// begins with its syslog level.
class Log {
 public:
  /// Reads from the environment whether the standard output is the journal's.
  Log();

  void Info(const std::string& text) const;
  void Warn(const std::string& text) const;

 private:
  bool isJournal_;
};

}  // namespace bridge

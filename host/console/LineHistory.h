#pragma once

#include <histedit.h>

#include <memory>
#include <string>

namespace host {

/// The lines that were entered at the terminal, also those of earlier runs: the last 500. They are
/// kept in a file of the user, which no other user may read. Of two hosts at a time, the file holds
/// the lines of the one that saved last.
class LineHistory {
 public:
  /// Reads the file. Begins empty if there is none, or if it is no file of this class.
  LineHistory();

  /// Adds a line, and saves the file. Returns why it could not be saved; "" on success.
  std::string Add(const std::string& line);

  /// For the editor. Owned by this object.
  ::History* Get() { return history_.get(); }

 private:
  struct Deleter {
    void operator()(::History* history) const { history_end(history); }
  };

  void Save() const;

  const std::unique_ptr<::History, Deleter> history_;
  const std::string path_;  // "" for no file
};

}  // namespace host

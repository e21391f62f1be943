#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/live/StateFile.h"

namespace host {

/// Whether the state that the agent has is the one on the disk.
struct StateHealth {
  enum class Kind { kNoFile, kSaved, kFailed };

  Kind kind;
  std::string reason;  // why the last save failed; "" otherwise

  bool operator!=(const StateHealth& other) const {
    return kind != other.kind || reason != other.reason;
  }
};

/// Keeps an agent's state in a file, or nowhere. Sets aside files that hold no state, and retries a
/// save that failed.
class StateKeeper {
 public:
  using OnNotice = StateFile::OnNotice;

  /// `path` is "" for no file. Throws what `StateFile` throws.
  StateKeeper(const std::string& path, OnNotice onNotice);

  /// Gives `start` the text of the file or, where `start` refuses it, of the backup. `start` starts
  /// an agent with the text and returns the state that the agent has then, or nothing if the text
  /// holds no state; that file is set aside before the next save. Returns whether an agent was
  /// started. Throws `std::system_error` when a file exists and cannot be read, and what `start`
  /// throws.
  bool Restore(const std::function<std::optional<std::string>(const std::string& text)>& start);

  /// Saves the text that `persist` returns, unless the file holds it and no other program changed
  /// the file. What fails, `persist` included, becomes the health's reason.
  void Save(const std::function<std::string()>& persist);

  const StateHealth& GetHealth() const { return health_; }

 private:
  void SetRefusedAside();

  std::optional<StateFile> file_;
  OnNotice onNotice_;
  StateHealth health_;
  std::optional<std::string> saved_;  // the text that the file is known to hold
  std::vector<std::string> refused_;  // files that hold no state
};

}  // namespace host

#pragma once

#include <functional>
#include <string>
#include <utility>

namespace host {

/// An advisory lock (flock) that only one process has at a time. It is on a file of its own, since
/// a save replaces the state's file. The kernel releases it at the end of the process, however that
/// ends; the file stays.
class StateLock {
 public:
  /// `path` is the lock's file. Takes no lock yet.
  explicit StateLock(std::string path) : path_(std::move(path)) {}
  ~StateLock();
  StateLock(const StateLock&) = delete;
  StateLock& operator=(const StateLock&) = delete;

  /// Takes the lock, unless this object has it already; never waits. Throws `std::runtime_error`
  /// that names the process when another one has the lock, and `std::system_error` when the file
  /// cannot be opened. Where the file system has no locks, calls `onNotice` once and goes on
  /// without one.
  void Take(const std::function<void(const std::string& text)>& onNotice);

 private:
  const std::string path_;
  int file_ = -1;  // of the lock that this object has
};

}  // namespace host

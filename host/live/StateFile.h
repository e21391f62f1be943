#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "host/engine/File.h"
#include "host/live/StateLock.h"

namespace host {

/// A file that holds a state, and its previous good version in FILE.backup. A save is atomic: a
/// crash at any moment leaves the old text or the new one in the file. What another program writes
/// to these files is kept under a dated name.
///
/// Every operation throws `std::runtime_error`, mostly `std::system_error`, which names the step
/// and the file, and leaves the good files as they are.
class StateFile {
 public:
  /// Tells a person something once.
  using OnNotice = std::function<void(const std::string& text)>;

  /// `path` may be a symbolic link to the file. Throws unless its folder exists, no link on the way
  /// lacks its target, FILE, FILE.backup and their ".new" files are regular or absent, and no other
  /// process has locked FILE.lock. When the lock cannot be taken for another reason, `Lock` can try
  /// again.
  StateFile(const std::string& path, OnNotice onNotice);

  const std::string& GetPath() const { return path_; }
  const std::string& GetBackupPath() const { return backup_; }

  /// The text of the file or of the backup; nothing if there is no such file.
  std::optional<std::string> Read(const std::string& path);

  /// Takes the lock that the constructor could not take; does nothing when it is taken.
  void Lock() { lock_.Take(onNotice_); }

  /// Whether the file is the one that was read or saved last.
  bool IsOurs() const;

  /// Renames a file that holds no state to PATH.unreadable-20241122T101500Z; returns that name.
  /// Overwrites no file.
  std::string SetAside(const std::string& path);

  /// Replaces the file by `text` and the backup by the file. Both are on the disk (fsync) when it
  /// returns. The file keeps its owner, group and permissions; a new one is private. What another
  /// program wrote to the files is kept as PATH.changed-20241122T101500Z, and told. The file must
  /// be locked.
  void Save(const std::string& text);

 private:
  /// Has a dated name for what is at `path`, unless it is what was read or saved last; returns
  /// whether it is.
  bool KeepForeign(const std::string& path);
  void ReplaceBackup();

  const OnNotice onNotice_;
  const std::string path_;
  const std::string backup_;
  const std::string folder_;
  StateLock lock_;
  std::map<std::string, FileInfo> known_;  // what was read or saved last, by path
  std::map<std::string, FileInfo> kept_;   // what was kept under a dated name last, by path
  std::optional<FileInfo> rights_;         // of the file, if there ever was one
};

}  // namespace host

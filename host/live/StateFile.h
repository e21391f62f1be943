#pragma once

#include <optional>
#include <string>

namespace host {

/// A file that holds a state, and its previous good version in FILE.backup. A save is atomic: a
/// crash at any moment leaves the old text or the new one in the file. Every operation throws
/// `std::system_error`, which names the step and the file, and leaves the good files as they are.
class StateFile {
 public:
  /// `path` may be a symbolic link to the file. Its folder must exist.
  explicit StateFile(const std::string& path);

  const std::string& GetPath() const { return path_; }
  const std::string& GetBackupPath() const { return backup_; }

  /// The text of the file or of the backup; nothing if there is no such file.
  static std::optional<std::string> Read(const std::string& path);

  /// Renames an unreadable file to a name with the present time; returns that name. Overwrites no
  /// file.
  static std::string SetAside(const std::string& path);

  /// Replaces the file by `text` and the backup by the file. Both are on the disk (fsync) when it
  /// returns.
  void Save(const std::string& text) const;

 private:
  std::string path_;
  std::string backup_;
  std::string folder_;
};

}  // namespace host

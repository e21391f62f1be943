#pragma once

#include <optional>
#include <string>

namespace host {

/// A file that holds a state, and the good version before it in FILE.backup. Whatever ends the
/// process while it saves, the file holds the old text or the new one. Every operation throws
/// `std::system_error`, which names the file and the step, and leaves the good files as they are.
class StateFile {
 public:
  /// `path` may be a link to the file. Its folder must be there.
  explicit StateFile(const std::string& path);

  const std::string& GetPath() const { return path_; }
  const std::string& GetBackupPath() const { return backup_; }

  /// The text of the file, or of the backup; nothing if there is no such file.
  static std::optional<std::string> Read(const std::string& path);

  /// Gives `path` a name that says that it could not be read, and when; returns that name. No file
  /// is overwritten.
  static std::string SetAside(const std::string& path);

  /// Puts `text` in the file's place and the file in the backup's, and returns when both are on the
  /// disk.
  void Save(const std::string& text) const;

 private:
  std::string path_;
  std::string backup_;
  std::string folder_;
};

}  // namespace host

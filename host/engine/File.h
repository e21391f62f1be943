#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace host {

/// What stands under a path: which version of which file, with whose rights.
struct FileInfo {
  bool isRegular;  // not a folder, a symbolic link, a FIFO, a socket or a device
  std::uint64_t device;
  std::uint64_t inode;
  std::int64_t size;      // bytes
  std::int64_t modified;  // nanoseconds since 1970-01-01 00:00:00 UTC
  std::uint32_t mode;     // the permission bits
  std::uint32_t owner;
  std::uint32_t group;

  /// Whether nothing was written to the file, and no other file was put in its place.
  bool IsSameVersion(const FileInfo& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           modified == other.modified;
  }
};

/// Looks at what a path names, without opening it and without following a symbolic link. Returns
/// nothing if nothing is there. Throws `std::system_error` that names the step and the path.
std::optional<FileInfo> LookAt(const std::string& path);

/// Throws `std::runtime_error` if something other than a regular file is at `path`.
void CheckRegularOrAbsent(const std::string& path);

/// Reads a whole file. Throws `std::system_error` that names the step and the file.
std::string ReadFile(const std::string& path);

/// The same for a regular file, or for a symbolic link to one. Throws `std::runtime_error` for
/// anything else, without waiting for it: a FIFO blocks, and a device may have no end.
std::string ReadRegularFile(const std::string& path);

/// How `WriteFile` opens the file.
enum class FileMode {
  kNew,       // there must be none
  kTruncate,  // replaces the text of one that is there
};

/// Writes a file and flushes it to the disk (fsync). Throws `std::system_error` that names the step
/// and the file; the file may be incomplete then.
void WriteFile(const std::string& path, const std::string& text, FileMode mode);

/// Writes a new file (`FileMode::kNew`) with the permissions, owner and group of `like`, or a
/// private one (mode 0600) if `like` is empty; it is private until it has them. Returns what was
/// written.
FileInfo WriteNewFileLike(const std::optional<FileInfo>& like, const std::string& path,
                          const std::string& text);

/// Throws `std::system_error` unless `path` is a folder.
void CheckFolder(const std::string& path);

/// Flushes a folder to the disk, and with it the renames and links in it (fsync). Does nothing
/// where the file system flushes no folders or the folder cannot be read. Throws
/// `std::system_error`.
void FlushFolder(const std::string& path);

/// Throws a `std::system_error` of the present `errno` that names the step and the file.
[[noreturn]] void ThrowFileError(const char* step, const std::string& path);

}  // namespace host

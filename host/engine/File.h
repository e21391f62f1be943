#pragma once

#include <string>

namespace host {

/// Reads a whole file. Throws `std::system_error` that names the step and the file.
std::string ReadFile(const std::string& path);

/// How `WriteFile` opens the file.
enum class FileMode {
  kNew,       // there must be none
  kTruncate,  // replaces the text of one that is there
};

/// Writes a file and flushes it to the disk (fsync). Throws `std::system_error` that names the step
/// and the file; the file may be incomplete then.
void WriteFile(const std::string& path, const std::string& text, FileMode mode);

/// Throws `std::system_error` unless `path` is a folder that can be opened.
void CheckFolder(const std::string& path);

/// Flushes a folder to the disk, and with it the renames and links in it (fsync). Throws
/// `std::system_error`.
void FlushFolder(const std::string& path);

/// Throws a `std::system_error` of the present `errno` that names the step and the file.
[[noreturn]] void ThrowFileError(const char* step, const std::string& path);

}  // namespace host

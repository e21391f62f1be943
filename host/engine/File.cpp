#include "host/engine/File.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace host {
namespace {

/// An open file.
class Descriptor {
 public:
  Descriptor(const std::string& path, int flags)
      : path_(path), value_(open(path.c_str(), flags | O_CLOEXEC, 0666)) {
    if (value_ < 0) ThrowFileError("open", path);
  }
  ~Descriptor() { close(value_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  /// Reads at most `size` bytes; returns how many, 0 at the end of the file.
  std::size_t Read(char* buffer, std::size_t size) const {
    for (;;) {
      const ssize_t count = read(value_, buffer, size);
      if (count >= 0) return static_cast<std::size_t>(count);
      if (errno != EINTR) ThrowFileError("read", path_);
    }
  }

  void Write(const std::string& text) const {
    for (std::size_t done = 0; done < text.size();) {
      const ssize_t count = write(value_, text.data() + done, text.size() - done);
      if (count >= 0) {
        done += static_cast<std::size_t>(count);
      } else if (errno != EINTR) {
        ThrowFileError("write", path_);
      }
    }
  }

  void Flush() const {
    const bool isFlushed = fsync(value_) == 0 || errno == EINVAL;  // pipes and devices cannot be
    if (!isFlushed) ThrowFileError("flush", path_);
  }

 private:
  const std::string& path_;
  int value_;
};

}  // namespace

std::string ReadFile(const std::string& path) {
  const Descriptor file(path, O_RDONLY);
  std::string text;
  char buffer[65536];
  while (const std::size_t size = file.Read(buffer, sizeof buffer)) text.append(buffer, size);
  return text;
}

void WriteFile(const std::string& path, const std::string& text, FileMode mode) {
  const int exclusive = mode == FileMode::kNew ? O_EXCL : O_TRUNC;
  const Descriptor file(path, O_WRONLY | O_CREAT | exclusive);
  file.Write(text);
  file.Flush();
}

void CheckFolder(const std::string& path) { const Descriptor folder(path, O_RDONLY | O_DIRECTORY); }

void FlushFolder(const std::string& path) { Descriptor(path, O_RDONLY | O_DIRECTORY).Flush(); }

void ThrowFileError(const char* step, const std::string& path) {
  const int error = errno;
  throw std::system_error(error, std::generic_category(),
                          std::string("cannot ") + step + ' ' + path);
}

}  // namespace host

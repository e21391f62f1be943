#include "host/engine/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace host {
namespace {

FileInfo ToInfo(const struct stat& status) {
  constexpr std::int64_t kSecond = 1000000000;
  return FileInfo{S_ISREG(status.st_mode),
                  status.st_dev,
                  status.st_ino,
                  status.st_size,
                  status.st_mtim.tv_sec * kSecond + status.st_mtim.tv_nsec,
                  status.st_mode & 07777,
                  status.st_uid,
                  status.st_gid};
}

/// An open file.
class Descriptor {
 public:
  Descriptor(const std::string& path, int flags, mode_t mode = 0666)
      : path_(path), value_(open(path.c_str(), flags | O_CLOEXEC, mode)) {
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

  std::string ReadAll() const {
    std::string text;
    char buffer[65536];
    while (const std::size_t size = Read(buffer, sizeof buffer)) text.append(buffer, size);
    return text;
  }

  FileInfo GetInfo() const {
    struct stat status {};
    if (fstat(value_, &status) != 0) ThrowFileError("look at", path_);
    return ToInfo(status);
  }

  /// Gives the file the permissions, the owner and the group of another one.
  void TakeRights(const FileInfo& like) const {
    const FileInfo info = GetInfo();
    const bool isOwned = info.owner == like.owner && info.group == like.group;
    if (!isOwned && fchown(value_, like.owner, like.group) != 0) {
      ThrowFileError("keep the owner and the group for", path_);
    }
    if (fchmod(value_, like.mode) != 0) ThrowFileError("keep the permissions for", path_);
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
    // Pipes and devices cannot be flushed, nor can the folders of some file systems.
    const bool isFlushed =
        fsync(value_) == 0 || errno == EINVAL || errno == ENOTSUP || errno == ENOSYS;
    if (!isFlushed) ThrowFileError("flush", path_);
  }

 private:
  const std::string& path_;
  int value_;
};

[[noreturn]] void ThrowNotRegular(const std::string& path) {
  throw std::runtime_error(path + ": not a regular file");
}

}  // namespace

std::optional<FileInfo> LookAt(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return std::nullopt;
    ThrowFileError("look at", path);
  }
  return ToInfo(status);
}

void CheckRegularOrAbsent(const std::string& path) {
  const auto found = LookAt(path);
  if (found && !found->isRegular) ThrowNotRegular(path);
}

std::string ReadFile(const std::string& path) { return Descriptor(path, O_RDONLY).ReadAll(); }

std::string ReadRegularFile(const std::string& path) {
  // Before it is opened, since that alone may set a device going; and again, since it may have been
  // replaced.
  struct stat status {};
  const bool isFound = stat(path.c_str(), &status) == 0;
  if (isFound && !S_ISREG(status.st_mode)) ThrowNotRegular(path);
  const Descriptor file(path, O_RDONLY | O_NONBLOCK);
  if (!file.GetInfo().isRegular) ThrowNotRegular(path);
  return file.ReadAll();
}

void WriteFile(const std::string& path, const std::string& text, FileMode mode) {
  const int exclusive = mode == FileMode::kNew ? O_EXCL : O_TRUNC;
  const Descriptor file(path, O_WRONLY | O_CREAT | exclusive);
  file.Write(text);
  file.Flush();
}

FileInfo WriteNewFileLike(const std::optional<FileInfo>& like, const std::string& path,
                          const std::string& text) {
  const Descriptor file(path, O_WRONLY | O_CREAT | O_EXCL, 0600);
  if (like) file.TakeRights(*like);
  file.Write(text);
  file.Flush();
  return file.GetInfo();
}

void CheckFolder(const std::string& path) { const Descriptor folder(path, O_PATH | O_DIRECTORY); }

void FlushFolder(const std::string& path) {
  if (access(path.c_str(), R_OK) != 0 && errno == EACCES) return;
  Descriptor(path, O_RDONLY | O_DIRECTORY).Flush();
}

void ThrowFileError(const char* step, const std::string& path) {
  const int error = errno;
  throw std::system_error(error, std::generic_category(),
                          std::string("cannot ") + step + ' ' + path);
}

}  // namespace host

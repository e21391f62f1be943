#include "host/live/StateLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <stdexcept>

#include "host/engine/File.h"

namespace host {
namespace {

int Open(const std::string& path) {
  CheckRegularOrAbsent(path);
  const int flags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  int file = open(path.c_str(), O_RDWR | O_CREAT | flags, 0600);
  // A file that is there can be locked where none can be written.
  if (file < 0 && (errno == EACCES || errno == EROFS)) file = open(path.c_str(), O_RDONLY | flags);
  if (file < 0) ThrowFileError("open", path);
  return file;
}

bool IsUnsupported(int error) {
  const int errors[] = {ENOLCK, ENOSYS, ENOTSUP, EINVAL};
  return std::find(std::begin(errors), std::end(errors), error) != std::end(errors);
}

std::string ReadHolder(int file) {
  char digits[16];
  const ssize_t count = pread(file, digits, sizeof digits, 0);
  const std::string text(digits, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  return text.empty() ? "another process" : "process " + text.substr(0, text.find('\n'));
}

/// For the message of a host that finds the lock taken. Without it the lock holds all the same.
void WriteHolder(int file) {
  const std::string holder = std::to_string(getpid()) + '\n';
  [[maybe_unused]] const bool isWritten =
      ftruncate(file, 0) == 0 && pwrite(file, holder.data(), holder.size(), 0) > 0;
}

}  // namespace

StateLock::~StateLock() {
  if (file_ >= 0) close(file_);
}

void StateLock::Take(const std::function<void(const std::string& text)>& onNotice) {
  if (file_ >= 0) return;
  const int file = Open(path_);
  const bool isTaken = flock(file, LOCK_EX | LOCK_NB) == 0;
  const int error = errno;
  if (!isTaken && !IsUnsupported(error)) {
    const std::string holder = ReadHolder(file);
    close(file);
    errno = error;
    if (error != EWOULDBLOCK) ThrowFileError("lock", path_);
    throw std::runtime_error("in use by " + holder + ", which has locked " + path_);
  }
  file_ = file;
  if (isTaken) return WriteHolder(file);
  onNotice(path_ + " cannot be locked (" + std::strerror(error) +
           "): run no other host with this state file");
}

}  // namespace host

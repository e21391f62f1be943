#include "host/live/StateFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <system_error>

namespace host {
namespace {

[[noreturn]] void Fail(const std::string& path, const char* step) {
  const int error = errno;
  throw std::system_error(error, std::generic_category(), path + ": cannot " + step + " it");
}

void Check(bool succeeded, const std::string& path, const char* step) {
  if (!succeeded) Fail(path, step);
}

/// An open file.
class Descriptor {
 public:
  Descriptor(const std::string& path, int flags) : value_(open(path.c_str(), flags, 0666)) {
    Check(value_ >= 0, path, "open");
  }
  ~Descriptor() { close(value_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int Get() const { return value_; }

 private:
  int value_;
};

void WriteWhole(const std::string& path, const std::string& text) {
  const Descriptor file(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC);
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t size = write(file.Get(), text.data() + done, text.size() - done);
    if (size < 0 && errno == EINTR) continue;
    Check(size >= 0, path, "write");
    done += static_cast<std::size_t>(size);
  }
  Check(fsync(file.Get()) == 0, path, "flush");
}

}  // namespace

StateFile::StateFile(const std::string& path)
    : path_(std::filesystem::weakly_canonical(std::filesystem::absolute(path)).string()),
      backup_(path_ + ".backup"),
      folder_(std::filesystem::path(path_).parent_path().string()) {
  // What cannot ever be saved is better said at once.
  const Descriptor folder(folder_, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

std::optional<std::string> StateFile::Read(const std::string& path) {
  if (access(path.c_str(), F_OK) != 0 && errno == ENOENT) return std::nullopt;
  const Descriptor file(path, O_RDONLY | O_CLOEXEC);
  std::string text;
  char buffer[65536];
  for (;;) {
    const ssize_t size = read(file.Get(), buffer, sizeof buffer);
    if (size < 0 && errno == EINTR) continue;
    Check(size >= 0, path, "read");
    if (size == 0) return text;
    text.append(buffer, static_cast<std::size_t>(size));
  }
}

std::string StateFile::SetAside(const std::string& path) {
  const std::time_t now = std::time(nullptr);
  std::tm fields{};
  gmtime_r(&now, &fields);
  char moment[32];
  std::strftime(moment, sizeof moment, ".unreadable-%Y%m%dT%H%M%SZ", &fields);
  const std::string name = path + moment;
  std::string target = name;
  for (int i = 2;; ++i) {
    if (renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
      return target;
    }
    Check(errno == EEXIST, path, "set aside");
    target = name + '-' + std::to_string(i);
  }
}

void StateFile::Save(const std::string& text) const {
  const std::string fresh = path_ + ".new";
  const std::string link = backup_ + ".new";
  try {
    WriteWhole(fresh, text);
    // The backup is a second name of the file, so that no moment lacks either of the two.
    Check(unlink(link.c_str()) == 0 || errno == ENOENT, link, "remove");
    const bool isLinked = ::link(path_.c_str(), link.c_str()) == 0;
    Check(isLinked || errno == ENOENT, path_, "link");
    if (isLinked) Check(rename(link.c_str(), backup_.c_str()) == 0, backup_, "replace");
    Check(rename(fresh.c_str(), path_.c_str()) == 0, path_, "replace");
    const Descriptor folder(folder_, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    Check(fsync(folder.Get()) == 0, folder_, "flush");
  } catch (const std::system_error&) {
    // Best effort: a full disk needs the room, and the next save removes them too.
    unlink(fresh.c_str());
    unlink(link.c_str());
    throw;
  }
}

}  // namespace host

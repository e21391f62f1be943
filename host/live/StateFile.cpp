// Built with 64-bit time functions on every machine, so that 32-bit ones count past 2038.
#include "host/live/StateFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <system_error>

#include "host/engine/File.h"

static_assert(sizeof(std::time_t) == 8, "this file needs the C library's 64-bit time functions");

namespace host {
namespace {

void Check(bool succeeded, const char* step, const std::string& path) {
  if (!succeeded) ThrowFileError(step, path);
}

}  // namespace

StateFile::StateFile(const std::string& path)
    : path_(std::filesystem::weakly_canonical(std::filesystem::absolute(path)).string()),
      backup_(path_ + ".backup"),
      folder_(std::filesystem::path(path_).parent_path().string()) {
  CheckFolder(folder_);  // fails now rather than in the first save
}

std::optional<std::string> StateFile::Read(const std::string& path) {
  if (access(path.c_str(), F_OK) != 0 && errno == ENOENT) return std::nullopt;
  return ReadFile(path);
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
    Check(errno == EEXIST, "set aside", path);
    target = name + '-' + std::to_string(i);
  }
}

void StateFile::Save(const std::string& text) const {
  const std::string fresh = path_ + ".new";
  const std::string link = backup_ + ".new";
  try {
    WriteFile(fresh, text, FileMode::kTruncate);
    // The backup is a second link to the file, so that neither name is ever missing.
    Check(unlink(link.c_str()) == 0 || errno == ENOENT, "remove", link);
    const bool isLinked = ::link(path_.c_str(), link.c_str()) == 0;
    Check(isLinked || errno == ENOENT, "link", path_);
    if (isLinked) Check(rename(link.c_str(), backup_.c_str()) == 0, "replace", backup_);
    Check(rename(fresh.c_str(), path_.c_str()) == 0, "replace", path_);
    FlushFolder(folder_);
  } catch (const std::system_error&) {
    // Best effort: frees a full disk. The next save removes them, too.
    unlink(fresh.c_str());
    unlink(link.c_str());
    throw;
  }
}

}  // namespace host

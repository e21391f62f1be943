// Built with 64-bit time functions on every machine, so that 32-bit ones count past 2038.
#include "host/live/StateFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <utility>

static_assert(sizeof(std::time_t) == 8, "this file needs the C library's 64-bit time functions");

namespace host {
namespace {

namespace fs = std::filesystem;

void Check(bool succeeded, const char* step, const std::string& path) {
  if (!succeeded) ThrowFileError(step, path);
}

/// The path of the file itself. A symbolic link without a target may be on a disk that is not
/// mounted yet: that is an error.
std::string Resolve(const std::string& path) {
  const fs::path absolute = fs::absolute(path);
  if (LookAt(absolute.string())) return fs::canonical(absolute).string();
  return (fs::canonical(absolute.parent_path()) / absolute.filename()).string();
}

std::string GetDate() {
  const std::time_t now = std::time(nullptr);
  std::tm fields{};
  gmtime_r(&now, &fields);
  char text[32];
  std::strftime(text, sizeof text, "-%Y%m%dT%H%M%SZ", &fields);
  return text;
}

/// Whether the last call failed since the file system has no hard links, or permits none here.
bool HasNoLinks() {
  return errno == EPERM || errno == ENOTSUP || errno == ENOSYS || errno == EMLINK || errno == EXDEV;
}

/// Renames a file if no file has the new name; errno is EEXIST otherwise.
bool RenameToNew(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) return false;
  // The file system cannot check and rename in one step.
  if (!LookAt(to)) return rename(from.c_str(), to.c_str()) == 0;
  errno = EEXIST;
  return false;
}

/// Gives a file a name with the present time that no other file has; returns it. `give` sets errno
/// to EEXIST where there is such a file.
template <typename Give>
std::string GiveDatedName(const std::string& path, const char* why, const Give& give) {
  const std::string name = path + '.' + why + GetDate();
  std::string target = name;
  for (int i = 2; !give(path, target); ++i) {
    Check(errno == EEXIST, "set aside", path);
    target = name + '-' + std::to_string(i);
  }
  return target;
}

/// Removes what a save left behind that was interrupted.
void RemoveStale(const std::string& path) {
  CheckRegularOrAbsent(path);
  Check(unlink(path.c_str()) == 0 || errno == ENOENT, "remove", path);
}

}  // namespace

StateFile::StateFile(const std::string& path, OnNotice onNotice)
    : onNotice_(std::move(onNotice)),
      path_(Resolve(path)),
      backup_(path_ + ".backup"),
      folder_(fs::path(path_).parent_path().string()),
      lock_(path_ + ".lock") {
  CheckFolder(folder_);  // fails now rather than in the first save
  for (const std::string& name : {path_, backup_}) {
    CheckRegularOrAbsent(name);
    CheckRegularOrAbsent(name + ".new");
  }
  try {
    Lock();
  } catch (const std::system_error&) {  // NOLINT(bugprone-empty-catch): the next save tries again
  }
  for (const std::string& name : {backup_, path_}) {
    const auto found = LookAt(name);
    if (found) known_[name] = *found;
    if (found) rights_ = found;
  }
}

std::optional<std::string> StateFile::Read(const std::string& path) {
  // Looked at before it is read: a change meanwhile is noticed by the next save.
  const auto found = LookAt(path);
  if (!found) return std::nullopt;
  CheckRegularOrAbsent(path);
  std::string text = ReadRegularFile(path);
  known_[path] = *found;
  return text;
}

bool StateFile::IsOurs() const {
  const auto known = known_.find(path_);
  const auto found = LookAt(path_);
  return known != known_.end() && found && found->IsSameVersion(known->second);
}

std::string StateFile::SetAside(const std::string& path) {
  std::string target = GiveDatedName(path, "unreadable", RenameToNew);
  known_.erase(path);
  return target;
}

bool StateFile::KeepForeign(const std::string& path) {
  const auto found = LookAt(path);
  const auto known = known_.find(path);
  if (found && known != known_.end() && found->IsSameVersion(known->second)) return true;
  const bool isLost = !found && known != known_.end();
  known_.erase(path);
  if (isLost && path == path_) onNotice_(path + " was gone; the state is written again");
  const auto kept = kept_.find(path);
  if (!found || (kept != kept_.end() && found->IsSameVersion(kept->second))) return false;
  // A second name, so that the first one is not missing until the file is replaced.
  const auto give = [](const std::string& from, const std::string& to) {
    return link(from.c_str(), to.c_str()) == 0 || (HasNoLinks() && RenameToNew(from, to));
  };
  onNotice_(path + " was changed by another program; what it wrote is now " +
            GiveDatedName(path, "changed", give));
  kept_[path] = *found;
  return false;
}

void StateFile::ReplaceBackup() {
  const std::string fresh = backup_ + ".new";
  KeepForeign(backup_);
  // A second link to the file, so that neither name is ever missing; or else a copy.
  if (link(path_.c_str(), fresh.c_str()) != 0) {
    Check(HasNoLinks(), "link", path_);
    WriteNewFileLike(rights_, fresh, ReadRegularFile(path_));
  }
  const auto version = LookAt(fresh);
  Check(rename(fresh.c_str(), backup_.c_str()) == 0, "replace", backup_);
  if (version) known_[backup_] = *version;
}

void StateFile::Save(const std::string& text) {
  const std::string fresh = path_ + ".new";
  const std::string link = backup_ + ".new";
  RemoveStale(fresh);
  RemoveStale(link);
  try {
    if (IsOurs()) rights_ = LookAt(path_);
    const FileInfo version = WriteNewFileLike(rights_, fresh, text);
    if (KeepForeign(path_)) ReplaceBackup();
    Check(rename(fresh.c_str(), path_.c_str()) == 0, "replace", path_);
    known_[path_] = version;
    FlushFolder(folder_);
  } catch (const std::runtime_error&) {
    // Best effort: frees a full disk. The next save removes them, too.
    unlink(fresh.c_str());
    unlink(link.c_str());
    throw;
  }
}

}  // namespace host

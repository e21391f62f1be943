#include "host/console/LineHistory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace host {
namespace {

constexpr int kMostLines = 500;

/// The history's file in the user's state folder; "" if the user has none.
std::string GetPath() {
  const auto get = [](const char* name) -> std::filesystem::path {
    const char* const value = std::getenv(name);
    return value != nullptr && *value == '/' ? value : "";
  };
  const std::filesystem::path home = get("HOME");
  std::filesystem::path folder = get("XDG_STATE_HOME");
  if (folder.empty() && !home.empty()) folder = home / ".local/state";
  return folder.empty() ? "" : folder / "guest-services/history";
}

[[noreturn]] void Throw(const std::string& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

}  // namespace

LineHistory::LineHistory() : history_(history_init()), path_(GetPath()) {
  HistEvent event{};
  history(history_.get(), &event, H_SETSIZE, kMostLines);
  history(history_.get(), &event, H_SETUNIQUE, 1);
  if (!path_.empty()) history(history_.get(), &event, H_LOAD, path_.c_str());
}

std::string LineHistory::Add(const std::string& line) {
  HistEvent event{};
  history(history_.get(), &event, H_ENTER, line.c_str());
  try {
    if (!path_.empty()) Save();
  } catch (const std::system_error& error) {
    return error.what();
  }
  return "";
}

void LineHistory::Save() const {
  const std::filesystem::path folder = std::filesystem::path(path_).parent_path();
  if (std::filesystem::create_directories(folder)) {
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
  }
  const std::string next = path_ + ".new";
  const int file = open(next.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) Throw(next);
  FILE* const stream = fdopen(file, "w");
  HistEvent event{};
  const bool isWritten = history(history_.get(), &event, H_SAVE_FP, stream) >= 0;
  if (std::fclose(stream) != 0 || !isWritten) Throw(next);
  std::filesystem::rename(next, path_);
}

}  // namespace host

#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

#include "host/live/LiveSession.h"
#include "tests/support/Plugin.h"
#include "tests/support/Program.h"

namespace test {

namespace fs = std::filesystem;

/// A folder for a live session and its files, and the clock of the session.
class Live : public testing::Test {
 protected:
  Live() : folder_(fs::temp_directory_path() / ("live-test-" + std::to_string(getpid()))) {
    fs::create_directory(folder_);
  }
  ~Live() override { fs::remove_all(folder_); }

  host::LiveSession Open(bool isKept = true, const std::string& plugin = PLUGIN_PATH) {
    host::LiveSession::Options options;
    options.plugin = plugin;
    if (isKept) options.stateFile = folder_ / "state.xml";
    return host::LiveSession(options, [this] { return now_; });
  }

  static host::LiveSession::Lines Run(host::LiveSession& session, const std::string& line) {
    return session.RunStep(host::ReadStep(line, host::Sender::kConsole));
  }

  void Empty() {
    fs::remove_all(folder_);
    fs::create_directory(folder_);
  }

  void Pass(std::int64_t milliseconds) {
    now_.wall += milliseconds;
    now_.steady += milliseconds;
  }

  /// The folder's files but the lock, with what they hold, by name; times in names are left out.
  std::string Show() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      const std::string name = entry.path().filename();
      if (name == "state.xml.lock") continue;
      files[name.substr(0, name.find("-2"))] +=
          entry.is_regular_file() ? ReadFile(entry.path()) : "no regular file\n";
    }
    std::string shown;
    for (const auto& [name, text] : files) ((shown += name) += ": ") += text;
    return shown;
  }

  const fs::path folder_;
  host::Moment now_ = {1709283600750, 4321};  // 2024-03-01 09:00:00 UTC
};

inline std::string ListOf(const std::string& entries) {
  return "<guest_services>" + entries + "</guest_services>\n";
}
inline std::string Shortcut(int id) {
  return "<shortcut id=\"" + std::to_string(id) + "\" shortcut_id=\"9\"/>";
}

}  // namespace test

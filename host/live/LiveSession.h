#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/engine/Clock.h"
#include "host/engine/PluginLibrary.h"
#include "host/live/SessionRecord.h"
#include "host/live/StateFile.h"
#include "host/session/Session.h"

namespace host {

/// A session that goes on by itself: its clock follows the real one, and its state is kept in a
/// file. The clock moves in whole seconds, so that what happens can be replayed.
///
/// Whatever calls the agent returns the lines that came of it, after the state that it left was
/// saved. Such a call from inside another throws `std::logic_error`.
class LiveSession {
 public:
  using Lines = std::vector<std::string>;

  /// What the real clocks say, in milliseconds: since 1970-01-01 00:00:00 UTC, and since some
  /// moment, never set back.
  struct Moment {
    std::int64_t wall;
    std::int64_t steady;
  };

  struct Options {
    std::string plugin;
    std::string stateFile;  // "" for none
    std::string logConfig;  // log4cplus's property file; "" for none
    std::string logLevel;   // "" for what `logConfig` says, or INFO
    bool verbose = false;
  };

  /// Loads the plug-in. Throws `PluginError`, and `std::exception` where the log cannot be set up.
  LiveSession(const Options& options, std::function<Moment()> now);
  /// Destroys the agent and releases the library. What is not saved by then is lost.
  ~LiveSession();

  /// Starts the agent with the file's state, or with the backup's where the file holds none. Throws
  /// `std::system_error` when a file is there and cannot be read, and `PluginError` when the
  /// plug-in gives no agent.
  Lines Start();
  /// Delivers the expiries that are due by now. To be called before a step.
  Lines CatchUp();
  /// Carries out a step, given without the "> " before it. One that changes nothing need not be a
  /// part of the scenario.
  Lines RunStep(const std::string& step, bool isRecorded = true);
  /// Loads the plug-in's file anew and hands the state on. If that fails, the old one goes on.
  Lines Reload();
  /// Saves what could not be saved before.
  void Save();

  /// The session so far, as a scenario that replays. Valid until the next call.
  const std::string& GetScenario() const { return record_.GetText(); }
  /// Writes it to a new file. Throws `std::system_error`.
  void Export(const std::string& path) const { record_.Write(path); }

  /// When the next timer is due, in milliseconds of the steady clock.
  std::optional<std::int64_t> GetNextDue();
  /// The agent's time, in seconds since 1970-01-01 00:00:00 UTC.
  std::int64_t GetTime() const { return clock_.Wall() / 1000; }
  /// "ok", "none" without a state file, or "failed: " and what failed.
  const std::string& GetStateHealth() const { return health_; }
  /// What a person must know, oldest first.
  const Lines& GetNotices() const { return notices_; }

 private:
  Lines Call(const std::function<void()>& action);
  bool StartAgent(const boost::shared_ptr<qx::XmlNode>& state);
  bool StartFrom(const std::string& path);
  boost::shared_ptr<qx::XmlNode> Persist();
  void SetUnreadableAside();
  void Notice(const std::string& text);
  Lines FollowWallClock();
  void BeginRecord();

  std::function<Moment()> now_;
  Moment start_;
  std::int64_t moved_ = 0;    // by steps, in milliseconds
  std::int64_t wallSet_ = 0;  // how far the real wall clock was set since the start
  ManualClock clock_;

  std::string pluginPath_;
  std::unique_ptr<PluginLibrary> plugin_;
  bool isCalling_ = false;
  bool isMute_ = false;
  Lines lines_;
  std::unique_ptr<Session> session_;

  std::optional<StateFile> file_;
  std::optional<std::string> saved_;     // what the file is known to hold
  std::vector<std::string> unreadable_;  // files that must be set aside before the next save
  std::string health_;
  Lines notices_;

  SessionRecord record_;
  std::map<std::string, std::string> settings_;  // the last step of each kind that sets something
};

}  // namespace host

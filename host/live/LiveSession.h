#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/engine/PluginLibrary.h"
#include "host/live/LiveClock.h"
#include "host/live/SessionRecord.h"
#include "host/live/StateKeeper.h"
#include "host/session/Session.h"
#include "host/session/StepTable.h"

namespace host {

/// A session on the system's clocks, with its state in a file and a record for the export.
///
/// Every operation that calls the agent returns the lines that follow. The state is saved by then.
/// Such an operation throws `std::logic_error` if it is called from inside another one
/// (re-entrant).
class LiveSession : private ILiveSteps {
 public:
  using Lines = std::vector<std::string>;

  struct Options {
    std::string plugin;
    std::string stateFile;  // "" for none
    std::string logConfig;  // log4cplus's property file; "" for none
    std::string logLevel;   // "" for the level in `logConfig`, or INFO
    bool verbose = false;
    std::size_t mostStateSize = std::size_t{8} << 20;  // bytes; for `CheckRoom` only
  };

  /// Loads the plug-in. Throws `PluginError`, and `std::runtime_error` that names the option when
  /// the state file or the log cannot be set up.
  LiveSession(const Options& options, std::function<Moment()> now);
  /// Destroys the agent and unloads the library. Saves nothing.
  ~LiveSession() override;

  /// Starts the agent with the state in the file, with that in the backup, or with an empty list.
  /// Throws `std::system_error` when a file exists and cannot be read, and `PluginError` when the
  /// plug-in gives no agent.
  Lines Start();
  /// Advances the clock to now, and delivers the timer expiries on the way. To be called before
  /// `RunStep`.
  Lines CatchUp();
  /// Throws `StepError` if the step might take the state above `Options::mostStateSize`. For the
  /// steps of pages: a longer state that is loaded or made on the console is kept.
  void CheckRoom(const Step& step);
  /// Carries out a step. The record keeps it unless `isRecorded` is false.
  Lines RunStep(const Step& step, bool isRecorded = true);
  /// Saves the state, also one that could not be saved before.
  void Save();

  /// The session so far, as a scenario that replays. The text does not change when the session
  /// goes on.
  std::shared_ptr<const std::string> GetScenario() const { return record_.GetText(); }

  /// The agent's state; null if there is none.
  boost::shared_ptr<qx::XmlNode> GetState();

  /// When the next timer expires, in milliseconds of the system's steady clock.
  std::optional<std::int64_t> GetNextDue();
  /// Whether an agent runs; none does after a reload or a restart that failed altogether.
  bool HasAgent() const { return session_->GetHost().HasAgent(); }
  /// The agent's time, in seconds since 1970-01-01 00:00:00 UTC.
  std::int64_t GetTime() { return clock_.GetAgentClock().Wall() / 1000; }
  const StateHealth& GetStateHealth() const { return keeper_.GetHealth(); }
  /// Messages that a person must read: the latest, 20 at most, oldest first.
  const Lines& GetNotices() const { return notices_; }
  /// How many there have been.
  std::size_t GetNoticeCount() const { return noticeCount_; }
  /// Whether a step asked the host to end.
  bool IsExiting() const { return isExiting_; }

 private:
  // ILiveSteps
  void Reload() override;
  void Export(const std::string& path) override;
  void Exit() override { isExiting_ = true; }

  /// Saves after `action` if it may have changed the state, or if the last save failed.
  Lines Call(const std::function<void()>& action, bool mayChangeState = true);
  bool StartAgent(const boost::shared_ptr<qx::XmlNode>& state);
  std::optional<std::string> StartFrom(const std::string& text);
  boost::shared_ptr<qx::XmlNode> Persist();
  std::string PersistText();
  void Notice(const std::string& text);
  void BeginRecord();
  std::int64_t GetSeconds() { return clock_.GetAgentClock().Monotonic() / 1000; }
  /// The step that sets the clock to `ago` seconds before now.
  std::string GetClockStep(std::int64_t ago = 0);

  LiveClock clock_;
  const std::string pluginPath_;
  std::unique_ptr<PluginLibrary> plugin_;
  bool isCalling_ = false;
  bool isMute_ = false;
  bool isExiting_ = false;
  Lines lines_;  // of the call at work
  std::unique_ptr<Session> session_;

  static constexpr std::size_t kMostNotices = 20;
  Lines notices_;
  std::size_t noticeCount_ = 0;
  StateKeeper keeper_;
  const std::size_t mostStateSize_;
  std::size_t stateSize_ = 0;  // bytes, at most
  bool isStateSizeExact_ = false;
  SessionRecord record_;
  std::string recordedStep_;  // stands for the step at work in the record; "" for none
};

}  // namespace host

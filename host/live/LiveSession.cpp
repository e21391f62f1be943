#include "host/live/LiveSession.h"

#include <stdexcept>
#include <utility>

#include "host/session/Transcript.h"
#include "platform/HostLog.h"
#include "platform/xml/XmlNode.h"

namespace host {
namespace {

constexpr std::int64_t kSecond = 1000;
// What sets the real clock by less is taken for the clocks' drift.
constexpr std::int64_t kLeastSetting = 2 * kSecond;

std::int64_t WholeSeconds(std::int64_t milliseconds) {
  return milliseconds - milliseconds % kSecond;
}

/// Sets up what an option asks for; what is wrong with that names the option and its value.
void Apply(const char* option, const std::string& value, const std::function<void()>& action) {
  if (value.empty()) return;
  try {
    action();
  } catch (const std::exception& error) {
    throw std::runtime_error(option + (' ' + value) + ": " + error.what());
  }
}

/// Raises a flag as long as it lives.
class Raise {
 public:
  explicit Raise(bool& flag) : flag_(flag) { flag_ = true; }
  ~Raise() { flag_ = false; }
  Raise(const Raise&) = delete;
  Raise& operator=(const Raise&) = delete;

 private:
  bool& flag_;
};

}  // namespace

LiveSession::LiveSession(const Options& options, std::function<Moment()> now)
    : now_(std::move(now)),
      start_(now_()),
      clock_(start_.wall / kSecond),
      pluginPath_(options.plugin),
      plugin_(std::make_unique<PluginLibrary>(options.plugin)),
      session_(std::make_unique<Session>(*plugin_, clock_,
                                         [this](const std::string& line) {
                                           if (!isMute_) lines_.push_back(line);
                                         })),
      health_(options.stateFile.empty() ? "none" : "ok") {
  // The clock's seconds end when the wall clock's do.
  start_.steady -= start_.wall % kSecond;
  start_.wall = WholeSeconds(start_.wall);
  Apply("--state", options.stateFile, [&] { file_.emplace(options.stateFile); });
  Apply("--log-config", options.logConfig, [&] { qx::ConfigureLog(options.logConfig); });
  Apply("--log-level", options.logLevel, [&] { qx::SetLogLevel(options.logLevel); });
  if (options.verbose) settings_["verbose"] = "verbose on";
  session_->SetVerbose(options.verbose);
}

LiveSession::~LiveSession() = default;

LiveSession::Lines LiveSession::Start() {
  bool isFromBackup = false;
  Lines lines = Call([&] {
    if (!file_ || !StartFrom(file_->GetPath())) {
      isFromBackup = file_ && StartFrom(file_->GetBackupPath());
      if (!isFromBackup) StartAgent({});
      saved_.reset();
    }
    BeginRecord();
  });
  if (isFromBackup) Notice("the state is that of the backup, " + file_->GetBackupPath());
  return lines;
}

bool LiveSession::StartAgent(const boost::shared_ptr<qx::XmlNode>& state) {
  const bool isStarted = session_->Start(state);
  // Whatever the reason is, it is not the state.
  constexpr std::string_view kMark = "error ";  // the session told why, and told nothing after it
  if (!session_->GetHost().HasAgent()) throw PluginError(lines_.back().substr(kMark.size()));
  return isStarted;
}

/// False if there is no such file, or none that holds a state.
bool LiveSession::StartFrom(const std::string& path) {
  const auto text = StateFile::Read(path);
  if (!text) return false;
  const auto document = qx::CreateXmlDocument(*text);
  if (document && StartAgent(document->GetRoot())) {
    const auto state = Persist();
    if (state->IsName(document->GetRoot()->GetName())) {
      saved_ = state->OuterXml();
      return true;
    }
  }
  session_->GetHost().Destroy();
  unreadable_.push_back(path);
  return false;
}

LiveSession::Lines LiveSession::CatchUp() {
  const auto due = session_->GetHost().GetNextDue();
  const std::int64_t now = WholeSeconds(now_().steady - start_.steady) + moved_;
  Lines lines;
  if (due && *due <= now) {
    lines = Call([&] { session_->AdvanceTo(now); });
  } else {
    session_->AdvanceTo(now);
  }
  const std::int64_t moment = clock_.Monotonic();
  record_.AddLines(moment / kSecond, lines);
  // An agent that starts arms its timers; so a new session goes on alike where they were armed
  // just now.
  if (record_.IsLong() && due && *due == moment) BeginRecord();
  for (std::string& line : FollowWallClock()) lines.push_back(std::move(line));
  return lines;
}

LiveSession::Lines LiveSession::RunStep(const std::string& step, bool isRecorded) {
  const std::int64_t begin = clock_.Monotonic();
  Lines lines = Call([&] { session_->RunStep(step); });
  const std::int64_t end = clock_.Monotonic();
  moved_ += end - begin;
  if (isRecorded) record_.AddStep(begin / kSecond, step, lines, end / kSecond);
  const std::string name = step.substr(0, step.find_first_of(" \t"));
  if (lines.empty() && (name == "verbose" || name == "programming" || name == "forwarder")) {
    settings_[name] = step;
  }
  return lines;
}

LiveSession::Lines LiveSession::Reload() {
  std::unique_ptr<PluginLibrary> next;
  bool isReplaced = false;
  Lines lines = Call([&] {
    try {
      next = PluginLibrary::LoadCopy(pluginPath_);
    } catch (const std::exception& error) {
      lines_.push_back("error " + ToOneLine(error.what()));
      return;
    }
    isReplaced = session_->Replace(*next);
  });
  const std::int64_t moment = clock_.Monotonic() / kSecond;
  if (isReplaced) {
    plugin_ = std::move(next);
    record_.AddStep(moment, "restart", lines, moment);
  } else {
    Notice("the plug-in was not reloaded, the one before goes on");
    if (next) BeginRecord();
  }
  return lines;
}

LiveSession::Lines LiveSession::Call(const std::function<void()>& action) {
  if (isCalling_) throw std::logic_error("a call in from inside a call out");
  const Raise calling(isCalling_);
  lines_.clear();
  action();
  Save();
  return std::exchange(lines_, {});
}

boost::shared_ptr<qx::XmlNode> LiveSession::Persist() {
  const Raise mute(isMute_);
  auto state = session_->GetHost().Persist();
  if (!state) throw std::runtime_error("the agent gives no state");
  return state;
}

void LiveSession::Save() {
  if (!file_) return;
  try {
    std::string text = Persist()->OuterXml();
    SetUnreadableAside();
    if (saved_ != text) {
      saved_.reset();
      file_->Save(text + '\n');
      saved_ = std::move(text);
    }
    health_ = "ok";
  } catch (const std::exception& error) {
    const std::string health = "failed: " + std::string(error.what());
    if (health != health_) qx::WriteHostError(health);
    health_ = health;
  }
}

void LiveSession::SetUnreadableAside() {
  while (!unreadable_.empty()) {
    const std::string& path = unreadable_.front();
    Notice(path + " holds no state that can be read: it is kept as " + StateFile::SetAside(path));
    unreadable_.erase(unreadable_.begin());
  }
}

void LiveSession::Notice(const std::string& text) {
  qx::WriteHostError(text);
  notices_.push_back(text);
}

/// Sets the clock when somebody set the real one, and says so by the step that does the same.
LiveSession::Lines LiveSession::FollowWallClock() {
  const Moment now = now_();
  const std::int64_t expected = start_.wall + WholeSeconds(now.steady - start_.steady) + wallSet_;
  const std::int64_t change = WholeSeconds(now.wall) - expected;
  if (change > -kLeastSetting && change < kLeastSetting) return {};
  wallSet_ += change;
  clock_.SetWall(clock_.Wall() + change);
  const std::int64_t moment = clock_.Monotonic() / kSecond;
  const std::string step = "clock " + FormatTime(clock_.Wall());
  record_.AddStep(moment, step, {}, moment);
  return {"> " + step};
}

std::optional<std::int64_t> LiveSession::GetNextDue() {
  const auto due = session_->GetHost().GetNextDue();
  if (!due) return std::nullopt;
  return *due - moved_ + start_.steady;
}

void LiveSession::BeginRecord() {
  Lines steps = {"clock " + FormatTime(clock_.Wall())};
  try {
    steps.push_back("restart state=" + Quote(Persist()->OuterXml()));
  } catch (const std::exception&) {
    steps.push_back("restart state=none");  // without an agent, or with one that gives no state
  }
  for (const auto& setting : settings_) steps.push_back(setting.second);
  const std::string level = qx::GetLogLevel();
  if (level != "INFO") steps.push_back("loglevel " + level);
  record_.Begin(clock_.Monotonic() / kSecond, steps);
}

}  // namespace host

#include "host/live/LiveSession.h"

#include <stdexcept>
#include <utility>

#include "host/engine/File.h"
#include "host/live/LogConfig.h"
#include "host/session/Transcript.h"
#include "platform/HostLog.h"
#include "platform/xml/XmlNode.h"

namespace host {
namespace {

/// Applies an option. An exception names the option and its value.
template <typename Action>
auto Apply(const char* option, const std::string& value, const Action& action) {
  try {
    return action();
  } catch (const std::exception& error) {
    throw std::runtime_error(option + (' ' + value) + ": " + error.what());
  }
}

std::string Describe(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + Quote(name);
  return names.empty() ? "none" : text;
}

/// How many bytes a step may add to the state.
std::size_t GetMostGrowth(const Step& step) {
  constexpr std::size_t kEscaped = 6;  // bytes of the longest escape, "&quot;"
  constexpr std::size_t kEntry = 512;  // bytes that an entry has without its texts, at most
  return step.row->effect == Effect::kGrows ? kEntry + kEscaped * step.text.size() : 0;
}

/// Keeps a flag set while it lives.
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
    : clock_(std::move(now)),
      pluginPath_(options.plugin),
      plugin_(std::make_unique<PluginLibrary>(options.plugin)),
      session_(std::make_unique<Session>(*plugin_, clock_.GetAgentClock(),
                                         [this](const std::string& line) {
                                           if (!isMute_) lines_.push_back(line);
                                         })),
      keeper_(Apply("--state", options.stateFile,
                    [&] {
                      return StateKeeper(options.stateFile,
                                         [this](const std::string& text) { Notice(text); });
                    })),
      mostStateSize_(options.mostStateSize) {
  if (!options.logConfig.empty()) {
    Apply("--log-config", options.logConfig, [&] { ConfigureLog(options.logConfig); });
  }
  if (!options.logLevel.empty()) {
    Apply("--log-level", options.logLevel, [&] { qx::SetLogLevel(options.logLevel); });
  }
  session_->SetVerbose(options.verbose);
  session_->SetAssertionLog([this](const Assertion& assertion) {
    qx::WriteHostError(plugin_->WithOriginalPath(DescribeAssertion(assertion)));
  });
  if (options.verbose) record_.NoteSetting(ParseStep("verbose on"));
}

LiveSession::~LiveSession() = default;

LiveSession::Lines LiveSession::Start() {
  return Call([&] {
    const auto start = [&](const std::string& text) { return StartFrom(text); };
    if (!keeper_.Restore(start)) StartAgent({});
    BeginRecord();
  });
}

/// Returns whether the agent read all of the state.
bool LiveSession::StartAgent(const boost::shared_ptr<qx::XmlNode>& state) {
  const auto failure = session_->Start(state);
  if (failure && !session_->GetHost().HasAgent()) throw PluginError(failure->reason);
  return !failure;
}

/// Returns the state of the agent that it starts; nothing if `text` holds no state.
std::optional<std::string> LiveSession::StartFrom(const std::string& text) {
  // Bytes of another encoding would be replaced one by one.
  const auto document = IsUtf8(text) ? qx::CreateXmlDocument(text) : nullptr;
  if (document && StartAgent(document->GetRoot())) {
    const auto state = Persist();
    if (state->IsName(document->GetRoot()->GetName())) return state->OuterXml();
  }
  session_->GetHost().Destroy();
  return std::nullopt;
}

LiveSession::Lines LiveSession::CatchUp() {
  const auto due = session_->GetHost().GetNextDue();
  const std::int64_t now = clock_.GetReached();
  Lines lines;
  if (due && *due <= now) {
    lines = Call([&] { session_->AdvanceTo(now); });
  } else {
    session_->AdvanceTo(now);
  }
  record_.AddLines(GetSeconds(), lines);
  if (record_.IsLong()) BeginRecord();
  if (clock_.FollowWall()) {
    const std::string step = GetClockStep();
    record_.AddStep(GetSeconds(), step, {}, GetSeconds());
    lines.push_back("> " + step);
  }
  return lines;
}

void LiveSession::CheckRoom(const Step& step) {
  const std::size_t growth = GetMostGrowth(step);
  if (growth == 0) return;
  const auto fits = [&] { return stateSize_ + growth <= mostStateSize_; };
  if (!fits() && !isStateSizeExact_ && Try([&] { PersistText(); })) stateSize_ = 0;
  if (!fits()) {
    throw StepError("no room: the state has " + std::to_string(stateSize_) + " of " +
                    std::to_string(mostStateSize_) + " bytes, and this step may add " +
                    std::to_string(growth));
  }
}

LiveSession::Lines LiveSession::RunStep(const Step& step, bool isRecorded) {
  const std::int64_t begin = clock_.GetAgentClock().Monotonic();
  recordedStep_ = step.row->Admits(Sender::kScenario) ? step.text : "";
  const bool mayChangeState = step.row->effect != Effect::kNone;
  if (mayChangeState) isStateSizeExact_ = false;
  stateSize_ += GetMostGrowth(step);
  Lines lines = Call([&] { host::RunStep({*session_, this}, step); }, mayChangeState);
  const std::int64_t end = clock_.GetAgentClock().Monotonic();
  clock_.OnAdvanced(end - begin);
  if (isRecorded && !recordedStep_.empty()) {
    record_.AddStep(begin / 1000, recordedStep_, lines, end / 1000);
  }
  if (lines.empty()) record_.NoteSetting(step);
  if (record_.IsLong()) BeginRecord();
  return lines;
}

void LiveSession::Reload() {
  constexpr const char* kRefused = "the plug-in was not reloaded; the previous one goes on";
  std::unique_ptr<PluginLibrary> next;
  std::optional<Failure> failure;
  try {
    next = std::make_unique<PluginLibrary>(pluginPath_);
    if (next->GetAgentNames() != plugin_->GetAgentNames()) {
      throw PluginError(pluginPath_ + ": is of another kind: its agents are " +
                        Describe(next->GetAgentNames()) + ", not " +
                        Describe(plugin_->GetAgentNames()));
    }
    failure = session_->Replace(*next);
  } catch (const std::exception&) {
    Notice(kRefused);
    throw;
  }
  if (failure) {
    const bool hasAgent = session_->GetHost().HasAgent();
    Notice(hasAgent ? kRefused
                    : "the plug-in was not reloaded, and the previous one does not start");
    BeginRecord();  // no step replays the failure
  } else {
    plugin_ = std::move(next);
    recordedStep_ = "restart";
  }
}

void LiveSession::Export(const std::string& path) {
  WriteFile(path, *record_.GetText(), FileMode::kNew);
}

LiveSession::Lines LiveSession::Call(const std::function<void()>& action, bool mayChangeState) {
  if (isCalling_) throw std::logic_error("a re-entrant call of the live session");
  const Raise calling(isCalling_);
  lines_.clear();
  action();
  if (mayChangeState || GetStateHealth().kind == StateHealth::Kind::kFailed) Save();
  return std::exchange(lines_, {});
}

void LiveSession::Save() {
  keeper_.Save([this] { return PersistText(); });
}

std::string LiveSession::PersistText() {
  std::string text = Persist()->OuterXml();
  stateSize_ = text.size();
  isStateSizeExact_ = true;
  return text;
}

boost::shared_ptr<qx::XmlNode> LiveSession::Persist() {
  const Raise mute(isMute_);
  auto state = session_->GetHost().Persist();
  if (!state) throw std::runtime_error("the agent gives no state");
  return state;
}

boost::shared_ptr<qx::XmlNode> LiveSession::GetState() {
  boost::shared_ptr<qx::XmlNode> state;
  Try([&] { state = Persist(); });
  return state;
}

void LiveSession::Notice(const std::string& text) {
  qx::WriteHostError(text);
  if (notices_.size() == kMostNotices) notices_.erase(notices_.begin());
  notices_.push_back(text);
  ++noticeCount_;
}

std::optional<std::int64_t> LiveSession::GetNextDue() {
  const auto due = session_->GetHost().GetNextDue();
  if (!due) return std::nullopt;
  return clock_.ToSteady(*due);
}

void LiveSession::BeginRecord() {
  std::string state = "none";  // without an agent, or with one that gives no state
  Try([&] { state = Quote(PersistText()); });
  // A new agent arms its timer at its start. So the record begins when this one armed its own, with
  // the state of now: the expiries of the replay come at the same moments.
  const std::int64_t now = GetSeconds();
  const auto armed = session_->GetHost().GetOnlyTimerArmed();
  const std::int64_t begin = armed ? *armed / 1000 : now;
  record_.Begin(
      {now, begin, armed.has_value(), GetClockStep(now - begin), "restart state=" + state});
}

std::string LiveSession::GetClockStep(std::int64_t ago) {
  return "clock " + FormatTime(clock_.GetAgentClock().Wall() - ago * 1000);
}

}  // namespace host

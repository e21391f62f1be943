#include "host/session/Session.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "host/engine/CmdMessage.h"
#include "host/session/Transcript.h"
#include "platform/HostLog.h"
#include "platform/Logger.h"
#include "platform/xml/XmlNode.h"

namespace host {
namespace {

constexpr const char* kFirstLogLevel = "INFO";

/// The message of words `from` to the last, each of which must have a key.
CmdMessage MakeMessage(const std::string& name, const Step& step, std::size_t from) {
  CmdMessage::Params params;
  for (std::size_t i = from; i < step.words.size(); ++i) {
    const StepWord& word = step.words[i];
    if (word.key.empty()) {
      throw StepError("'" + ToOneLine(word.value) + "' is no parameter: key=value is wanted");
    }
    if (!params.emplace(word.key, word.value).second) {
      throw StepError("parameter " + ToOneLine(word.key) + " is given twice");
    }
  }
  return CmdMessage(name, std::move(params));
}

/// The values of a step without keys, of which there must be so many.
std::vector<std::string> GetValues(const Step& step, std::size_t least, std::size_t most,
                                   const char* usage) {
  std::vector<std::string> values;
  bool fits = step.words.size() >= least && step.words.size() <= most;
  for (const StepWord& word : step.words) {
    fits = fits && word.key.empty();
    values.push_back(word.value);
  }
  if (!fits) throw StepError(std::string("usage: ") + usage);
  return values;
}

bool GetSwitch(const Step& step) {
  const std::string usage = step.name + " on|off";
  const std::string value = GetValues(step, 1, 1, usage.c_str()).front();
  if (value != "on" && value != "off") throw StepError("usage: " + usage);
  return value == "on";
}

boost::shared_ptr<qx::XmlNode> ParseState(const std::string& text) {
  const auto document = qx::CreateXmlDocument(text);
  if (!document) throw StepError("the state does not parse");
  return document->GetRoot();
}

}  // namespace

struct Session::Verb {
  const char* name;
  void (Session::*run)(const Step&);
};

const Session::Verb* Session::FindVerb(const std::string& name) {
  static constexpr std::array<Verb, 10> kVerbs = {{
      {"ui", &Session::OnUI},
      {"event", &Session::OnEvent},
      {"advance", &Session::OnAdvance},
      {"clock", &Session::OnClock},
      {"persist", &Session::OnPersist},
      {"restart", &Session::OnRestart},
      {"programming", &Session::OnProgramming},
      {"forwarder", &Session::OnForwarder},
      {"loglevel", &Session::OnLogLevel},
      {"verbose", &Session::OnVerbose},
  }};
  const auto found = std::find_if(kVerbs.begin(), kVerbs.end(),
                                  [&](const Verb& verb) { return name == verb.name; });
  return found != kVerbs.end() ? &*found : nullptr;
}

Session::Session(const PluginLibrary& plugin, Clock& clock, LineSink sink)
    : plugin_(&plugin), clock_(clock), sink_(std::move(sink)), host_(clock, *this) {
  qx::Logger::initialize();
  qx::SetLogLevel(kFirstLogLevel);
}

Session::~Session() {
  sink_ = [](const std::string&) {};
  host_.Destroy();
}

void Session::RunStep(std::string_view line) {
  Guarded([&] { Execute(ParseStep(line)); });
}

void Session::Execute(const Step& step) {
  if (Step::IsCommandName(step.name)) {
    OnCommand(step);
  } else if (const Verb* const verb = FindVerb(step.name)) {
    (this->*verb->run)(step);
  } else {
    throw StepError("unknown step '" + ToOneLine(step.name) + "'");
  }
}

void Session::AdvanceTo(std::int64_t moment) {
  const auto advance = [&](std::int64_t to) {
    clock_.Advance(std::max<std::int64_t>(0, to - clock_.Monotonic()));
  };
  for (auto due = host_.GetNextDue(); due && *due <= moment; due = host_.GetNextDue()) {
    advance(*due);
    Guarded([&] { host_.DeliverExpiry(); });
  }
  advance(moment);
}

void Session::OnHostCall(const HostCall& call) {
  if (!verbose_ && IsVerbose(call)) return;
  const std::string line = FormatLine(call);
  if (!line.empty()) sink_(line);
}

bool Session::Guarded(const std::function<void()>& action) {
  std::string message;
  try {
    action();
    return true;
  } catch (const std::exception& error) {
    message = error.what();
  } catch (...) {
    message = "an exception of unknown type";
  }
  sink_("error " + ToOneLine(message));
  return false;
}

void Session::Answer(const std::string& text) {
  sink_(text.empty() ? "answer" : "answer " + ToOneLine(text));
}

bool Session::Start(const boost::shared_ptr<qx::XmlNode>& state) {
  if (!Guarded([&] { host_.Create(*plugin_); })) return false;
  const bool isRestored = Guarded([&] { host_.Initialize(state); });
  return Guarded([&] { host_.LateInitialize(); }) && isRestored;
}

bool Session::Replace(const PluginLibrary& plugin) {
  boost::shared_ptr<qx::XmlNode> state;
  const bool isPersisted = Guarded([&] {
    if (const auto persisted = host_.Persist()) state = ParseState(persisted->OuterXml());
  });
  if (!isPersisted) return false;
  const PluginLibrary* const before = std::exchange(plugin_, &plugin);
  DestroyAgent();
  if (Start(state)) return true;
  plugin_ = before;
  DestroyAgent();
  Start(state);
  return false;
}

void Session::DestroyAgent() {
  const std::string left = host_.Destroy();
  if (!left.empty()) sink_("error left registered: " + ToOneLine(left));
}

void Session::OnCommand(const Step& step) {
  CmdReturn answer;
  host_.Execute(MakeMessage(step.name, step, 0), &answer);
  if (answer.GetValue()) Answer(*answer.GetValue());
}

void Session::OnUI(const Step& step) {
  if (step.words.empty() || !step.words[0].key.empty()) {
    throw StepError("usage: ui NAME key=value ...");
  }
  const auto element = host_.Request(MakeMessage(step.words[0].value, step, 1));
  if (element) Answer(element->OuterXml());
}

void Session::OnEvent(const Step& step) {
  constexpr const char* kUsage = "event none | CODE | CODE A B TYPE D";
  const auto values = GetValues(step, 1, 5, kUsage);
  if (values.size() == 1 && values[0] == "none") {
    host_.SendEvent(nullptr);
    return;
  }
  const auto code = static_cast<qx::SystemEventData::Code>(ParseUnsigned(values[0]));
  if (values.size() == 1) {
    const qx::SystemEventData data(code);
    host_.SendEvent(&data);
    return;
  }
  if (values.size() != 5) throw StepError(std::string("usage: ") + kUsage);
  const auto type = static_cast<ItemType>(ParseUnsigned(values[3]));
  const qx::SystemEventData4<unsigned int, unsigned int, ItemType, unsigned int> data(
      code, ParseUnsigned(values[1]), ParseUnsigned(values[2]), type, ParseUnsigned(values[4]));
  host_.SendEvent(&data);
}

void Session::OnAdvance(const Step& step) {
  const std::string duration = GetValues(step, 1, 1, "advance 14m30s").front();
  AdvanceTo(clock_.Monotonic() + ParseDuration(duration));
}

void Session::OnClock(const Step& step) {
  clock_.SetWall(ParseTime(GetValues(step, 1, 1, "clock 2024-03-02T09:05:07").front()));
}

void Session::OnPersist(const Step& step) {
  GetValues(step, 0, 0, "persist");
  if (const auto state = host_.Persist()) Answer(state->OuterXml());
}

void Session::OnRestart(const Step& step) {
  boost::shared_ptr<qx::XmlNode> state;
  const bool isGiven = !step.words.empty();
  if (isGiven) {
    const StepWord& word = step.words[0];
    if (step.words.size() != 1 || word.key != "state") {
      throw StepError("usage: restart [state='XML' | state=none]");
    }
    const bool isNone = word.value == "none" && !word.isQuoted;
    if (!isNone) state = ParseState(word.value);
  }
  const auto persisted = host_.Persist();
  if (!isGiven && persisted) state = ParseState(persisted->OuterXml());
  DestroyAgent();
  Start(state);
}

void Session::OnProgramming(const Step& step) { host_.SetProgrammingManager(GetSwitch(step)); }

void Session::OnForwarder(const Step& step) { host_.SetForwarder(GetSwitch(step)); }

void Session::OnLogLevel(const Step& step) {
  qx::SetLogLevel(GetValues(step, 1, 1, "loglevel TRACE|DEBUG|INFO|WARN|ERROR|FATAL|OFF").front());
}

void Session::OnVerbose(const Step& step) { verbose_ = GetSwitch(step); }

}  // namespace host

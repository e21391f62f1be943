#include "host/session/StepTable.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>
#include <vector>

#include "host/engine/CmdMessage.h"
#include "host/session/Transcript.h"
#include "platform/HostLog.h"
#include "platform/SystemEvent.h"
#include "platform/xml/XmlNode.h"

namespace host {
namespace {

StepError UsageError(const Step& step) {
  return StepError("usage: " + std::string(step.row->usage));
}

/// The message that words `from` to the last give; each must have a key.
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

/// The values of a step without keys, `least` to `most` of them.
std::vector<std::string> GetValues(const Step& step, std::size_t least, std::size_t most) {
  std::vector<std::string> values;
  bool fits = step.words.size() >= least && step.words.size() <= most;
  for (const StepWord& word : step.words) {
    fits = fits && word.key.empty();
    values.push_back(word.value);
  }
  if (!fits) throw UsageError(step);
  return values;
}

std::string GetValue(const Step& step) { return GetValues(step, 1, 1).front(); }

bool GetSwitch(const Step& step) {
  const std::string value = GetValue(step);
  if (value != "on" && value != "off") throw UsageError(step);
  return value == "on";
}

void RunCommand(const StepContext& context, const Step& step) {
  CmdReturn answer;
  context.session.GetHost().Execute(MakeMessage(step.name, step, 0), &answer);
  if (answer.GetValue()) context.session.Answer(*answer.GetValue());
}

void RunUI(const StepContext& context, const Step& step) {
  if (step.words.empty() || !step.words[0].key.empty()) throw UsageError(step);
  const auto element = context.session.GetHost().Request(MakeMessage(step.words[0].value, step, 1));
  if (element) context.session.Answer(element->OuterXml());
}

void RunEvent(const StepContext& context, const Step& step) {
  Host& host = context.session.GetHost();
  const auto values = GetValues(step, 1, 5);
  if (values.size() == 1 && values[0] == "none") {
    host.SendEvent(nullptr);
    return;
  }
  const auto code = static_cast<qx::SystemEventData::Code>(ParseUnsigned(values[0]));
  if (values.size() == 1) {
    const qx::SystemEventData data(code);
    host.SendEvent(&data);
    return;
  }
  if (values.size() != 5) throw UsageError(step);
  const auto type = static_cast<ItemType>(ParseUnsigned(values[3]));
  const qx::SystemEventData4<unsigned int, unsigned int, ItemType, unsigned int> data(
      code, ParseUnsigned(values[1]), ParseUnsigned(values[2]), type, ParseUnsigned(values[4]));
  host.SendEvent(&data);
}

void RunAdvance(const StepContext& context, const Step& step) {
  const std::int64_t duration = ParseDuration(GetValue(step));
  context.session.AdvanceTo(context.session.GetClock().Monotonic() + duration);
}

void RunClock(const StepContext& context, const Step& step) {
  context.session.GetClock().SetWall(ParseTime(GetValue(step)));
}

void RunPersist(const StepContext& context, const Step& step) {
  GetValues(step, 0, 0);
  if (const auto state = context.session.GetHost().Persist()) {
    context.session.Answer(state->OuterXml());
  }
}

void RunRestart(const StepContext& context, const Step& step) {
  if (step.words.empty()) {
    context.session.Restart(context.session.CopyState());
    return;
  }
  const StepWord& word = step.words[0];
  if (step.words.size() != 1 || word.key != "state") throw UsageError(step);
  const bool isNone = word.value == "none" && !word.isQuoted;
  const auto state = isNone ? nullptr : ParseState(word.value);
  // Every restart asks the agent for its state first, as a host does that saves it.
  context.session.GetHost().Persist();
  context.session.Restart(state);
}

void RunReload(const StepContext& context, const Step& step) {
  GetValues(step, 0, 0);
  context.live->Reload();
}

void RunProgramming(const StepContext& context, const Step& step) {
  context.session.GetHost().SetProgrammingManager(GetSwitch(step));
}

void RunForwarder(const StepContext& context, const Step& step) {
  context.session.GetHost().SetForwarder(GetSwitch(step));
}

void RunLogLevel(const StepContext&, const Step& step) { qx::SetLogLevel(GetValue(step)); }

void RunVerbose(const StepContext& context, const Step& step) {
  context.session.SetVerbose(GetSwitch(step));
}

void RunExport(const StepContext& context, const Step& step) {
  context.live->Export(GetValue(step));
}

void RunExit(const StepContext& context, const Step& step) {
  GetValues(step, 0, 0);
  context.live->Exit();
}

void RunHelp(const StepContext& context, const Step& step);

constexpr unsigned int kConsole = static_cast<unsigned int>(Sender::kConsole);
constexpr unsigned int kDeveloper = kConsole | static_cast<unsigned int>(Sender::kScenario);
constexpr unsigned int kEditor = kDeveloper | static_cast<unsigned int>(Sender::kInstaller);
constexpr unsigned int kService =
    kEditor | static_cast<unsigned int>(Sender::kGuest) | static_cast<unsigned int>(Sender::kDesk);
constexpr unsigned int kAll = kService | static_cast<unsigned int>(Sender::kActivity);
/// "loglevel" with all levels.
constexpr auto kLogLevelUsage = [] {
  std::array<char, 64> text{};
  std::size_t size = 0;
  const auto add = [&](std::string_view part) {
    for (const char c : part) text[size++] = c;
  };
  add("loglevel");
  for (const std::string_view level : qx::kLogLevels) {
    add(level == qx::kLogLevels[0] ? " " : "|");
    add(level);
  }
  return text;
}();
constexpr bool kQuery = true;
constexpr bool kNoQuery = false;

// clang-format off
constexpr StepRow kSteps[] = {
    {"ADD_SERVICE name= description= icon= delay= operarequest=",
     "adds a guest service; `delay` is in minutes, -1 is never", kEditor, kNoQuery, Effect::kGrows, RunCommand},
    {"ADD_SERVICE type=shortcut shortcut_id=",
     "adds a shortcut to an item of the project", kEditor, kNoQuery, Effect::kGrows, RunCommand},
    {"EDIT_SERVICE guest_service='XML'",
     "replaces the guest service of the same id by this element", kEditor, kNoQuery, Effect::kGrows, RunCommand},
    {"EDIT_SERVICE type=shortcut shortcut='XML'",
     "replaces the shortcut of the same id by this element", kEditor, kNoQuery, Effect::kGrows, RunCommand},
    {"REMOVE_SERVICE id=", "removes a guest service or a shortcut", kEditor, kNoQuery, Effect::kChanges, RunCommand},
    {"REORDER_SERVICES order=3,1,2",
     "reorders the list; the value is all ids in their new order", kEditor, kNoQuery, Effect::kChanges, RunCommand},
    {"SEND_REQUEST_EVENT id= operarequest=",
     "requests a service; a request code is forwarded", kService, kNoQuery, Effect::kChanges, RunCommand},
    {"SEND_CANCEL_EVENT id=", "cancels a request", kService, kNoQuery, Effect::kChanges, RunCommand},
    {"GET_SERVICE_TYPES", "answers with the types of services", kEditor, kNoQuery, Effect::kNone, RunCommand},
    {"GET_ALL_SERVICES", "answers with the list", kEditor, kNoQuery, Effect::kNone, RunCommand},
    {"GET_SERVICE id=", "answers with one entry of the list", kEditor, kNoQuery, Effect::kNone, RunCommand},
    {"NAME key=value ...", "any command; a name is upper-case letters, digits and `_`, a letter first",
     kEditor, kNoQuery, Effect::kGrows, RunCommand},
    {"ui NAME key=value ...", "a user-interface request", kAll, kQuery, Effect::kNone, RunUI},
    {"ui GET_SERVICE_TYPES", "the same query as a user-interface request", kAll, kQuery, Effect::kNone, RunUI},
    {"ui GET_ALL_SERVICES", "the same query as a user-interface request", kAll, kQuery, Effect::kNone, RunUI},
    {"ui GET_SERVICE id=", "the same query as a user-interface request", kAll, kQuery, Effect::kNone, RunUI},
    {"event none | CODE | CODE A B TYPE D",
     "a system event without data, with plain data, or with four values: `event 11 ITEM 0 7 0` "
     "removes an item", kDeveloper, kNoQuery, Effect::kChanges, RunEvent},
    {"advance 14m30s",
     "advances both clocks by hours (`h`), minutes (`m`) and seconds (`s`), a century at most; "
     "each timer expires at its moment", kDeveloper, kNoQuery, Effect::kChanges, RunAdvance},
    {"clock 2024-03-02T09:05:07", "sets the wall clock alone; no timer expires by it",
     kDeveloper, kNoQuery, Effect::kNone, RunClock},
    {"persist", "answers with the state that the host saves", kDeveloper, kNoQuery, Effect::kNone, RunPersist},
    {"restart [state='XML' | state=none]",
     "destroys the agent and starts another one with its state, with this state, or with none",
     kDeveloper, kNoQuery, Effect::kGrows, RunRestart},
    {"reload", "restarts with the plug-in's file loaded again", kConsole, kNoQuery, Effect::kChanges, RunReload},
    {"programming on|off", "registers or withdraws the programming manager",
     kDeveloper, kNoQuery, Effect::kNone, RunProgramming},
    {"forwarder on|off", "registers or withdraws the request forwarder",
     kDeveloper, kNoQuery, Effect::kNone, RunForwarder},
    {kLogLevelUsage.data(), "sets the root logger's level",
     kDeveloper, kNoQuery, Effect::kNone, RunLogLevel},
    {"verbose on|off", "prints registrations, bindings and timers, or hides them",
     kDeveloper, kNoQuery, Effect::kNone, RunVerbose},
    {"export FILE", "writes the session so far to a new file, as a scenario",
     kConsole, kQuery, Effect::kNone, RunExport},
    {"help", "lists the steps", kConsole, kQuery, Effect::kNone, RunHelp},
    {"exit", "ends the host, as the end of the input does", kConsole, kQuery, Effect::kNone, RunExit},
    {"quit", "the same", kConsole, kQuery, Effect::kNone, RunExit},
};
// clang-format on

void RunHelp(const StepContext& context, const Step& step) {
  GetValues(step, 0, 0);
  for (const StepRow& row : StepTable()) {
    constexpr std::size_t kColumn = 60;
    std::string line(row.usage);
    line.append(line.size() < kColumn ? kColumn - line.size() : 1, ' ');
    std::remove_copy(row.meaning.begin(), row.meaning.end(), std::back_inserter(line), '`');
    context.session.Print(line);
  }
}

/// The first row of that name; null if there is none.
const StepRow* FindRow(const std::string& name) {
  const std::string_view wanted = Step::IsCommandName(name) ? kAnyName : std::string_view(name);
  const auto* const row = std::find_if(std::begin(kSteps), std::end(kSteps), [&](const auto& each) {
    return each.GetName() == name || each.GetName() == wanted;
  });
  return row != std::end(kSteps) ? row : nullptr;
}

const SenderRow& FindSender(Sender sender) {
  return *std::find_if(std::begin(kSenders), std::end(kSenders),
                       [&](const SenderRow& row) { return row.sender == sender; });
}

/// The names of the steps that a sender may send.
std::string DescribeSteps(Sender sender) {
  const bool mayAny = FindRow(std::string(kAnyName))->Admits(sender);
  std::vector<std::string> names;
  for (const StepRow& row : kSteps) {
    std::string name(row.GetName());
    if (!row.Admits(sender) || (mayAny && Step::IsCommandName(name) && name != kAnyName)) continue;
    if (name == kAnyName) name = "any command";
    if (names.empty() || names.back() != name) names.push_back(std::move(name));
  }
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

}  // namespace

std::string_view GetName(Sender sender) { return FindSender(sender).name; }

bool IsPage(Sender sender) { return FindSender(sender).isPage; }

bool StepRow::Restarts() const { return run == RunRestart || run == RunReload; }

const StepRow* StepTable::begin() const { return std::begin(kSteps); }

const StepRow* StepTable::end() const { return std::end(kSteps); }

Step ReadStep(std::string_view line, Sender sender) {
  Step step = ParseStep(line);
  step.row = FindRow(step.name);
  const bool isAdmitted = step.row != nullptr && step.row->Admits(sender);
  if (isAdmitted) return step;
  if (IsPage(sender)) {
    throw StepError("the role " + std::string(GetName(sender)) + " may not send '" +
                    ToOneLine(step.name) + "', only " + DescribeSteps(sender));
  }
  throw StepError("unknown step '" + ToOneLine(step.name) + "'");
}

void RunStep(const StepContext& context, const Step& step) {
  if (const auto failure = Try([&] { step.row->run(context, step); })) {
    context.session.Report(*failure);
  }
}

void RunScenarioLine(Session& session, std::string_view line) {
  Step step;
  if (const auto failure = Try([&] { step = ReadStep(line, Sender::kScenario); })) {
    session.Report(*failure);
  } else {
    RunStep({session, nullptr}, step);
  }
}

}  // namespace host

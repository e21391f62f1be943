#include "tests/simulator/Model.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "host/Transcript.h"

namespace simulator {
namespace {

constexpr std::uint32_t kCancelEventOffset = 10000;
constexpr std::int64_t kSweepPeriod = 30;
constexpr const char* kIdentity = "E3D838E8-07BB-4251-9201-18A186DDFBDA";

std::string Number(std::uint32_t number) { return std::to_string(number); }

/// The numbers of an order; what is not one is an error.
std::vector<std::uint32_t> ReadOrder(const std::string& order) {
  std::vector<std::uint32_t> ids;
  std::string rest = order + ',';
  for (std::size_t comma; (comma = rest.find(',')) != std::string::npos; rest.erase(0, comma + 1)) {
    const std::string item = rest.substr(0, comma);
    const bool hasSign = !item.empty() && (item[0] == '+' || item[0] == '-');
    const std::string digits = item.substr(hasSign ? 1 : 0);
    const bool isNumber = !digits.empty() && digits.size() < 18 &&
                          digits.find_first_not_of("0123456789") == std::string::npos;
    const std::int64_t number = isNumber ? std::stoll(item) : INT64_MAX;
    if (number < INT32_MIN || number > INT32_MAX) {
      throw std::runtime_error(
          "bad lexical cast: source type value could not be interpreted as target");
    }
    ids.push_back(static_cast<std::uint32_t>(number));
  }
  return ids;
}

/// Of those that streams have in them.
std::string NameOfEvent(std::uint32_t code) {
  static const std::map<std::uint32_t, const char*> kNames = {
      {1, "OnAll"},
      {7, "OnItemAdded"},
      {12, "OnItemMoved"},
      {69, "OnProjectEnterLock"},
      {71, "OnZigBeeStickPresent"},
      {121, "OnNetworkBindingAddressChanged"}};
  const auto found = kNames.find(code);
  return found != kNames.end() ? found->second : "Unknown";
}

std::map<std::string, std::string> ParamsOf(const host::Step& step) {
  std::map<std::string, std::string> params;
  for (const auto& word : step.words) params[word.key] = word.value;
  return params;
}

std::string Param(const std::map<std::string, std::string>& params, const std::string& name) {
  const auto found = params.find(name);
  return found != params.end() ? found->second : "";
}

int IntParam(const std::map<std::string, std::string>& params, const std::string& name) {
  return ReadNumber(Param(params, name));
}

std::uint32_t IdParam(const std::map<std::string, std::string>& params) {
  return static_cast<std::uint32_t>(IntParam(params, "id"));
}

}  // namespace

std::vector<std::string> Model::Follow(const std::string& line) {
  lines_.clear();
  const host::Step step = host::ParseStep(line);
  const std::string value = step.words.empty() ? "" : step.words[0].value;
  try {
    if (host::Step::IsCommandName(step.name)) OnCommand(step.name, ParamsOf(step));
    if (step.name == "ui") Query(value, ParamsOf(step), false);
    if (step.name == "event") OnEvent(step);
    if (step.name == "advance") Advance(host::ParseDuration(value) / 1000);
    if (step.name == "clock") now_ = host::ParseTime(value) / 1000;
    if (step.name == "persist") Answer(ListAsXml(false));
    if (step.name == "restart") Restart(step);
    if (step.name == "programming") hasProgramming_ = value == "on";
    if (step.name == "forwarder") hasForwarder_ = value == "on";
    if (step.name == "verbose") isVerbose_ = value == "on";
    if (step.name == "loglevel") {
      const std::map<std::string, Level> levels = {
          {"DEBUG", kDebug}, {"INFO", kInfo}, {"ERROR", kError}, {"OFF", kOff}};
      level_ = levels.at(value);
    }
  } catch (const std::runtime_error& error) {
    Say(std::string("error ") + error.what());
  }
  return lines_;
}

void Model::OnCommand(const std::string& name, const Params& params) {
  if (name == "ADD_SERVICE") {
    Add(params);
  } else if (name == "EDIT_SERVICE") {
    if (Param(params, "type") == "shortcut") {
      EditShortcut(Param(params, "shortcut"));
    } else {
      EditGuestService(Param(params, "guest_service"));
    }
  } else if (name == "REMOVE_SERVICE") {
    Remove(IdParam(params));
  } else if (name == "REORDER_SERVICES") {
    Reorder(Param(params, "order"));
  } else if (name == "SEND_REQUEST_EVENT") {
    SendRequest(IdParam(params), Param(params, "operarequest"));
  } else if (name == "SEND_CANCEL_EVENT") {
    SendCancel(IdParam(params));
  } else {
    Query(name, params, true);
  }
}

void Model::Query(const std::string& name, const Params& params, bool dateAsText) {
  if (name == "GET_ALL_SERVICES") {
    Answer(ListAsXml(dateAsText));
  } else if (name == "GET_SERVICE") {
    const auto service = Find(IdParam(params));
    Answer(service != services_.end() ? ToXml(*service, dateAsText) : "");
  } else if (name == "GET_SERVICE_TYPES") {
    Answer(R"(<service_types><service_type id="0" name="HouseKeeping"/>)"
           R"(<service_type id="1" name="Bellman"/><service_type id="2" name="Linens"/>)"
           R"(<service_type id="3" name="Valet"/><service_type id="4" name="Turndown"/>)"
           R"(<service_type id="5" name="Rollaway"/><service_type id="6" name="Privacy"/>)"
           R"(<service_type id="7" name="ServiceRoom"/></service_types>)");
  } else {
    throw std::runtime_error("nothing is registered for " + name);
  }
}

std::uint32_t Model::NextId() const {
  std::uint32_t largest = 0;
  for (const Service& service : services_) largest = std::max(largest, service.id);
  return largest + 1;
}

void Model::Add(const Params& params) {
  Service service;
  service.id = NextId();
  service.isShortcut = Param(params, "type") == "shortcut";
  if (service.isShortcut) {
    Log(kDebug, "Creating Shortcut Guest Service");
    service.target = static_cast<std::uint32_t>(IntParam(params, "shortcut_id"));
  } else {
    Log(kDebug, "Creating Guest Service");
    service.name = Param(params, "name");
    service.description = Param(params, "description");
    service.requestCode = Param(params, "operarequest");
    service.icon = IntParam(params, "icon");
    service.delay = IntParam(params, "delay");
    Bound("SERVICE_ADDED", service.id);
  }
  services_.push_back(service);
  PushService("service_added", service);
}

void Model::EditGuestService(const std::string& text) {
  Log(kDebug, "Editing guest service");
  const auto read = ReadService(text, false);
  const auto stored = read && read->id != 0 ? FindGuestService(read->id) : services_.end();
  if (stored == services_.end()) {
    Log(kError, "Edit Service, service doesn't exist");
    return;
  }
  Service edited = *read;
  edited.state = stored->state;
  edited.requestTime = stored->requestTime;
  *stored = edited;
  Bound("SERVICE_CHANGED", edited.id);
  PushService("service_changed", edited);
}

void Model::EditShortcut(const std::string& text) {
  const auto read = ReadService(text, true);
  if (!read || read->id == 0) return;
  const auto stored = Find(read->id);
  if (stored == services_.end() || !stored->isShortcut) return;
  *stored = *read;
  PushService("service_changed", *read);
}

void Model::Remove(std::uint32_t id) {
  const auto service = Find(id);
  if (service == services_.end()) return;
  RemoveProgramming(id);
  RemoveProgramming(id + kCancelEventOffset);
  services_.erase(service);
  PushId("service_removed", id);
  Say("owner-removed " + Number(id) + " 3");
  Bound("SERVICE_REMOVED", id);
}

void Model::RemoveProgramming(std::uint32_t item) {
  if (!hasProgramming_) {
    Say("assert ServicesAgent");
    return;
  }
  Say("programming-owned 1 " + Number(item) + " 3");
  Say("programming-item 1 " + Number(item));
  Log(kInfo, "ServicesAgent: RemoveProgramming successful.");
}

void Model::Reorder(const std::string& order) {
  const auto ids = ReadOrder(order);
  Services rest = services_;
  Services ordered;
  for (const std::uint32_t id : ids) {
    // An id that two services share always means the first.
    const auto isNamed = [id](const Service& service) { return service.id == id; };
    const auto inList = std::find_if(services_.begin(), services_.end(), isNamed);
    const auto isTaken = std::any_of(ordered.begin(), ordered.end(), isNamed);
    if (inList != services_.end() && !isTaken) ordered.push_back(*inList);
  }
  if (ids.size() != services_.size() || ordered.size() != services_.size()) {
    Log(kError, "Reorder Services, order doesn't name every service exactly once");
    return;
  }
  services_ = ordered;
  Push("services_reordered", "<order>" + Escape(order) + "</order>");
}

void Model::SendRequest(std::uint32_t id, const std::string& requestCode) {
  const auto service = FindGuestService(id);
  if (service == services_.end() || service->state == 1) return;
  PushId("service_state_requested", id);
  Log(kInfo, "sent request event for: " + service->name + " eventid: " + Number(id));
  service->state = 1;
  service->requestTime = ToDate(now_);
  Say("fire " + Number(id));
  Bound("SERVICE_STATE_REQUESTED", id);
  if (hasForwarder_ && !requestCode.empty()) {
    Say("forward \"Builtin_GuestService\" " + host::Quote(requestCode));
  }
}

void Model::SendCancel(std::uint32_t id) {
  const auto service = FindGuestService(id);
  if (service == services_.end() || service->state != 1) return;
  const std::uint32_t event = id + kCancelEventOffset;
  PushId("service_state_canceled", id);
  Log(kInfo, "sent cancel event for: " + service->name + " eventid: " + Number(event));
  Cancel(*service);
  Say("fire " + Number(event));
  Bound("SERVICE_STATE_CANCELED", id);
}

void Model::OnEvent(const host::Step& step) {
  constexpr std::uint32_t kItemRemoved = 11;
  if (step.words[0].value == "none") return;
  const std::uint32_t code = host::ParseUnsigned(step.words[0].value);
  if (code != kItemRemoved) {
    Log(kDebug, "Services Agent: Unknown system event \"" + NameOfEvent(code) + '"');
    return;
  }
  if (step.words.size() != 5 || step.words[3].value != "7") return;
  const std::uint32_t item = host::ParseUnsigned(step.words[1].value);
  const auto shortcut = std::find_if(
      services_.begin(), services_.end(),
      [item](const Service& service) { return service.isShortcut && service.target == item; });
  if (shortcut != services_.end()) Remove(shortcut->id);
}

void Model::Advance(std::int64_t seconds) {
  for (; seconds >= untilSweep_; untilSweep_ = kSweepPeriod) {
    now_ += untilSweep_;
    seconds -= untilSweep_;
    Sweep();
  }
  now_ += seconds;
  untilSweep_ -= seconds;
}

bool Model::HasRunOut(const Service& service) const {
  return service.delay != -1 &&
         now_ >= ToSeconds(service.requestTime) + std::int64_t{60} * service.delay;
}

void Model::Sweep() {
  Log(kDebug, "ServicesAgent::OnTimerExpired");
  for (Service& service : services_) {
    if (service.isShortcut || service.state != 1 || !HasRunOut(service)) continue;
    service.state = 0;
    PushId("service_state_not_requested", service.id);
    Log(kInfo, "Timer Expired on " + service.name + " state changed.");
    Bound("SERVICE_STATE_NOT_REQUESTED", service.id);
  }
  SayVerbosely("timer-armed 30 2 true");
}

void Model::Restart(const host::Step& step) {
  const std::string text = step.words.empty() ? ListAsXml(false) : step.words[0].value;
  const bool hasState = text != "none";
  const auto state = ReadState(text);
  if (hasState && !state) throw std::runtime_error("the state does not parse");
  SayVerbosely("listening-ended 11");
  SayVerbosely(std::string("interface-withdrawn ") + kIdentity);
  SayVerbosely("binding-removed 100");
  SayVerbosely("timer-killed");
  services_.clear();
  SayVerbosely(std::string("interface-registered ") + kIdentity);
  SayVerbosely("listening 11");
  SayVerbosely(R"(binding-added 100 1 true "GS_AGENT" "GUEST_SERVICES" false true null)");
  if (hasState) {
    services_ = state->services;
    if (state->rootName != "guest_services") Say("assert ServicesAgent");
    if (!state->error.empty()) Say("error " + state->error);
  }
  untilSweep_ = kSweepPeriod;
  SayVerbosely("timer-armed 30 2 true");
}

Model::Services::iterator Model::Find(std::uint32_t id) {
  return std::find_if(services_.begin(), services_.end(),
                      [id](const Service& service) { return service.id == id; });
}

Model::Services::iterator Model::FindGuestService(std::uint32_t id) {
  const auto service = Find(id);
  return service != services_.end() && service->isShortcut ? services_.end() : service;
}

std::string Model::ListAsXml(bool dateAsText) const {
  if (services_.empty()) return "<guest_services/>";
  std::string xml = "<guest_services>";
  for (const Service& service : services_) xml += ToXml(service, dateAsText);
  return xml + "</guest_services>";
}

void Model::SayVerbosely(const std::string& line) {
  if (isVerbose_) Say(line);
}

void Model::Log(Level level, const std::string& text) {
  if (level < level_) return;
  constexpr std::array kNames = {"DEBUG", "INFO", "ERROR"};
  Say(std::string("log ") + kNames.at(level) + ' ' + host::Quote(text));
}

void Model::Answer(const std::string& xml) { Say(xml.empty() ? "answer" : "answer " + xml); }

void Model::Push(const std::string& name, const std::string& content) {
  Say("push <" + name + '>' + content + "</" + name + '>');
}

void Model::PushId(const std::string& name, std::uint32_t id) {
  Push(name, "<id>" + Number(id) + "</id>");
}

void Model::PushService(const std::string& name, const Service& service) {
  Push(name, ToXml(service, false));
}

void Model::Bound(const std::string& name, std::uint32_t id) {
  Say("bound 100 " + name + " id:INT=" + Number(id));
}

}  // namespace simulator

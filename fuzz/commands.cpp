// Sequences of commands with any parameters, of restarts, events, interfaces that come and go, and
// moves of the clock: every text is well-formed, ids stay unique, a command that fails changes
// nothing, and a restart brings the same list back.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/Support.h"
#include "platform/HostLog.h"

namespace {

using ItemEvent = qx::SystemEventData4<unsigned int, unsigned int, ItemType, unsigned int>;
using EventCode = qx::SystemEventData::Code;

constexpr std::size_t kLongestText = 200;
constexpr int kMostActions = 60;

/// Makes up values.
class Values {
 public:
  explicit Values(FuzzedDataProvider& input) : input_(input) {}

  std::string Text() { return input_.ConsumeRandomLengthString(kLongestText); }
  std::string Type() { return input_.ConsumeBool() ? "shortcut" : Text(); }

  /// Mostly an id that a service may have.
  std::string Number() {
    constexpr std::array kOdd = {"-1", "0", "2147483647", "-2147483648", "4294967295", "10001"};
    const int number = input_.ConsumeIntegralInRange(0, 15);
    if (number == 15) return Text();
    return number == 14 ? input_.PickValueInArray(kOdd) : std::to_string(number);
  }

  /// Any text, or ids like those of a list.
  std::string Order() {
    if (input_.ConsumeBool()) return Text();
    std::string order = Number();
    while (input_.ConsumeBool()) order += ',' + Number();
    return order;
  }

  std::string GuestService() { return Element("guest_service"); }
  std::string Shortcut() { return Element("shortcut"); }

 private:
  /// Any text, or an element of which the values alone are any texts.
  std::string Element(const std::string& name) {
    if (input_.ConsumeBool()) return Text();
    std::string text = '<' + name;
    for (const char* key : {" id=\"", " shortcut_id=\"", " delay=\"", " state=\""}) {
      text += key + Number() + '"';
    }
    for (const char* key : {" name=\"", " operarequest=\""}) text += key + Text() + '"';
    return text + "><request_time DATETIME=\"" + Text() + "\"/></" + name + '>';
  }

  FuzzedDataProvider& input_;
};

/// The parameters of the commands.
struct Command {
  const char* name;
  std::vector<std::pair<const char*, std::string (Values::*)()>> params;
};
const std::array<Command, 9> kCommands = {{
    {"ADD_SERVICE",
     {{"type", &Values::Type},
      {"name", &Values::Text},
      {"description", &Values::Text},
      {"delay", &Values::Number},
      {"operarequest", &Values::Text},
      {"shortcut_id", &Values::Number}}},
    {"EDIT_SERVICE",
     {{"type", &Values::Type},
      {"guest_service", &Values::GuestService},
      {"shortcut", &Values::Shortcut}}},
    {"REMOVE_SERVICE", {{"id", &Values::Number}}},
    {"REORDER_SERVICES", {{"order", &Values::Order}}},
    {"SEND_REQUEST_EVENT", {{"id", &Values::Number}, {"operarequest", &Values::Text}}},
    {"SEND_CANCEL_EVENT", {{"id", &Values::Number}}},
    {"GET_SERVICE", {{"id", &Values::Number}}},
    {"GET_ALL_SERVICES", {}},
    {"GET_SERVICE_TYPES", {}},
}};

class Run {
 public:
  explicit Run(FuzzedDataProvider& input) : input_(input), values_(input) {
    StartWith(values_.Text());
    for (int i = 0; i < kMostActions && input_.remaining_bytes() != 0; ++i) {
      Act();
      Check();
    }
    agent_.Restart();
  }

 private:
  host::CmdMessage Message() {
    const Command& command = input_.PickValueInArray(kCommands);
    host::CmdMessage::Params params;
    for (const auto& [key, make] : command.params) {
      if (input_.ConsumeIntegralInRange(0, 7) != 0) params[key] = (values_.*make)();
    }
    return {input_.ConsumeBool() ? command.name : values_.Text(), params};
  }

  void Act() {
    host::Host& host = agent_.GetHost();
    switch (input_.ConsumeIntegralInRange(0, 11)) {
      case 0:
        return void(agent_.Request(Message()));
      case 1:
        return agent_.Restart();
      case 2:
        return StartWith("<guest_services>" + values_.GuestService() + values_.Shortcut() +
                         "</guest_services>");
      case 3:
        return SendEvent();
      case 4:
        // Far beyond the years of four digits.
        return agent_.GetClock().SetWall(input_.ConsumeIntegral<std::int64_t>() >> 8);
      case 5:
        agent_.GetClock().Advance(std::int64_t{input_.ConsumeIntegral<std::uint16_t>()} * 1000);
        return void(host.DeliverExpiry());
      case 6:
        host.SetProgrammingManager(input_.ConsumeBool());
        return host.SetForwarder(input_.ConsumeBool());
      case 7:
        return qx::SetLogLevel(input_.PickValueInArray({"DEBUG", "INFO", "ERROR", "OFF"}));
      default:
        if (!agent_.Execute(Message())) fuzz::Require(agent_.Persist() == list_, "half a command");
    }
  }

  void StartWith(const std::string& state) {
    agent_.Start(state);
    isUnique_ = fuzz::AreUnique(agent_.GetIds());
    Check();
  }

  void SendEvent() {
    const auto code = static_cast<EventCode>(input_.ConsumeIntegral<std::uint8_t>());
    const qx::SystemEventData data(code);
    const auto type = static_cast<ItemType>(input_.ConsumeIntegralInRange(6, 8));
    const ItemEvent removal(EventCode{11}, input_.ConsumeIntegralInRange(0U, 15U), 0, type, 0);
    const qx::SystemEventData* const events[] = {nullptr, &data, &removal, &removal};
    agent_.GetHost().SendEvent(input_.PickValueInArray(events));
  }

  /// Ids stay unique if they were at the start and have not been counted to their end.
  void Check() {
    list_ = agent_.Persist();
    const auto ids = agent_.GetIds();
    fuzz::Require(!isUnique_ || fuzz::AreUnique(ids), "an id twice: " + list_);
    constexpr unsigned int kLast = std::numeric_limits<unsigned int>::max();
    isUnique_ = isUnique_ && std::find(ids.begin(), ids.end(), kLast) == ids.end();
  }

  FuzzedDataProvider& input_;
  Values values_;
  fuzz::Agent agent_;
  std::string list_;      // as persisted last
  bool isUnique_ = true;  // whether its ids must be
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const Run run(input);
  return 0;
}

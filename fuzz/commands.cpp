// Sequences of commands with any parameters, of restarts, events, interfaces that come and go, and
// moves of the clock: every text is well-formed, ids stay unique, a command that fails changes
// nothing, and a restart brings the same list back.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/Support.h"
#include "platform/IHost.h"
#include "platform/XmlNode.h"

namespace {

using host::CmdMessage;
using ItemEvent = qx::SystemEventData4<unsigned int, unsigned int, ItemType, unsigned int>;

constexpr std::size_t kLongestText = 200;
constexpr int kMostActions = 60;

class Run {
 public:
  explicit Run(FuzzedDataProvider& input) : input_(input) {
    const auto state = qx::CreateXmlDocument(Text());
    agent_.Start(state ? state->GetRoot() : nullptr);
    list_ = agent_.Persist();
    isUnique_ = fuzz::AreUnique(fuzz::IdsOf(list_));
  }

  void Go() {
    for (int i = 0; i < kMostActions && input_.remaining_bytes() != 0; ++i) {
      Act();
      Check();
    }
    RestartFromPersisted();
  }

 private:
  std::string Text() { return input_.ConsumeRandomLengthString(kLongestText); }

  /// A number as a parameter holds it: mostly an id that a service may have.
  std::string Number() {
    static constexpr std::array kOdd = {"-1",          "0",          "2147483647",
                                        "-2147483648", "4294967295", "10001"};
    const int number = input_.ConsumeIntegralInRange(0, 15);
    if (number == 15) return Text();
    if (number == 14) return input_.PickValueInArray(kOdd);
    return std::to_string(number);
  }

  /// An entry's element: any text, or one whose values alone are any texts.
  std::string Element(const char* name) {
    if (input_.ConsumeBool()) return Text();
    std::string text = std::string("<") + name;
    for (const char* key : {"id", "shortcut_id", "delay", "icon", "state"}) {
      text += std::string(" ") + key + "=\"" + Number() + '"';
    }
    for (const char* key : {"name", "description", "operarequest"}) {
      text += std::string(" ") + key + "=\"" + Text() + '"';
    }
    return text + "><request_time DATETIME=\"" + Text() + "\"/></" + name + '>';
  }

  CmdMessage Message() {
    static constexpr std::array kNames = {"ADD_SERVICE",        "EDIT_SERVICE",
                                          "REMOVE_SERVICE",     "REORDER_SERVICES",
                                          "SEND_REQUEST_EVENT", "SEND_CANCEL_EVENT",
                                          "GET_SERVICE",        "GET_ALL_SERVICES",
                                          "GET_SERVICE_TYPES",  ""};
    const std::string name = input_.PickValueInArray(kNames);
    const std::string type = input_.ConsumeBool() ? "shortcut" : "";
    if (name == "ADD_SERVICE") {
      return {name,
              {{"type", type},
               {"name", Text()},
               {"description", Text()},
               {"icon", Number()},
               {"delay", Number()},
               {"operarequest", Text()},
               {"shortcut_id", Number()}}};
    }
    if (name == "EDIT_SERVICE") {
      return {name,
              {{"type", type},
               {"guest_service", Element("guest_service")},
               {"shortcut", Element("shortcut")}}};
    }
    if (name == "REORDER_SERVICES") return {name, {{"order", Order()}}};
    if (name.empty()) return {Text(), {{Text(), Text()}}};
    return {name, {{"id", Number()}, {"operarequest", Text()}}};
  }

  /// Any text, or the ids of the list in some order.
  std::string Order() {
    if (input_.ConsumeBool()) return Text();
    auto ids = fuzz::IdsOf(list_);
    const int shift = input_.ConsumeIntegralInRange(0, 7);
    std::string order;
    if (!ids.empty()) std::rotate(ids.begin(), ids.begin() + shift % ids.size(), ids.end());
    for (const unsigned int id : ids) {
      order += (order.empty() ? "" : ",") + std::to_string(static_cast<int>(id));
    }
    return order;
  }

  void Act() {
    enum Action {
      kCommand,
      kRequest,
      kRestart,
      kRestartWithAny,
      kEvent,
      kItemEvent,
      kAdvance,
      kClock,
      kInterfaces,
      kLogLevel,
      kMaxValue = kLogLevel
    };
    switch (input_.ConsumeEnum<Action>()) {
      case kCommand:
        return Command();
      case kRequest:
        agent_.Request(Message());
        return;
      case kRestart:
        return RestartFromPersisted();
      case kRestartWithAny:
        return RestartWithAny();
      case kEvent:
        return Event();
      case kItemEvent:
        return ItemRemoved();
      case kAdvance:
        return Advance();
      case kClock:
        // Far beyond the years of four digits; 32-bit limits are among them.
        return agent_.GetClock().SetWall(input_.ConsumeIntegral<std::int64_t>() >> 8);
      case kInterfaces:
        agent_.GetHost().SetProgrammingManager(input_.ConsumeBool());
        return agent_.GetHost().SetForwarder(input_.ConsumeBool());
      case kLogLevel:
        return qx::SetLogLevel(input_.PickValueInArray({"DEBUG", "INFO", "ERROR", "OFF"}));
    }
  }

  void Command() {
    const std::string before = list_;
    if (!agent_.Execute(Message())) fuzz::Require(agent_.Persist() == before, "half a command");
  }

  void RestartFromPersisted() {
    const std::string before = agent_.Persist();
    fuzz::Require(agent_.StartFromText(before), "cannot be read: " + before);
    const std::string after = agent_.Persist();
    fuzz::Require(before == after, "persisted " + before + ", restored " + after);
  }

  void RestartWithAny() {
    const auto state = qx::CreateXmlDocument("<guest_services>" + Element("guest_service") +
                                             Element("shortcut") + "</guest_services>");
    if (!state) return;
    agent_.Start(state->GetRoot());
    isUnique_ = fuzz::AreUnique(fuzz::IdsOf(agent_.Persist()));
  }

  void Event() {
    const auto code =
        static_cast<qx::SystemEventData::Code>(input_.ConsumeIntegral<std::uint8_t>());
    const qx::SystemEventData data(code);
    agent_.GetHost().SendEvent(input_.ConsumeBool() ? &data : nullptr);
  }

  void ItemRemoved() {
    const auto type = static_cast<ItemType>(input_.ConsumeIntegralInRange(6, 8));
    const unsigned int item = input_.ConsumeIntegralInRange(0U, 15U);
    const ItemEvent data(static_cast<qx::SystemEventData::Code>(11), item, 0, type, 0);
    agent_.GetHost().SendEvent(&data);
  }

  void Advance() {
    agent_.GetClock().Advance(std::int64_t{input_.ConsumeIntegral<std::uint16_t>()} * 1000);
    for (int i = 0; i < 3; ++i) agent_.GetHost().DeliverExpiry();
  }

  void Check() {
    list_ = agent_.Persist();
    const auto ids = fuzz::IdsOf(list_);
    fuzz::Require(!isUnique_ || fuzz::AreUnique(ids), "an id twice: " + list_);
  }

  FuzzedDataProvider& input_;
  fuzz::Agent agent_;
  std::string list_;  // as persisted last
  bool isUnique_;     // whether the ids of the state that the agent started with were unique
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  Run(input).Go();
  return 0;
}

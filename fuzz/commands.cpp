// Sequences of commands with any parameters, of restarts, events, interfaces that come and go, and
// moves of the clock: every text is well-formed, ids stay unique, a command that fails changes
// nothing, and a restart brings the same list back.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "fuzz/Support.h"
#include "platform/IHost.h"
#include "platform/XmlNode.h"

namespace {

using ItemEvent = qx::SystemEventData4<unsigned int, unsigned int, ItemType, unsigned int>;

constexpr std::size_t kLongestText = 200;
constexpr int kMostActions = 60;

class Run {
 public:
  explicit Run(FuzzedDataProvider& input) : input_(input) { StartWith(Text()); }

  void Go() {
    for (int i = 0; i < kMostActions && input_.remaining_bytes() != 0; ++i) {
      Act();
      list_ = agent_.Persist();
      Check();
    }
    Restart();
  }

 private:
  // Parameters
  std::string Text() { return input_.ConsumeRandomLengthString(kLongestText); }
  std::string Type() { return input_.ConsumeBool() ? "shortcut" : Text(); }
  std::string Number();
  std::string Order();
  std::string GuestService() { return Element("guest_service"); }
  std::string Shortcut() { return Element("shortcut"); }
  std::string Element(const std::string& name);
  host::CmdMessage Message();

  void Check();

  // Actions
  void Act();
  void Execute();
  void Restart();
  void StartWith(const std::string& state);
  void SendEvent();
  void SendItemRemoved();
  void Advance();

  FuzzedDataProvider& input_;
  fuzz::Agent agent_;
  std::string list_;      // as persisted last
  bool isUnique_ = true;  // whether its ids must be
};

/// Mostly an id that a service may have.
std::string Run::Number() {
  constexpr std::array kOdd = {"-1", "0", "2147483647", "-2147483648", "4294967295", "10001"};
  const int number = input_.ConsumeIntegralInRange(0, 15);
  if (number == 15) return Text();
  return number == 14 ? input_.PickValueInArray(kOdd) : std::to_string(number);
}

/// Any text, or the ids of the list in another order.
std::string Run::Order() {
  if (input_.ConsumeBool()) return Text();
  const auto ids = fuzz::IdsOf(list_);
  const std::size_t shift = input_.ConsumeIntegral<std::uint8_t>();
  std::string order;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    const auto id = static_cast<int>(ids[(i + shift) % ids.size()]);
    order += (order.empty() ? "" : ",") + std::to_string(id);
  }
  return order;
}

/// Any text, or an element of which the values alone are any texts.
std::string Run::Element(const std::string& name) {
  if (input_.ConsumeBool()) return Text();
  std::string text = '<' + name;
  for (const char* key : {" id=\"", " shortcut_id=\"", " delay=\"", " state=\""}) {
    text += key + Number() + '"';
  }
  for (const char* key : {" name=\"", " operarequest=\""}) text += key + Text() + '"';
  return text + "><request_time DATETIME=\"" + Text() + "\"/></" + name + '>';
}

host::CmdMessage Run::Message() {
  struct Command {
    const char* name;
    std::vector<std::pair<const char*, std::string (Run::*)()>> params;
  };
  static const std::array<Command, 9> kCommands = {{
      {"ADD_SERVICE",
       {{"type", &Run::Type},
        {"name", &Run::Text},
        {"description", &Run::Text},
        {"icon", &Run::Number},
        {"delay", &Run::Number},
        {"operarequest", &Run::Text},
        {"shortcut_id", &Run::Number}}},
      {"EDIT_SERVICE",
       {{"type", &Run::Type}, {"guest_service", &Run::GuestService}, {"shortcut", &Run::Shortcut}}},
      {"REMOVE_SERVICE", {{"id", &Run::Number}}},
      {"REORDER_SERVICES", {{"order", &Run::Order}}},
      {"SEND_REQUEST_EVENT", {{"id", &Run::Number}, {"operarequest", &Run::Text}}},
      {"SEND_CANCEL_EVENT", {{"id", &Run::Number}}},
      {"GET_SERVICE", {{"id", &Run::Number}}},
      {"GET_ALL_SERVICES", {}},
      {"GET_SERVICE_TYPES", {}},
  }};
  const Command& command = input_.PickValueInArray(kCommands);
  host::CmdMessage::Params params;
  for (const auto& [key, make] : command.params) {
    if (input_.ConsumeIntegralInRange(0, 7) != 0) params[key] = (this->*make)();
  }
  return {input_.ConsumeBool() ? command.name : Text(), params};
}

/// Ids stay unique if they were at the start and have not been counted to their end.
void Run::Check() {
  const auto ids = fuzz::IdsOf(list_);
  fuzz::Require(!isUnique_ || fuzz::AreUnique(ids), "an id twice: " + list_);
  constexpr unsigned int kLast = std::numeric_limits<unsigned int>::max();
  isUnique_ = isUnique_ && std::find(ids.begin(), ids.end(), kLast) == ids.end();
}

void Run::Act() {
  host::Host& host = agent_.GetHost();
  switch (input_.ConsumeIntegralInRange(0, 11)) {
    case 0:
      return void(agent_.Request(Message()));
    case 1:
      return Restart();
    case 2:
      return StartWith("<guest_services>" + GuestService() + Shortcut() + "</guest_services>");
    case 3:
      return SendEvent();
    case 4:
      return SendItemRemoved();
    case 5:
      return Advance();
    case 6:
      // Far beyond the years of four digits.
      return agent_.GetClock().SetWall(input_.ConsumeIntegral<std::int64_t>() >> 8);
    case 7:
      host.SetProgrammingManager(input_.ConsumeBool());
      return host.SetForwarder(input_.ConsumeBool());
    case 8:
      return qx::SetLogLevel(input_.PickValueInArray({"DEBUG", "INFO", "ERROR", "OFF"}));
    default:
      return Execute();
  }
}

void Run::Execute() {
  const std::string before = list_;
  if (!agent_.Execute(Message())) fuzz::Require(agent_.Persist() == before, "half a command");
}

void Run::Restart() {
  const std::string before = agent_.Persist();
  fuzz::Require(agent_.StartFromText(before), "cannot be read: " + before);
  const std::string after = agent_.Persist();
  fuzz::Require(before == after, "persisted " + before + ", restored " + after);
}

void Run::StartWith(const std::string& state) {
  const auto document = qx::CreateXmlDocument(state);
  agent_.Start(document ? document->GetRoot() : nullptr);
  list_ = agent_.Persist();
  isUnique_ = fuzz::AreUnique(fuzz::IdsOf(list_));
  Check();
}

void Run::SendEvent() {
  const auto code = static_cast<qx::SystemEventData::Code>(input_.ConsumeIntegral<std::uint8_t>());
  const qx::SystemEventData data(code);
  agent_.GetHost().SendEvent(input_.ConsumeBool() ? &data : nullptr);
}

void Run::SendItemRemoved() {
  const auto type = static_cast<ItemType>(input_.ConsumeIntegralInRange(6, 8));
  const unsigned int item = input_.ConsumeIntegralInRange(0U, 15U);
  const ItemEvent data(static_cast<qx::SystemEventData::Code>(11), item, 0, type, 0);
  agent_.GetHost().SendEvent(&data);
}

void Run::Advance() {
  agent_.GetClock().Advance(std::int64_t{input_.ConsumeIntegral<std::uint16_t>()} * 1000);
  for (int i = 0; i < 3; ++i) agent_.GetHost().DeliverExpiry();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  Run(input).Go();
  return 0;
}

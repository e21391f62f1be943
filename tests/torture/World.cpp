#include "tests/torture/World.h"

#include <gtest/gtest.h>

#include <set>

#include "host/Step.h"
#include "platform/Logger.h"

namespace test {
namespace {

constexpr std::int64_t kNow = 1709283600;  // 2024-03-01 09:00:00 UTC
constexpr const char* kState =
    "<guest_services>"
    "<guest_service id='1' name='Turndown of the bed' description='With chocolate on the pillow'"
    " icon='4' delay='15' operarequest='TURNDOWN-REQUEST-CODE' state='1'>"
    "<request_time YEAR='2024' MONTH='2' DAY='28' HOUR='8' MIN='0' SEC='0'/></guest_service>"
    "<guest_service id='2' name='Parking of the car' description='At the door in ten minutes'"
    " icon='3' delay='15' operarequest='PARKING-REQUEST-CODE' state='0'/>"
    "<shortcut id='3' shortcut_id='42'/>"
    "<guest_service id='4' name='Cleaning of linens' description='Back the next morning, pressed'"
    " icon='2' delay='0' operarequest='LINENS-REQUEST-CODE' state='1'>"
    "<request_time YEAR='2024' MONTH='2' DAY='28' HOUR='8' MIN='0' SEC='0'/></guest_service>"
    "<shortcut id='5' shortcut_id='43'/></guest_services>";

void SendItemRemoved(World& world) {
  const qx::SystemEventData4<unsigned int, unsigned int, ItemType, unsigned int> data(
      static_cast<qx::SystemEventData::Code>(11), 42, 0, ItemType{7}, 0);
  world.GetHost().SendEvent(&data);
}

void SendOtherEvent(World& world) {
  const qx::SystemEventData data(static_cast<qx::SystemEventData::Code>(7));
  world.GetHost().SendEvent(&data);
}

/// A command, or a request if "ui" stands before it, written as a scenario's step.
Act Do(const std::string& text) {
  const host::Step step = host::ParseStep(text);
  const bool isRequest = step.name == "ui";
  host::CmdMessage::Params params;
  for (const auto& word : step.words) params.emplace(word.key, word.value);
  const host::CmdMessage message(isRequest ? step.words[0].value : step.name, params);
  const auto run = [isRequest, message](World& world) {
    host::CmdReturn answer;
    if (isRequest) {
      world.GetHost().Request(message);
    } else {
      world.GetHost().Execute(message, &answer);
    }
  };
  return {text, run};
}

Act Adding(Act act) {
  act.adds = true;
  return act;
}

void Initialize(World& world, const std::string& state) {
  world.GetHost().Initialize(qx::CreateXmlDocument(state)->GetRoot());
}

}  // namespace

World::World(const host::PluginLibrary& plugin, Stage stage)
    : plugin_(plugin), clock_(kNow), host_(clock_, *this) {
  qx::Logger::initialize();
  qx::SetLogLevel("DEBUG");
  host_.SetForwarder(true);
  Start(Stage::kNone, stage);
}

void World::Start(Stage from, Stage to) {
  if (from < Stage::kCreated && to >= Stage::kCreated) host_.Create(plugin_);
  if (from < Stage::kInitialized && to >= Stage::kInitialized) Initialize(*this, kState);
  if (from < Stage::kRunning && to >= Stage::kRunning) host_.LateInitialize();
}

void World::Sweep() {
  constexpr std::int64_t kTimerPeriod = 30000;
  clock_.Advance(kTimerPeriod);
  clock_.SetWall(kNow * 1000);
  host_.DeliverExpiry();
}

void World::Command(const char* name, const host::CmdMessage::Params& params) {
  host::CmdReturn answer;
  host_.Execute(host::CmdMessage(name, params), &answer);
}

Entries World::GetEntries() {
  Entries entries;
  if (!host_.HasAgent()) return entries;
  const auto state = host_.Persist();
  auto* const children = state->GetIterator();
  for (auto child = children->GetFirst(); child; child = children->GetNext()) {
    entries.push_back(child->OuterXml());
  }
  return entries;
}

void World::OnHostCall(const host::HostCall& call) {
  wasLastCallToArm_ = std::holds_alternative<host::TimerArmed>(call);
  if (const auto* const fire = std::get_if<host::Fire>(&call)) firedEvents_.push_back(fire->event);
  if (const auto* const bound = std::get_if<host::Bound>(&call)) {
    const unsigned int id = bound->message.GetParams().at(0).value;
    if (bound->message.GetCommand() == "SERVICE_ADDED") knownToDevices_.insert(id);
    if (bound->message.GetCommand() == "SERVICE_REMOVED") knownToDevices_.erase(id);
  }
  if (!onHostCall || isInside_) return;
  struct Inside {
    explicit Inside(bool& flag) : flag(flag) { flag = true; }
    ~Inside() { flag = false; }
    bool& flag;
  } const inside(isInside_);
  onHostCall();
}

const std::vector<Act>& GetActs() {
  using W = World;
  const auto initializeOther = [](W& world) {
    Initialize(world, "<services><shortcut id='1' shortcut_id='42'/></services>");
  };
  static const std::vector<Act> acts = {
      {"create", [](W& world) { world.Start(Stage::kNone, Stage::kCreated); }, Stage::kNone},
      {"Initialize", [](W& world) { Initialize(world, kState); }, Stage::kCreated, true, true},
      {"Initialize with another root", initializeOther, Stage::kCreated, true, true},
      {"LateInitialize", [](W& world) { world.GetHost().LateInitialize(); }, Stage::kInitialized},
      Adding(Do("ADD_SERVICE name='Airing of the duvet' description='On the balcony, in the sun'"
                " operarequest=AIRING-REQUEST-CODE")),
      Adding(Do("ADD_SERVICE type=shortcut shortcut_id=7")),
      Do("EDIT_SERVICE guest_service='<guest_service id=\"1\" name=\"All there is\" "
         "delay=\"-1\"/>'"),
      Do("EDIT_SERVICE guest_service='<guest_service id=\"2\" name=\"All there is\" "
         "delay=\"-1\"/>'"),
      Do("EDIT_SERVICE guest_service='<guest_service id=\"77\"/>'"),
      Do("EDIT_SERVICE type=shortcut shortcut='<shortcut id=\"5\" shortcut_id=\"44\"/>'"),
      Do("REMOVE_SERVICE id=2"),
      Do("REMOVE_SERVICE id=5"),
      Do("REORDER_SERVICES order=5,4,1,3,2"),
      Do("REORDER_SERVICES order=5,4"),
      Do("SEND_REQUEST_EVENT id=1 operarequest=CODE"),
      Do("SEND_REQUEST_EVENT id=2 operarequest=CODE"),
      Do("SEND_CANCEL_EVENT id=1"),
      Do("SEND_CANCEL_EVENT id=2"),
      Do("GET_ALL_SERVICES"),
      Do("ui GET_ALL_SERVICES"),
      Do("GET_SERVICE id=1"),
      Do("ui GET_SERVICE id=1"),
      Do("GET_SERVICE_TYPES"),
      Do("ui GET_SERVICE_TYPES"),
      {"sweep", [](W& world) { world.Sweep(); }, Stage::kRunning, false, true},
      {"persist", [](W& world) { world.GetHost().Persist(); }},
      {"item 42 removed", SendItemRemoved},
      {"another event", SendOtherEvent},
      {"remove 1 without programming manager",
       [remove = Do("REMOVE_SERVICE id=1")](W& world) {
         world.GetHost().SetProgrammingManager(false);
         remove.run(world);
       }},
  };
  return acts;
}

namespace {

std::set<unsigned int> GetIds(World& world) {
  std::set<unsigned int> ids;
  for (const std::string& entry : world.GetEntries()) {
    const auto element = qx::CreateXmlDocument(entry)->GetRoot();
    const auto id = static_cast<unsigned int>(element->GetAttributeNumber("id"));
    EXPECT_TRUE(ids.insert(id).second) << "id " << id << " is there twice";
  }
  return ids;
}

}  // namespace

void ExpectUsable(World& world) {
  const Entries before = world.GetEntries();
  const auto idsBefore = GetIds(world);
  world.Command("ADD_SERVICE", {{"name", "Probe"}, {"delay", "0"}});
  std::string id;
  for (const unsigned int candidate : GetIds(world)) {
    if (idsBefore.count(candidate) == 0) id = std::to_string(candidate);
  }
  EXPECT_EQ(world.GetEntries().size(), before.size() + 1);
  const auto firedBefore = world.GetFiredEvents().size();
  world.Command("SEND_REQUEST_EVENT", {{"id", id}});
  world.Command("SEND_CANCEL_EVENT", {{"id", id}});
  EXPECT_EQ(world.GetFiredEvents().size(), firedBefore + 2);
  world.Command("REMOVE_SERVICE", {{"id", id}});
  EXPECT_EQ(world.GetEntries(), before);
}

}  // namespace test

#include "tests/support/Acts.h"

#include <gtest/gtest.h>

namespace test {
namespace {

constexpr const char* kAddingWithLongTexts =
    "ADD_SERVICE name='Airing of the duvet' description='On the balcony, in the sun'"
    " operarequest=AIRING-REQUEST-CODE";
constexpr const char* kOtherRoot = "<services><shortcut id='1' shortcut_id='42'/></services>";

void SendItemRemoved(World& world) {
  const qx::SystemEventData4<unsigned int, unsigned int, ItemType, unsigned int> data(
      static_cast<qx::SystemEventData::Code>(11), 42, 0, ItemType{7}, 0);
  world.GetHost().SendEvent(&data);
}

void SendOtherEvent(World& world) {
  const qx::SystemEventData data(static_cast<qx::SystemEventData::Code>(7));
  world.GetHost().SendEvent(&data);
}

void RemoveWithoutProgrammingManager(World& world) {
  world.GetHost().SetProgrammingManager(false);
  world.Run("REMOVE_SERVICE id=1");
}

}  // namespace

const char* const kFiveServices =
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

World::World(Stage stage, const host::PluginLibrary& plugin) : Harness(kStart, "DEBUG", plugin) {
  GetHost().SetForwarder(true);
  Start(stage);
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
  onHostCall(call);
}

const std::vector<Act>& GetActs() {
  static const std::vector<Act> acts = [] {
    std::vector<Act> all = {
        {"create", [](World& w) { w.Start(Stage::kCreated); }, Stage::kNone},
        {"Initialize", [](World& w) { w.Start(Stage::kInitialized); }, Stage::kCreated, true},
        {"Initialize with another root", [](World& w) { w.Start(Stage::kInitialized, kOtherRoot); },
         Stage::kCreated, true},
        {"LateInitialize", [](World& w) { w.Start(Stage::kRunning); }, Stage::kInitialized},
        {"sweep", [](World& w) { w.Sweep(); }, Stage::kRunning, true},
        {"persist", [](World& w) { w.GetHost().Persist(); }},
        {"item 42 removed", SendItemRemoved},
        {"another event", SendOtherEvent},
        {"remove 1 without programming manager", RemoveWithoutProgrammingManager}};
    for (const char* const step :
         {kAddingWithLongTexts,
          "ADD_SERVICE type=shortcut shortcut_id=7",
          R"(EDIT_SERVICE guest_service='<guest_service id="1" name="All there is" delay="-1"/>')",
          R"(EDIT_SERVICE guest_service='<guest_service id="2" name="All there is" delay="-1"/>')",
          "EDIT_SERVICE guest_service='<guest_service id=\"77\"/>'",
          "EDIT_SERVICE type=shortcut shortcut='<shortcut id=\"5\" shortcut_id=\"44\"/>'",
          "REMOVE_SERVICE id=2",
          "REMOVE_SERVICE id=5",
          "REORDER_SERVICES order=5,4,1,3,2",
          "REORDER_SERVICES order=5,4",
          "SEND_REQUEST_EVENT id=1 operarequest=CODE",
          "SEND_REQUEST_EVENT id=2 operarequest=CODE",
          "SEND_CANCEL_EVENT id=1",
          "SEND_CANCEL_EVENT id=2",
          "GET_ALL_SERVICES",
          "ui GET_ALL_SERVICES",
          "GET_SERVICE id=1",
          "ui GET_SERVICE id=1",
          "GET_SERVICE_TYPES",
          "ui GET_SERVICE_TYPES"}) {
      all.push_back({step, [step](World& w) { w.Run(step); }});
    }
    return all;
  }();
  return acts;
}

void ExpectUsable(World& world) {
  const Entries before = world.GetEntries();
  world.Run("ADD_SERVICE name=Probe delay=0");
  const auto ids = world.GetIds();
  EXPECT_EQ(ids.size(), before.size() + 1);
  EXPECT_EQ(std::set(ids.begin(), ids.end()).size(), ids.size())
      << "an id twice: " << testing::PrintToString(ids);
  const std::string id = std::to_string(ids.back());
  world.TakeFiredEvents();
  world.Run("SEND_REQUEST_EVENT id=" + id);
  world.Run("SEND_CANCEL_EVENT id=" + id);
  EXPECT_EQ(world.TakeFiredEvents().size(), 2U);
  world.Run("REMOVE_SERVICE id=" + id);
  EXPECT_EQ(world.GetEntries(), before);
}

}  // namespace test

// What scenarios do not show: the plug-in's two functions, and all that a log record carries.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/IHost.h"
#include "platform/QxBaseDriver.h"
#include "tests/support/Acts.h"

namespace test {
namespace {

TEST(Plugin, AddsItsNameToTheHosts) {
  void* const library = dlopen(PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto getNames = reinterpret_cast<GetAgentNameFunc>(dlsym(library, "GetAgentName"));
  const auto getFactory = reinterpret_cast<GetCreationFuncFunc>(dlsym(library, "GetCreationFunc"));
  std::vector<std::string> names = {"Another agent"};
  getNames(names);
  getNames(names);
  EXPECT_EQ(names, (std::vector<std::string>{"Another agent", "Guest Services", "Guest Services"}));
  EXPECT_NE(getFactory(), nullptr);
  EXPECT_EQ(getFactory(), getFactory());
  dlclose(library);
}

TEST(Agent, WritesRecordsWithLevelAndSignature) {
#ifdef __clang__
  GTEST_SKIP() << "the signatures are those that GCC writes";
#endif
  const std::string command = "(const ICmdMessage&)\n";
  const std::string expiry = "virtual void ServicesAgent::OnTimerExpired(ID::Timer, time_t)\n";
  const std::string removal = "20000 INFO void ServicesAgent::RemoveProgramming(ID::Item)\n";
  const std::string editing = "10000 DEBUG void ServicesAgent::OnCmdEditService" + command;
  const std::pair<std::string, std::string> cases[] = {
      {"ADD_SERVICE", "10000 DEBUG void ServicesAgent::OnCmdAddService" + command},
      {"EDIT_SERVICE guest_service='<guest_service id=\"77\"",
       editing + "40000 ERROR void ServicesAgent::OnCmdEditService" + command},
      {"EDIT_SERVICE guest_service", editing},
      {"REORDER_SERVICES order=5,4,1,3,2", ""},
      {"REORDER_SERVICES", "40000 ERROR void ServicesAgent::OnCmdReorderServices" + command},
      {"SEND_REQUEST_EVENT id=2", "20000 INFO void ServicesAgent::OnCmdSendRequestEvent" + command},
      {"SEND_CANCEL_EVENT id=1", "20000 INFO void ServicesAgent::OnCmdSendCancelEvent" + command},
      {"REMOVE_SERVICE", removal + removal},
      {"item 42 removed", removal + removal},
      {"sweep", "10000 DEBUG " + expiry + "20000 INFO " + expiry + "20000 INFO " + expiry},
      {"another event",
       "10000 DEBUG virtual void ServicesAgent::OnSystemEvent(const qx::response::IResponse&, "
       "const qx::SystemEventData*)\n"},
      {"", ""},  // any other act
  };
  const host::PluginLibrary plugin(PLUGIN_PATH);
  for (const Act& act : GetActs()) {
    World world(plugin, act.stage);
    std::string records;
    world.onHostCall = [&](const host::HostCall& call) {
      const auto* const log = std::get_if<host::Log>(&call);
      if (log == nullptr) return;
      const qx::LogRecord& record = log->record;
      records +=
          std::to_string(record.level) + ' ' + record.levelName + ' ' + record.function + '\n';
      EXPECT_EQ(record.file, "ServicesAgent");
      EXPECT_GT(record.line, 0);
    };
    act.run(world);
    for (const auto& [name, expected] : cases) {
      if (act.name.rfind(name, 0) != 0) continue;
      EXPECT_EQ(records, expected) << act.name;
      break;
    }
  }
}

}  // namespace
}  // namespace test

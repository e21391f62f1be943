// What scenarios do not show: the plug-in's two functions, its creation, and the details of calls.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>
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

/// Knows one host, or none.
class HostRegistry : public IInstanceManager {
 public:
  explicit HostRegistry(qx::IHost* host) : host_(host) {}

  int GetInterface(const char*, void** instance) override {
    if (host_ == nullptr) return -1;
    *instance = host_;
    return 0;
  }
  void RegisterInterface(const char*, void*) override {}
  void UnregisterInterface(const char*) override {}

 private:
  qx::IHost* host_;
};

TEST(Agent, IsADriverOfType3AndMultiplicity0) {
  const Harness harness(kStart, "OFF");
  HostRegistry registry(qx::GetCurrentHost());
  const auto agent = GetPlugin().CreateAgent(registry);
  const auto& driver = dynamic_cast<const QxBaseDriver&>(*agent);
  EXPECT_EQ(driver.GetDriverType(), QxDriverType{3});
  EXPECT_EQ(driver.GetMultiplicity(), DriverMultiplicity{0});
}

TEST(Agent, CannotBeCreatedWithoutAHost) {
  HostRegistry registry(nullptr);
  try {
    GetPlugin().CreateAgent(registry);
    FAIL() << "there is an agent";
  } catch (const host::PluginError& error) {
    EXPECT_STREQ(error.what(), PLUGIN_PATH
                 ": the agent's construction failed: the instance manager knows no host");
  }
}

/// What the transcript does not show of a call.
std::string DescribeDetails(const host::HostCall& call) {
  if (const auto* const bound = std::get_if<host::Bound>(&call)) {
    return "bound call of kind " + std::to_string(bound->message.GetKind());
  }
  if (const auto* const killed = std::get_if<host::TimerKilled>(&call)) {
    return killed->clear ? "timer killed, id cleared" : "timer killed";
  }
  if (const auto* const log = std::get_if<host::Log>(&call)) {
    const qx::LogRecord& record = log->record;
    EXPECT_GT(record.line, 0) << record.text;
    const std::string function = record.function.substr(0, record.function.find("::") + 2);
    return std::to_string(record.level) + ' ' + record.levelName + ' ' + record.file + ", " +
           function;
  }
  return "";
}

TEST(Agent, PassesTheSameDetailsInEveryCall) {
  std::set<std::string> details;
  for (const Act& act : GetActs()) {
    World world(act.stage);
    world.onHostCall = [&](const host::HostCall& call) { details.insert(DescribeDetails(call)); };
    act.run(world);
    world.Stop();
  }
  EXPECT_EQ(details, (std::set<std::string>{
                         "", "10000 DEBUG ServicesAgent, virtual void ServicesAgent::",
                         "10000 DEBUG ServicesAgent, void ServicesAgent::",
                         "20000 INFO ServicesAgent, virtual void ServicesAgent::",
                         "20000 INFO ServicesAgent, void ServicesAgent::",
                         "40000 ERROR ServicesAgent, void ServicesAgent::", "bound call of kind 2",
                         "timer killed, id cleared"}));
}

TEST(Agent, WritesAssertionsWithLineAndStack) {
  World world(Stage::kRunning);
  world.GetHost().SetProgrammingManager(false);
  std::vector<std::string> descriptions;
  world.onHostCall = [&](const host::HostCall& call) {
    const auto* const assertion = std::get_if<host::Assertion>(&call);
    if (assertion != nullptr) descriptions.push_back(host::DescribeAssertion(*assertion));
  };
  world.Run("REMOVE_SERVICE id=2");
  ASSERT_EQ(descriptions.size(), 2U);  // one for each removal of programming
  for (const std::string& description : descriptions) {
    EXPECT_TRUE(
        std::regex_search(description, std::regex("^assertion failed at ServicesAgent:[1-9][0-9]*\n"
                                                  "[^]*\n  .*\\(\\+0x")))
        << description;
  }
}

}  // namespace
}  // namespace test

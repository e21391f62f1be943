// Plug-ins that cannot be loaded, each for another reason.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "host/Host.h"
#include "host/PluginLibrary.h"
#include "host/Session.h"
#include "tests/support/Recorder.h"

namespace {

/// What loading the library and making an agent of it says; "" when both succeed.
std::string Failure(const std::string& path) {
  try {
    const host::PluginLibrary plugin(path);
    host::ManualClock clock(0);
    test::Recorder recorder;
    host::Host host(clock, recorder);
    host.Create(plugin);
  } catch (const host::PluginError& error) {
    return error.what();
  }
  return "";
}

TEST(PluginLibrary, SaysWhichStepOfLoadingFailed) {
  const struct {
    const char* plugin;
    const char* failure;
  } cases[] = {
      {"NO_NAMES", ": exports no GetAgentName"},
      {"NO_FACTORY_FUNCTION", ": exports no GetCreationFunc"},
      {"NULL_FACTORY", ": GetCreationFunc gives no factory"},
      {"THROWING_NAMES", ": GetAgentName or GetCreationFunc failed: no names"},
      {"THROWING_CONSTRUCTOR", ": the agent's construction failed: the agent is out of order"},
      {"THROWING_A_NUMBER", ": the agent's construction failed"},
      {"NO_AGENT", ": the factory gives no agent"},
  };
  for (const auto& [plugin, failure] : cases) {
    const std::string path = std::string(BROKEN_PLUGINS) + "/" + plugin + ".so";
    EXPECT_EQ(Failure(path), path + failure);
  }
  EXPECT_EQ(Failure(PLUGIN_PATH), "");
}

TEST(PluginLibrary, LeavesNothingOfAnAgentThatFailed) {
  const host::PluginLibrary plugin(std::string(BROKEN_PLUGINS) + "/LEAVING_CONSTRUCTOR.so");
  host::ManualClock clock(0);
  test::Recorder recorder;
  host::Host host(clock, recorder);
  EXPECT_THROW(host.Create(plugin), host::PluginError);
  EXPECT_EQ(recorder.lines, "timer-armed 30 2 true\nlistening 11\n");
  EXPECT_EQ(host.DescribeRegistrations(), "");
  host.SendEvent(nullptr);
  clock.Advance(60000);
  EXPECT_FALSE(host.DeliverExpiry());
}

TEST(PluginLibrary, NamesTheFileThatIsNoLibrary) {
  const std::string text = testing::TempDir() + "no-library.so";
  std::ofstream(text) << "This is a text.\n";
  for (const std::string& path : {text, std::string("/no/such/plugin.so"), std::string("libc.so"),
                                  std::string("."), std::string()}) {
    const std::string failure = Failure(path);
    EXPECT_EQ(failure.rfind("cannot load the plug-in: ", 0), 0U) << failure;
    EXPECT_NE(failure.find(path), std::string::npos) << failure;
  }
}

TEST(PluginLibrary, IsToldOfWhenItsAgentLeavesRegistrations) {
  const host::PluginLibrary plugin(std::string(BROKEN_PLUGINS) + "/FAILING_DESTRUCTION.so");
  host::ManualClock clock(0);
  std::string lines;
  host::Session session(plugin, clock, [&](const std::string& line) { lines += line + '\n'; });
  session.Start();
  session.RunStep("restart");
  EXPECT_EQ(lines, "error left registered: binding:7 timers:1\n");
  EXPECT_EQ(session.GetHost().Destroy(), "binding:7 timers:1");
}

}  // namespace

// Plug-ins that leave something behind; ProgramTest.cpp has those that cannot be loaded.
#include <gtest/gtest.h>

#include <string>

#include "host/engine/Clock.h"
#include "host/engine/PluginLibrary.h"
#include "host/session/StepTable.h"

namespace {

TEST(PluginLibrary, MayLeaveNothingBehind) {
  const std::string fails = std::string(BROKEN_PLUGINS) + "/LEAVING_CONSTRUCTOR.so";
  const std::string leaves = std::string(BROKEN_PLUGINS) + "/FAILING_DESTRUCTION.so";
  const std::string made =
      "timer-armed 30 2 true\nbinding-added 7 1 true \"\" \"\" false true null\n"
      "binding-added 8 1 true \"\" \"\" false true null\n";
  const struct {
    std::string plugin, lines, left;
  } cases[] = {
      {fails,
       "timer-armed 30 2 true\nlistening 11\nerror " + fails +
           ": the agent's construction failed: the agent gives up\nerror there is no agent\n",
       ""},
      {leaves, made + "binding-removed 8\nerror left registered: binding:7\n" + made,
       "binding:7 timers:1"},
  };
  for (const auto& c : cases) {
    const host::PluginLibrary plugin(c.plugin);
    host::ManualClock clock(0);
    std::string lines;
    host::Session session(plugin, clock, [&](const std::string& line) { lines += line + '\n'; });
    session.SetVerbose(true);
    session.Start();
    // A destroyed agent is not called.
    for (const char* const step : {"advance 1m", "event none", "restart"})
      host::RunScenarioLine(session, step);
    EXPECT_EQ(lines, c.lines);
    EXPECT_EQ(session.GetHost().Destroy(), c.left);
  }
}

}  // namespace

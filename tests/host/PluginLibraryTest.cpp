// Plug-ins that leave something behind; ProgramTest.cpp has those that cannot be loaded.
#include <gtest/gtest.h>

#include <string>

#include "host/Host.h"
#include "host/PluginLibrary.h"
#include "host/Session.h"
#include "tests/support/Recorder.h"

namespace {

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

// What the agent registers and withdraws, in which order, and what is left when that fails.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/Host.h"
#include "tests/support/ElfSymbols.h"
#include "tests/support/Player.h"
#include "tests/support/Recorder.h"

namespace {

constexpr const char* kCreated =
    "interface-registered E3D838E8-07BB-4251-9201-18A186DDFBDA\n"
    "listening 11\n";
constexpr const char* kInitialized =
    "binding-added 100 1 true \"GS_AGENT\" \"GUEST_SERVICES\" false true null\n";
constexpr const char* kLateInitialized = "timer-armed 30 2 true\n";
constexpr const char* kDestroyed =
    "listening-ended 11\n"
    "interface-withdrawn E3D838E8-07BB-4251-9201-18A186DDFBDA\n"
    "binding-removed 100\n";
constexpr const char* kTimerKilled = "timer-killed\n";

TEST(Agent, WithdrawsWhatItRegistered) {
  for (const bool isInitialized : {false, true}) {
    for (const bool isLateInitialized : {false, true}) {
      host::ManualClock clock(0);
      test::Recorder recorder;
      host::Host host(clock, recorder);
      host.Create(test::GetPlugin());
      std::string expected = kCreated;
      if (isInitialized) {
        host.Initialize({});
        expected += kInitialized;
      }
      if (isLateInitialized) {
        host.LateInitialize();
        expected += kLateInitialized;
      }
      EXPECT_EQ(host.Destroy(), "");
      EXPECT_EQ(recorder.lines, expected + kDestroyed + (isLateInitialized ? kTimerKilled : ""));
    }
  }
}

TEST(Agent, LeavesNothingBehindWhenItsConstructionFails) {
  // What fails is the look-up of the host, the identity, the listener.
  const std::string identity = "E3D838E8-07BB-4251-9201-18A186DDFBDA\n";
  const std::vector<std::string> lines = {
      "", "interface-registered " + identity,
      std::string(kCreated) + "interface-withdrawn " + identity};
  std::size_t failures = 0;
  for (;; ++failures) {
    host::ManualClock clock(0);
    test::Recorder recorder;
    host::Host host(clock, recorder);
    recorder.callsToFailure = static_cast<int>(failures);
    try {
      host.Create(test::GetPlugin());
      break;
    } catch (const host::PluginError& error) {
      EXPECT_EQ(error.what(),
                std::string(PLUGIN_PATH) + ": the agent's construction failed: injected");
    }
    EXPECT_FALSE(host.HasAgent());
    ASSERT_LT(failures, lines.size());
    EXPECT_EQ(recorder.lines, lines[failures]);
    // The host can go on, and the next agent is like the first.
    recorder.lines.clear();
    host.Create(test::GetPlugin());
    EXPECT_EQ(recorder.lines, kCreated);
  }
  EXPECT_EQ(failures, lines.size());
}

TEST(Agent, GoesOnWithItsDestructionWhenAStepFails) {
  for (int failing = 0; failing < 4; ++failing) {
    host::ManualClock clock(0);
    test::Recorder recorder;
    host::Host host(clock, recorder);
    host.Create(test::GetPlugin());
    host.LateInitialize();
    recorder.lines.clear();
    recorder.callsToFailure = failing;
    EXPECT_NO_THROW(host.Destroy());
    EXPECT_EQ(recorder.lines, std::string(kDestroyed) + kTimerKilled);
  }
}

TEST(Agent, WorksOnAnEmptyListBeforeItIsInitialized) {
  host::ManualClock clock(0);
  test::Recorder recorder;
  host::Host host(clock, recorder);
  host.Create(test::GetPlugin());
  const qx::SystemEventData4<unsigned int, unsigned int, ItemType, unsigned int> removed(
      static_cast<qx::SystemEventData::Code>(11), 1, 0, ItemType{7}, 0);
  host.SendEvent(&removed);
  EXPECT_EQ(host.Persist()->OuterXml(), "<guest_services/>");
  EXPECT_EQ(recorder.lines, kCreated);
}

TEST(Plugin, ExportsItsTwoFunctionsAndNothingElse) {
  EXPECT_EQ(test::GetDefinedSymbols(PLUGIN_PATH),
            (std::vector<std::string>{"GetAgentName", "GetCreationFunc"}));
}

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

}  // namespace

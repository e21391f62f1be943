// Each host call in turn throws, and each allocation in turn fails, in every act of an agent's
// life. docs/guarantees.md says what must hold then.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <stdexcept>

#include "host/session/Transcript.h"
#include "tests/support/Acts.h"
#include "tests/support/FailingMemory.h"

namespace test {
namespace {

enum class Failure { kHostCall, kOneAllocation, kAllAllocations };

constexpr long kNever = -1;
const std::string kIdentity = "E3D838E8-07BB-4251-9201-18A186DDFBDA";

using Calls = std::vector<std::string>;  // a line each; "" for a look-up of an interface

/// Keeps the calls that the agent makes from now on, and has the host throw inside the n-th of
/// them, counted from 0. `calls` must outlive the world, or its `onHostCall`.
void FailHostCall(World& world, long n, Calls& calls) {
  calls.clear();
  world.onHostCall = [&calls, n](const host::HostCall& call) mutable {
    calls.push_back(host::FormatLine(call));
    if (n-- == 0) throw std::runtime_error("injected");
  };
}

/// Does the act; its n-th step fails, counted from 0. Returns whether it had so many.
bool RunWithFailure(World& world, const Act& act, Failure failure, long n) {
  const bool isHostCall = failure == Failure::kHostCall;
  Calls calls;
  std::string caught;
  try {
    std::optional<FailingMemory> memory;
    if (isHostCall) {
      FailHostCall(world, n, calls);
    } else {
      memory.emplace(n, failure == Failure::kAllAllocations);
    }
    act.run(world);
  } catch (const std::exception& error) {  // memory is back by then
    caught = error.what();
  }
  world.onHostCall = nullptr;
  // Before the reason, the host says which creation failed.
  if (act.stage == Stage::kNone) caught.erase(0, caught.rfind(' ') + 1);
  const bool hasFailed =
      isHostCall ? n < static_cast<long>(calls.size()) : FailingMemory::HasFailed();
  EXPECT_EQ(caught, !hasFailed ? "" : isHostCall ? "injected" : "std::bad_alloc");
  return hasFailed;
}

/// Expects the list as it was or as it should have become; of an act that goes entry by entry, the
/// first ones as they should have become and the rest as they were.
void ExpectWhole(const Entries& entries, const Entries& before, const Entries& after,
                 bool isPiecewise) {
  if (entries == before || entries == after) return;
  Entries mixed = before;
  for (std::size_t done = 0; isPiecewise && done < after.size(); ++done) {
    mixed.resize(std::max(mixed.size(), done + 1));
    mixed[done] = after[done];
    if (entries == mixed) return;
  }
  ADD_FAILURE() << "the list is half changed: " << testing::PrintToString(entries);
}

void ExpectTimerArmed(World& world) {
  if (!world.GetHost().GetNextDue()) {
    EXPECT_TRUE(world.WasLastCallToArm()) << "the timer was not armed";
    world.GetHost().LateInitialize();
  }
  EXPECT_NE(world.GetHost().DescribeRegistrations().find("timers:1"), std::string::npos);
}

void ExpectRecovery(World& world, const Act& act, const Entries& after) {
  if (act.stage == Stage::kRunning) {
    ExpectTimerArmed(world);
    ExpectUsable(world);
    if (!act.Adds()) {
      act.run(world);
      EXPECT_EQ(world.GetEntries(), after) << "after another try";
    }
  }
  EXPECT_EQ(world.Stop(), "") << "left registered";
  world.GetHost().SetProgrammingManager(true);
  world.Start(Stage::kRunning);
  EXPECT_EQ(world.GetEntries().size(), 5U) << "after a new start";
  ExpectUsable(world);
}

void TryEveryFailure(Failure failure) {
  for (const Act& act : GetActs()) {
    Entries before;
    Entries after;
    {
      World world(act.stage);
      before = world.GetEntries();
      act.run(world);
      after = world.GetEntries();
      ExpectRecovery(world, act, after);  // what is set up once in a process is there from here on
    }
    bool hasFailed = true;
    for (long n = 0; hasFailed; ++n) {
      SCOPED_TRACE(act.name + ", failure " + std::to_string(n));
      const long blocksBefore = CountLiveBlocks();
      {
        World world(act.stage);
        hasFailed = RunWithFailure(world, act, failure, n);
        ExpectWhole(world.GetEntries(), before, after, act.isPiecewise);
        ExpectRecovery(world, act, after);
      }
      EXPECT_EQ(CountLiveBlocks(), blocksBefore) << "memory was lost";
      if (testing::Test::HasFailure()) return;
    }
  }
}

TEST(Failure, OfEachHostCallLeavesTheAgentWhole) { TryEveryFailure(Failure::kHostCall); }

TEST(Failure, OfEachAllocationLeavesTheAgentWhole) { TryEveryFailure(Failure::kOneAllocation); }

TEST(Failure, OfAllAllocationsFromEachOnLeavesTheAgentWhole) {
  TryEveryFailure(Failure::kAllAllocations);
}

TEST(Failure, OfAHostCallFindsTheListAsTheOrderOfThingsHasIt) {
  // By the host call that fails: the list is as before, or as after.
  const std::pair<const char*, std::string> cases[] = {
      {"ADD_SERVICE name=Probe", "--+"},
      {"EDIT_SERVICE guest_service='<guest_service id=\"1\"/>'", "-++"},
      {"REMOVE_SERVICE id=2", "--------+++"},
      {"REORDER_SERVICES order=5,4,1,3,2", "+"},
      {"SEND_REQUEST_EVENT id=2 operarequest=CODE", "--++++"},
      {"SEND_CANCEL_EVENT id=1", "--++"},
  };
  for (const auto& [step, expected] : cases) {
    std::string found;
    Calls calls;
    for (long n = 0; n == static_cast<long>(found.size()); ++n) {
      World world(Stage::kRunning);
      const Entries before = world.GetEntries();
      FailHostCall(world, n, calls);
      try {
        world.Run(step);
      } catch (const std::runtime_error&) {
        world.onHostCall = nullptr;
        found += world.GetEntries() == before ? '-' : '+';
      }
    }
    EXPECT_EQ(found, expected) << step;
  }
}

TEST(Failure, OfTheCreationIsFollowedByItsWithdrawal) {
  const Calls created = {"", "interface-registered " + kIdentity, "listening 11"};
  Calls calls;
  World world(Stage::kNone);
  for (std::size_t failing = 0; failing < created.size(); ++failing) {
    Calls expected(created.begin(), created.begin() + static_cast<long>(failing) + 1);
    if (failing == 2) expected.push_back("interface-withdrawn " + kIdentity);
    FailHostCall(world, static_cast<long>(failing), calls);
    EXPECT_THROW(world.Start(Stage::kCreated), host::PluginError);
    EXPECT_EQ(calls, expected);
    EXPECT_FALSE(world.GetHost().HasAgent());
  }
  // The host can go on, and the next agent is like any.
  FailHostCall(world, kNever, calls);
  world.Start(Stage::kCreated);
  EXPECT_EQ(calls, created);
  EXPECT_EQ(world.GetEntries(), Entries());
}

TEST(Failure, OfAStepOfTheDestructionIsFollowedByTheOthers) {
  for (const bool isRunning : {false, true}) {
    Calls expected = {"listening-ended 11", "interface-withdrawn " + kIdentity,
                      "binding-removed 100"};
    if (isRunning) expected.emplace_back("timer-killed");
    for (long failing = kNever; failing < static_cast<long>(expected.size()); ++failing) {
      Calls calls;
      World world(isRunning ? Stage::kRunning : Stage::kCreated);
      FailHostCall(world, failing, calls);
      world.Stop();
      EXPECT_EQ(calls, expected);
    }
  }
}

TEST(Failure, OfTheArmingLeavesNoTimerToKill) {
  Calls calls;
  World world(Stage::kRunning);
  world.onHostCall = [](const host::HostCall& call) {
    if (std::holds_alternative<host::TimerArmed>(call)) throw std::runtime_error("injected");
  };
  EXPECT_THROW(world.Sweep(), std::runtime_error);
  FailHostCall(world, kNever, calls);
  EXPECT_EQ(world.Stop(), "");
  EXPECT_EQ(calls.size(), 3U) << "listener, identity, binding";
}

TEST(Failure, OfMemoryDoesNotReachTheDestruction) {
  World world(Stage::kRunning);
  const FailingMemory memory(0, true);
  EXPECT_EQ(world.Stop(), "");
  EXPECT_FALSE(FailingMemory::HasFailed());
}

}  // namespace
}  // namespace test

// Each host call in turn throws, and each allocation in turn fails, in every act of an agent's
// life. docs/guarantees.md says what must hold then.
#include <gtest/gtest.h>

#include <new>
#include <optional>

#include "tests/torture/FailingMemory.h"
#include "tests/torture/World.h"

namespace test {
namespace {

enum class Failure { kHostCall, kOneAllocation, kAllAllocations };

struct HostCallFailed : std::runtime_error {
  HostCallFailed() : std::runtime_error("the host has failed") {}
};

/// Does the act; its n-th step fails, counted from 0. Returns whether it had so many.
bool RunWithFailure(World& world, const Act& act, Failure failure, long n) {
  std::optional<FailingMemory> memory;
  bool hasFailed = false;
  if (failure == Failure::kHostCall) {
    world.onHostCall = [&, n]() mutable {
      if (n-- != 0) return;
      hasFailed = true;
      throw HostCallFailed();
    };
  } else {
    memory.emplace(n, failure == Failure::kAllAllocations);
  }
  std::string caught = "nothing";
  try {
    act.run(world);
  } catch (const HostCallFailed&) {
    caught = "HostCallFailed";
  } catch (const std::bad_alloc&) {
    caught = "bad_alloc";
  } catch (const host::PluginError&) {
    caught = "PluginError";
  }
  if (memory) hasFailed = memory->HasFailed();
  memory.reset();
  world.onHostCall = nullptr;
  const bool isCreation = act.stage == Stage::kNone;
  const char* const expected = !hasFailed                       ? "nothing"
                               : isCreation && caught[0] == 'P' ? "PluginError"
                               : failure == Failure::kHostCall  ? "HostCallFailed"
                                                                : "bad_alloc";
  EXPECT_EQ(caught, expected);
  return hasFailed;
}

/// Expects the list as it was or as it should have become; of an act that goes entry by entry, the
/// first ones as they should have become and the rest as they were.
void ExpectWhole(const Entries& entries, const Entries& before, const Entries& after,
                 bool isPiecewise) {
  if (entries == before || entries == after) return;
  Entries mixed = before;
  for (std::size_t done = 0; isPiecewise && done < after.size(); ++done) {
    if (done < mixed.size())
      mixed[done] = after[done];
    else
      mixed.push_back(after[done]);
    if (entries == mixed) return;
  }
  ADD_FAILURE() << "the list is half changed: " << testing::PrintToString(entries);
}

void ExpectTimerArmed(World& world) {
  if (!world.GetHost().GetNextDue()) {
    EXPECT_TRUE(world.WasLastCallToArm()) << "nobody tried to arm the timer";
    world.GetHost().LateInitialize();
  }
  EXPECT_NE(world.GetHost().DescribeRegistrations().find("timers:1"), std::string::npos);
}

void ExpectRecovery(World& world, const Act& act, const Entries& after) {
  if (act.stage == Stage::kRunning) {
    ExpectTimerArmed(world);
    ExpectUsable(world);
    if (!act.adds) {
      act.run(world);
      EXPECT_EQ(world.GetEntries(), after) << "after another try";
    }
  }
  EXPECT_EQ(world.GetHost().Destroy(), "") << "left registered";
  world.GetHost().SetProgrammingManager(true);
  world.Start(Stage::kNone, Stage::kRunning);
  EXPECT_EQ(world.GetEntries().size(), 5U) << "after a new start";
  ExpectUsable(world);
}

void TryEveryFailure(Failure failure) {
  const host::PluginLibrary plugin(PLUGIN_PATH);
  for (const Act& act : GetActs()) {
    Entries before;
    Entries after;
    {
      World world(plugin, act.stage);
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
        World world(plugin, act.stage);
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

TEST(Failure, OfTheArmingLeavesNoTimerToKill) {
  const host::PluginLibrary plugin(PLUGIN_PATH);
  World world(plugin, Stage::kRunning);
  world.onHostCall = [&] {
    if (world.WasLastCallToArm()) throw HostCallFailed();
  };
  EXPECT_THROW(world.Sweep(), HostCallFailed);
  long withdrawals = 0;
  world.onHostCall = [&] { ++withdrawals; };
  EXPECT_EQ(world.GetHost().Destroy(), "");
  EXPECT_EQ(withdrawals, 3) << "listener, identity, binding";
}

TEST(Failure, OfMemoryDoesNotReachTheDestruction) {
  const host::PluginLibrary plugin(PLUGIN_PATH);
  World world(plugin, Stage::kRunning);
  const FailingMemory memory(0, true);
  EXPECT_EQ(world.GetHost().Destroy(), "");
  EXPECT_FALSE(memory.HasFailed());
}

}  // namespace
}  // namespace test

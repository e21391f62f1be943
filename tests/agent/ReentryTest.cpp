// A host that calls the agent back from inside each call that the agent makes of it.
// docs/guarantees.md says what must hold then.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "tests/support/Acts.h"

namespace test {
namespace {

/// What can be told of a world once all is done: the list, the events that were fired, what the
/// devices know of.
std::string GetOutcome(World& world, bool inAnyOrder) {
  world.Sweep();  // what a sweep passed over because the list changed lapses in the next
  Entries entries = world.GetEntries();
  if (inAnyOrder) std::sort(entries.begin(), entries.end());
  return testing::PrintToString(
      std::tuple(entries, world.TakeFiredEvents(), world.GetKnownToDevices()));
}

std::string RunOneAfterTheOther(const Act& first, const Act& second) {
  World world(std::min(first.stage, second.stage));
  first.run(world);
  second.run(world);
  return GetOutcome(world, first.Adds() && second.Adds());
}

/// Runs `inner` from inside the n-th host call of `outer`, counted from 0. Expects the outcome of
/// running them one after the other. Returns whether there were so many calls.
bool TryInside(const Act& outer, const Act& inner, long n,
               const std::vector<std::string>& expected) {
  World world(outer.stage);
  bool hasRun = false;
  world.onHostCall = [&](const host::HostCall&) {
    if (n-- != 0) return;
    hasRun = true;
    inner.run(world);
  };
  outer.run(world);
  world.onHostCall = nullptr;
  if (!hasRun) return false;
  const std::string outcome = GetOutcome(world, outer.Adds() && inner.Adds());
  EXPECT_NE(std::count(expected.begin(), expected.end(), outcome), 0)
      << outcome << "\nis none of\n"
      << testing::PrintToString(expected);
  ExpectUsable(world);
  EXPECT_EQ(world.Stop(), "");
  return true;
}

TEST(Reentry, InsideAnyHostCallComesToOneAfterTheOther) {
  for (const Act& outer : GetActs()) {
    for (const Act& inner : GetActs()) {
      // The list must be there; `LateInitialize` may be under way.
      if (inner.stage != Stage::kRunning || outer.stage < Stage::kInitialized) continue;
      const std::vector<std::string> expected = {RunOneAfterTheOther(outer, inner),
                                                 RunOneAfterTheOther(inner, outer)};
      bool hasRun = true;
      for (long n = 0; hasRun; ++n) {
        SCOPED_TRACE(inner.name + " inside host call " + std::to_string(n) + " of " + outer.name);
        hasRun = TryInside(outer, inner, n, expected);
        if (testing::Test::HasFailure()) return;
      }
    }
  }
}

TEST(Reentry, InsideEveryHostCallLeavesTheListWhole) {
  for (const Act& outer : GetActs()) {
    for (const Act& inner : GetActs()) {
      // An agent that is not initialized yet gives out ids that its state may hold.
      if (inner.stage != Stage::kRunning || (outer.stage < Stage::kInitialized && inner.Adds())) {
        continue;
      }
      SCOPED_TRACE(inner.name + " inside every host call of " + outer.name);
      World world(outer.stage);
      world.onHostCall = [&](const host::HostCall&) {
        if (world.GetHost().HasAgent()) inner.run(world);
      };
      outer.run(world);
      world.onHostCall = nullptr;
      world.Start(Stage::kRunning);
      ExpectUsable(world);
      EXPECT_EQ(world.Stop(), "");
      if (testing::Test::HasFailure()) return;
    }
  }
}

}  // namespace
}  // namespace test

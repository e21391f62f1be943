// A host that calls the agent back from inside each call that the agent makes of it.
// docs/guarantees.md says what must hold then.
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "tests/torture/World.h"

namespace test {
namespace {

/// What can be told of a world once all is done.
struct Outcome {
  Entries entries;
  std::vector<unsigned int> firedEvents;
  std::set<unsigned int> knownToDevices;

  bool operator==(const Outcome& other) const {
    return entries == other.entries && firedEvents == other.firedEvents &&
           knownToDevices == other.knownToDevices;
  }
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << testing::PrintToString(outcome.entries) << " fired "
             << testing::PrintToString(outcome.firedEvents) << " known to devices "
             << testing::PrintToString(outcome.knownToDevices);
}

Outcome GetOutcome(World& world, bool inAnyOrder) {
  world.Sweep();  // what a sweep passed over because the list changed lapses in the next
  Outcome outcome{world.GetEntries(), world.GetFiredEvents(), world.GetKnownToDevices()};
  if (inAnyOrder) std::sort(outcome.entries.begin(), outcome.entries.end());
  return outcome;
}

Outcome RunOneAfterTheOther(const host::PluginLibrary& plugin, const Act& first,
                            const Act& second) {
  World world(plugin, std::min(first.stage, second.stage));
  first.run(world);
  second.run(world);
  return GetOutcome(world, first.adds && second.adds);
}

/// Runs `inner` from inside the n-th host call of `outer`, counted from 0. Expects the outcome of
/// running them one after the other. Returns whether there were so many calls.
bool TryInside(const host::PluginLibrary& plugin, const Act& outer, const Act& inner, long n,
               const std::vector<Outcome>& expected) {
  World world(plugin, outer.stage);
  bool hasRun = false;
  world.onHostCall = [&] {
    if (n-- != 0) return;
    hasRun = true;
    inner.run(world);
  };
  outer.run(world);
  world.onHostCall = nullptr;
  if (!hasRun) return false;
  const Outcome outcome = GetOutcome(world, outer.adds && inner.adds);
  EXPECT_TRUE(std::find(expected.begin(), expected.end(), outcome) != expected.end())
      << outcome << "\nis neither\n"
      << expected[0] << "\nnor\n"
      << expected[1];
  ExpectUsable(world);
  EXPECT_EQ(world.GetHost().Destroy(), "");
  return true;
}

/// All acts on a running agent; `LateInitialize` too, which is the last step to it.
std::vector<Act> GetOuterActs() {
  std::vector<Act> acts = GetActs();
  acts.erase(std::remove_if(acts.begin(), acts.end(),
                            [](const Act& act) { return act.stage < Stage::kInitialized; }),
             acts.end());
  return acts;
}

TEST(Reentry, InsideAnyHostCallComesToOneAfterTheOther) {
  const host::PluginLibrary plugin(PLUGIN_PATH);
  for (const Act& outer : GetOuterActs()) {
    for (const Act& inner : GetActs()) {
      if (inner.stage != Stage::kRunning) continue;
      const std::vector<Outcome> expected = {RunOneAfterTheOther(plugin, outer, inner),
                                             RunOneAfterTheOther(plugin, inner, outer)};
      bool hasRun = true;
      for (long n = 0; hasRun; ++n) {
        SCOPED_TRACE(inner.name + " inside host call " + std::to_string(n) + " of " + outer.name);
        hasRun = TryInside(plugin, outer, inner, n, expected);
        if (testing::Test::HasFailure()) return;
      }
    }
  }
}

TEST(Reentry, InsideEveryHostCallLeavesTheListWhole) {
  const host::PluginLibrary plugin(PLUGIN_PATH);
  for (const Act& outer : GetActs()) {
    for (const Act& inner : GetActs()) {
      // An agent that is not initialized yet gives out ids that its state may hold.
      if (inner.stage != Stage::kRunning || (outer.stage < Stage::kInitialized && inner.adds)) {
        continue;
      }
      SCOPED_TRACE(inner.name + " inside every host call of " + outer.name);
      World world(plugin, outer.stage);
      world.onHostCall = [&] {
        if (world.GetHost().HasAgent()) inner.run(world);
      };
      outer.run(world);
      world.onHostCall = nullptr;
      const int reached =
          std::min(static_cast<int>(outer.stage) + 1, static_cast<int>(Stage::kRunning));
      world.Start(static_cast<Stage>(reached), Stage::kRunning);
      ExpectUsable(world);
      EXPECT_EQ(world.GetHost().Destroy(), "");
      if (testing::Test::HasFailure()) return;
    }
  }
}

}  // namespace
}  // namespace test

// A simulation that never finds anything proves nothing: here the model is wrong, on purpose.
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "host/PluginLibrary.h"
#include "host/Replay.h"
#include "host/Scenario.h"
#include "tests/simulator/Simulation.h"

namespace simulator {
namespace {

class LapsesASecondLate : public Model {
  bool HasRunOut(const Service& service) const override {
    Service later = service;
    ++later.requestTime[5];
    return Model::HasRunOut(later);
  }
};

class CountsToTheNextId : public Model {
  std::uint32_t NextId() const override {
    return static_cast<std::uint32_t>(GetServices().size()) + 1;
  }
};

class ForgetsWhenARequestWasMade : public Model {
  void Cancel(Service& service) const override {
    service.state = 0;
    service.requestTime = Service().requestTime;
  }
};

template <typename SomeModel>
std::unique_ptr<Model> Make() {
  return std::make_unique<SomeModel>();
}

const host::PluginLibrary& GetPlugin() {
  static const host::PluginLibrary plugin(PLUGIN_PATH);
  return plugin;
}

std::optional<Stream> FindDifference(Simulation& simulation) {
  std::optional<Stream> found;
  for (std::uint64_t seed = 1; seed <= 100 && !found; ++seed) found = simulation.Run(seed, 200);
  return found;
}

bool ReplaysAsItSays(const std::string& text) {
  const auto scenario = host::Scenario::Parse(text, "scenario");
  const auto replayed = host::ReplayScenario(GetPlugin(), scenario, false, nullptr);
  return scenario.GetLines() == replayed.GetLines();
}

TEST(Simulation, FindsAWrongRuleAndShrinksTheStreamToWhatShowsIt) {
  const struct {
    const char* rule;
    Simulation::MakeModel makeModel;
    std::size_t mostSteps;
  } cases[] = {
      {"lapse", &Make<LapsesASecondLate>, 5},            // add, request, sweeps at that second
      {"next id", &Make<CountsToTheNextId>, 4},          // add, add, remove the first, add
      {"cancel", &Make<ForgetsWhenARequestWasMade>, 4},  // add, request, cancel, a look at it
  };
  for (const auto& [rule, makeModel, mostSteps] : cases) {
    SCOPED_TRACE(rule);
    Simulation simulation(GetPlugin(), makeModel);
    const auto found = FindDifference(simulation);
    ASSERT_TRUE(found);
    const Stream stream = simulation.Shrink(*found);
    const std::string scenario = simulation.ToScenario(stream, "A difference.");
    EXPECT_LE(stream.size(), mostSteps) << scenario;
    EXPECT_FALSE(ReplaysAsItSays(scenario)) << scenario;
    const std::string asDocumented = Simulation(GetPlugin()).ToScenario(stream, "None.");
    EXPECT_TRUE(ReplaysAsItSays(asDocumented)) << asDocumented;
  }
}

}  // namespace
}  // namespace simulator

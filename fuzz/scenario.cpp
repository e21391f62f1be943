// Any text as a scenario file: it is refused, or it is read without loss, and what a replay makes
// of it is a scenario that replays as it says. Its steps pass the checks of `CheckedSession`.
#include "host/session/Scenario.h"

#include <cstdint>
#include <stdexcept>
#include <string>

#include "fuzz/Support.h"
#include "host/session/Replay.h"
#include "host/session/Step.h"
#include "tests/support/Plugin.h"

namespace {

constexpr std::int64_t kMostMilliseconds = std::int64_t{12} * 3600 * 1000;

/// Whether the scenario's virtual time is short: every expiry on the way costs a little.
bool IsShort(const host::Scenario& scenario) {
  std::int64_t time = 0;
  for (const auto& block : scenario.GetBlocks()) {
    try {
      const host::Step step = host::ParseStep(block.step);
      const bool takesTime = step.name == "advance" && step.words.size() == 1;
      if (takesTime) time += host::ParseDuration(step.words[0].value);
    } catch (const host::StepError&) {  // takes none
    }
  }
  return time <= kMostMilliseconds;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  host::Scenario scenario;
  try {
    scenario = host::Scenario::Parse(text, "file");
  } catch (const std::runtime_error&) {  // not a scenario
    return 0;
  }
  fuzz::Require(scenario.GetText() == text, "not read as it was written");
  if (!IsShort(scenario)) return 0;

  fuzz::CheckedSession session;
  for (const auto& block : scenario.GetBlocks()) {
    if (!block.step.empty()) session.Run(block.step);
  }
  session.Run("restart");

  const host::Scenario replayed = host::ReplayScenario(test::GetPlugin(), scenario, false, nullptr);
  const host::Scenario read = host::Scenario::Parse(replayed.GetText(), "file");
  const host::Scenario again = host::ReplayScenario(test::GetPlugin(), read, false, nullptr);
  fuzz::Require(again.GetText() == replayed.GetText(),
                "replayed " + replayed.GetText() + ", then " + again.GetText());
  return 0;
}

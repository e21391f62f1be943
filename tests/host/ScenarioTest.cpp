#include <gtest/gtest.h>

#include "host/Replay.h"
#include "host/Scenario.h"
#include "tests/support/Plugin.h"

namespace {

std::string Join(const host::Scenario& scenario) {
  std::string text;
  for (const std::string& line : scenario.GetLines()) text += line + '\n';
  return text;
}

TEST(Scenario, ReplayPutsWhatHappenedInPlaceOfWhatWasExpected) {
  const struct {
    const char* before;
    const char* after;
  } cases[] = {
      {"", ""},
      {"# only a comment\n\n", "# only a comment\n\n"},
      {"> persist\n", "> persist\nanswer <guest_services/>\n"},
      {"> persist\n# why\nwrong\n\n# next\n> persist\nanswer <guest_services/>\n",
       "> persist\n# why\nanswer <guest_services/>\n\n# next\n> persist\nanswer "
       "<guest_services/>\n"},
      {"> persist\n\n# next\n> clock 2024-03-01T10:00:00\nwrong\n",
       "> persist\nanswer <guest_services/>\n\n# next\n> clock 2024-03-01T10:00:00\n"},
      {"too early\n> loglevel INFO\n", "> loglevel INFO\n"},
  };
  for (const auto& [before, after] : cases) {
    const auto scenario = host::Scenario::Parse(before, "file");
    EXPECT_EQ(Join(host::ReplayScenario(test::GetPlugin(), scenario, false, nullptr)), after)
        << before;
  }
}

}  // namespace

// How steps are written, where they are right; scenarios/step-errors.txt has the others.
#include <gtest/gtest.h>

#include <string>

#include "host/Step.h"
#include "host/Transcript.h"

namespace {

/// The step's words, one in each pair of brackets, with what was quoted in quotes.
std::string Show(const std::string& line) {
  const host::Step step = host::ParseStep(line);
  std::string text = step.name;
  for (const host::StepWord& word : step.words) {
    text += " [" + word.key + '|' + (word.isQuoted ? host::Quote(word.value) : word.value) + ']';
  }
  return text;
}

TEST(Step, IsANameAndWords) {
  const struct {
    const char* line;
    const char* words;
  } cases[] = {{"persist", "persist"},
               {" \tpersist\t ", "persist"},
               {"a=b", "a=b"},
               {"ui GET id=1", "ui [|GET] [id|1]"},
               {"N a= b", "N [a|] [|b]"},
               {"N a='' b=\"\"", "N [a|\"\"] [b|\"\"]"},
               {"N a='\"\\n\\'", R"(N [a|"\"\\n\\"])"},
               {"N a=\"\\\"\\\\\\n\\t\\x00\\xfF\"", R"(N [a|"\"\\\n\t\x00\xFF"])"},
               {"N a=b=c d=e'f g=h\"i", "N [a|b=c] [d|e'f] [g|h\"i]"},
               {"N 'a=b' \"c d\"", "N [|\"a=b\"] [|\"c d\"]"},
               {"N \u00FC=\u00E9", "N [\u00FC|\u00E9]"}};
  for (const auto& [line, words] : cases) EXPECT_EQ(Show(line), words) << line;
  EXPECT_THROW(host::ParseStep(" "), host::StepError);
}

TEST(Step, HasDurationsAndTimes) {
  const struct {
    const char* text;
    std::int64_t seconds;
  } durations[] = {{"0s", 0},
                   {"90s", 90},
                   {"15m", 900},
                   {"14m30s", 870},
                   {"2h", 7200},
                   {"1h1m1s", 3661},
                   {"876600h", 3155760000},
                   {"1s1h", 3601}};
  for (const auto& [text, seconds] : durations) {
    EXPECT_EQ(host::ParseDuration(text), seconds * 1000) << text;
  }
  for (const char* const text : {"", "s", "1", "1.5m", "1m ", " 1m", "+1m", "1M", "4294967296s"}) {
    EXPECT_THROW(host::ParseDuration(text), host::StepError) << text;
  }
  EXPECT_EQ(host::ParseTime("2024-02-29T23:59:59"), 1709251199000);
  EXPECT_EQ(host::ParseTime("0001-01-01T00:00:00"), -62135596800000);
  for (const char* const text :
       {"", "2024-02-29 23:59:59", "2024-2-29T23:59:59", "2023-02-29T00:00:00",
        "2024-13-01T00:00:00", "2024-02-29T23:59:60", "2024-02-29T23:59:59Z"}) {
    EXPECT_THROW(host::ParseTime(text), host::StepError) << text;
  }
}

}  // namespace

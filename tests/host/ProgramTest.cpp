// The host as it is started: what it prints, writes and exits with.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/Program.h"

namespace {

using test::ReadFile;
using test::RunHost;
using test::TempPath;
using test::WriteFile;

constexpr const char* kGood = "# As it is.\n> persist\nanswer <guest_services/>\n";
constexpr const char* kBad =
    "> persist\n# why\nanswer <other/>\n> ADD_SERVICE type=shortcut shortcut_id=1\n";

class Replay : public testing::Test {
 protected:
  Replay() {
    WriteFile(good_, kGood);
    WriteFile(bad_, kBad);
  }
  ~Replay() override {
    for (const std::string& path : {good_, bad_, junit_}) remove(path.c_str());
  }

  const std::string good_ = TempPath("good.txt");
  const std::string bad_ = TempPath("bad.txt");
  const std::string junit_ = TempPath("junit.xml");
};

TEST_F(Replay, PrintsTheDifferencesAndTheCounts) {
  const std::string diff =
      "--- " + bad_ + "\n+++ " + bad_ +
      " (replayed)\n"
      "@@ -1,4 +1,5 @@\n"
      " > persist\n"
      " # why\n"
      "-answer <other/>\n"
      "+answer <guest_services/>\n"
      " > ADD_SERVICE type=shortcut shortcut_id=1\n"
      "+push <service_added><shortcut id=\"1\" shortcut_id=\"1\"/></service_added>\n";
  const std::string none = TempPath("none.txt");
  const struct {
    std::string arguments;
    int exitCode;
    std::string output;
  } cases[] = {
      {good_, 0, "1 passed, 0 failed\n"},
      {good_ + ' ' + good_, 0, "2 passed, 0 failed\n"},
      {good_ + ' ' + bad_, 1, diff + "1 passed, 1 failed\n"},
      {none + ' ' + bad_, 1,
       none + ": cannot read it: No such file or directory\n" + diff + "0 passed, 2 failed\n"},
      {"/proc/self/cwd", 1, "/proc/self/cwd: cannot read it: Is a directory\n0 passed, 1 failed\n"},
      {"--show " + good_, 0, "> persist\nanswer <guest_services/>\n1 passed, 0 failed\n"},
  };
  for (const auto& [arguments, exitCode, output] : cases) {
    const auto result = RunHost("replay " + arguments);
    EXPECT_EQ(result.exitCode, exitCode) << arguments;
    EXPECT_EQ(result.output, output) << arguments;
  }
  EXPECT_EQ(ReadFile(bad_), kBad);
}

TEST_F(Replay, RewritesWhatDiffers) {
  auto result = RunHost("replay --update " + good_ + ' ' + bad_);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output, "updated " + bad_ + "\n2 passed, 0 failed\n");
  EXPECT_EQ(ReadFile(good_), kGood);
  EXPECT_EQ(ReadFile(bad_),
            "> persist\n# why\nanswer <guest_services/>\n"
            "> ADD_SERVICE type=shortcut shortcut_id=1\n"
            "push <service_added><shortcut id=\"1\" shortcut_id=\"1\"/></service_added>\n");
  result = RunHost("replay " + bad_);
  EXPECT_EQ(result.output, "1 passed, 0 failed\n");
}

TEST_F(Replay, WritesItsResultsForOtherPrograms) {
  WriteFile(bad_, "> persist\nanswer <&>\n");
  auto result = RunHost("replay --junit " + junit_ + ' ' + good_ + ' ' + bad_);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(
      ReadFile(junit_),
      "<testsuite name=\"replay\" tests=\"2\" failures=\"1\">"
      "<testcase classname=\"replay\" name=\"" +
          good_ +
          "\"/>"
          "<testcase classname=\"replay\" name=\"" +
          bad_ + "\"><failure>--- " + bad_ + "&#10;+++ " + bad_ +
          " (replayed)&#10;@@ -1,2 +1,2 @@&#10; &gt; persist&#10;"
          "-answer &lt;&amp;&gt;&#10;+answer &lt;guest_services/&gt;&#10;</failure></testcase>"
          "</testsuite>\n");
  result = RunHost("replay --junit /no/such/directory/junit.xml " + good_);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.output,
            "error: /no/such/directory/junit.xml: cannot write it: No such file or directory\n");
}

TEST_F(Replay, SaysWhatIsWrongWithAFile) {
  WriteFile(good_,
            "# Stra\xC3\x9F"
            "e\n> persist\nanswer Stra\xDF"
            "e\n");
  const auto result = RunHost("replay " + good_);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.output, good_ + ":3: not UTF-8 text\n0 passed, 1 failed\n");
}

TEST_F(Replay, LoadsThePluginThatIsNamed) {
  auto result = RunHost(std::string("replay --plugin ") + PLUGIN_PATH + ' ' + good_);
  EXPECT_EQ(result.exitCode, 0) << result.output;
  for (const char* const command : {"replay", "run"}) {
    result = RunHost(std::string(command) + " --plugin /no/such/plugin.so " +
                     (command == std::string("replay") ? good_ : ""));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output.rfind("error: cannot load the plug-in: /no/such/plugin.so", 0), 0U)
        << result.output;
  }
  WriteFile(good_, "> persist\n");
  const std::string broken = std::string(BROKEN_PLUGINS) + "/THROWING_CONSTRUCTOR.so";
  result = RunHost("replay --plugin " + broken + ' ' + good_);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.output.find("+error " + broken +
                               ": the agent's construction failed: the agent is out of order\n"
                               " > persist\n"
                               "+error there is no agent\n"),
            std::string::npos)
      << result.output;
}

TEST_F(Replay, FailsWhenNobodyCanReadItsOutput) {
  EXPECT_EQ(RunHost("replay " + good_ + " > /dev/full").exitCode, 1);
  EXPECT_EQ(RunHost("run --listen none > /dev/full", "persist\n").exitCode, 1);
}

TEST(Program, NeedsACommand) {
  for (const char* const arguments : {"", "fly", "replay", "replay --no-such-option x"}) {
    EXPECT_GT(RunHost(arguments).exitCode, 0) << arguments;
  }
  EXPECT_EQ(RunHost("--help").exitCode, 0);
}

TEST(Program, CarriesOutStepsFromAPipe) {
  const auto result = RunHost("run --listen none",
                              "> ADD_SERVICE type=shortcut shortcut_id=1\n"
                              "persist\n"
                              "\n"
                              "loglevel LOUD\n"
                              "# the last line has no end\n"
                              "GET_SERVICE id=1");
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output,
            "> ADD_SERVICE type=shortcut shortcut_id=1\n"
            "push <service_added><shortcut id=\"1\" shortcut_id=\"1\"/></service_added>\n"
            "> persist\n"
            "answer <guest_services><shortcut id=\"1\" shortcut_id=\"1\"/></guest_services>\n"
            "\n"
            "> loglevel LOUD\n"
            "error 'LOUD' is no log level\n"
            "# the last line has no end\n"
            "> GET_SERVICE id=1\n"
            "answer <shortcut id=\"1\" shortcut_id=\"1\"/>\n");
}

}  // namespace

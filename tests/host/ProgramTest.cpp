// The host as it is started: what it prints, writes and exits with.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>
#include <utility>

#include "tests/support/Program.h"

namespace {

using test::ReadFile;
using test::RunHost;
using test::TempPath;
using test::WriteFile;

constexpr const char* kGood = "# As it is.\n\n> persist\nanswer <guest_services/>\n";
constexpr const char* kBad =
    "fire 1\n> persist\n# why\nfire 2\n\n# next\n> loglevel INFO\nfire 3\n"
    "> ADD_SERVICE type=shortcut shortcut_id=1\n\n# the end\n";
constexpr const char* kMended =
    "> persist\n# why\nanswer <guest_services/>\n\n# next\n> loglevel INFO\n"
    "> ADD_SERVICE type=shortcut shortcut_id=1\n"
    "push <service_added><shortcut id=\"1\" shortcut_id=\"1\"/></service_added>\n\n# the end\n";

const std::string kOtherLayer =
    "needs another version of the platform layer, " NEXT_LAYER "; this host has " LAYER;

std::string Broken(const std::string& fault) {
  return std::string(BROKEN_PLUGINS) + '/' + fault + ".so";
}

void Expect(const std::string& arguments, int exitCode, const std::string& output,
            const std::string& input = "") {
  const auto result = RunHost(arguments, input);
  EXPECT_EQ(result.exitCode, exitCode) << arguments;
  EXPECT_EQ(result.output, output) << arguments;
}

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
  const std::string diffHead_ = "--- " + bad_ + "\n+++ " + bad_ + " (replayed)\n";
};

TEST_F(Replay, PrintsTheDifferencesAndTheCounts) {
  const std::string diff =
      diffHead_ +
      "@@ -1,11 +1,10 @@\n-fire 1\n > persist\n # why\n-fire 2\n+answer <guest_services/>\n"
      " \n # next\n > loglevel INFO\n-fire 3\n > ADD_SERVICE type=shortcut shortcut_id=1\n"
      "+push <service_added><shortcut id=\"1\" shortcut_id=\"1\"/></service_added>\n"
      " \n # the end\n";
  const std::string none = TempPath("none.txt");
  Expect("replay " + good_ + ' ' + good_, 0, "2 passed, 0 failed\n");
  Expect("replay --show " + good_, 0, "> persist\nanswer <guest_services/>\n1 passed, 0 failed\n");
  Expect("replay " + good_ + ' ' + bad_, 1, diff + "1 passed, 1 failed\n");
  Expect("replay " + none + ' ' + bad_, 1,
         "cannot open " + none + ": No such file or directory\n" + diff + "0 passed, 2 failed\n");
  Expect("replay /proc/self/cwd", 1,
         "cannot read /proc/self/cwd: Is a directory\n0 passed, 1 failed\n");
  EXPECT_EQ(ReadFile(bad_), kBad);
}

TEST_F(Replay, UpdatesExpectedLinesAndNothingElse) {
  const std::string none =
      "not a step, which begins with \"> \", not a comment, which begins with "
      "\"#\", and not a line that the host prints";
  const struct {
    std::string before;
    std::string refusal;  // after the file's name; "" if it is updated or as expected
    std::string after;
    std::string errors;  // that are said to be recorded
  } cases[] = {
      {kBad, "", kMended, ""},
      {kGood, "", kGood, ""},
      {"> loglevel LOUD\n", "", "> loglevel LOUD\nerror 'LOUD' is no log level\n",
       ", 1 error line"},
      {"> dance\n> fly\n", "",
       "> dance\nerror unknown step 'dance'\n> fly\nerror unknown step 'fly'\n", ", 2 error lines"},
      {"\xEF\xBB\xBF> persist\n", "", "\xEF\xBB\xBF> persist\nanswer <guest_services/>\n", ""},
      {"# a\r\n> persist\r\n\r\n", "", "# a\r\n> persist\r\nanswer <guest_services/>\r\n\r\n", ""},
      {"> persist", "", "> persist\nanswer <guest_services/>", ""},
      {"> persist\r\nanswer <guest_services/>", "", "> persist\r\nanswer <guest_services/>", ""},
      {"> persist\n \t\n", "", "> persist\nanswer <guest_services/>\n \t\n", ""},

      {"", ": no step; a step begins with \"> \"", "", ""},
      {"# nothing\n", ": no step; a step begins with \"> \"", "", ""},
      {"persist\nanswer <guest_services/>\n", ":1: " + none, "", ""},
      {"> persist\n  > persist\n", ":2: " + none, "", ""},
      {"> persist\nanswering\n", ":2: " + none, "", ""},
      {kGood + std::string(">ADD_SERVICE\n"), ":5: a step begins with \"> \": a blank is missing",
       "", ""},
      {"> persist\n\r\n", ":2: mixed line ends", "", ""},
      {"\r\n> persist\n", ":2: mixed line ends", "", ""},
      {"> persist\r", ":1: mixed line ends", "", ""},
      {"# Stra\xC3\x9F\x65\n> persist\nanswer Stra\xDF\x65\n", ":3: not UTF-8 text", "", ""},
  };
  for (const auto& [before, refusal, after, errors] : cases) {
    WriteFile(bad_, before);
    if (!refusal.empty()) {
      Expect("replay --update " + bad_, 1, bad_ + refusal + "\n0 passed, 1 failed\n");
      EXPECT_EQ(ReadFile(bad_), before);
      continue;
    }
    const std::string updated = before == after ? "" : "updated " + bad_ + errors + '\n';
    Expect("replay --update " + bad_, 0, updated + "1 passed, 0 failed\n");
    EXPECT_EQ(ReadFile(bad_), after);
    Expect("replay " + bad_, 0, "1 passed, 0 failed\n");
  }
}

TEST_F(Replay, UpdatesNothingWithoutAnAgent) {
  const std::string plugin = Broken("THROWING_CONSTRUCTOR");
  Expect("replay --update --plugin " + plugin + ' ' + good_, 1,
         good_ + ": not updated: the agent did not start: error " + plugin +
             ": the agent's construction failed: the agent is out of order\n0 passed, 1 failed\n");
  EXPECT_EQ(ReadFile(good_), kGood);
}

TEST_F(Replay, KeepsThePermissionsOfAFileThatItUpdates) {
  const auto mode = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
  std::filesystem::permissions(bad_, mode);
  EXPECT_EQ(RunHost("replay --update " + bad_).exitCode, 0);
  EXPECT_EQ(std::filesystem::status(bad_).permissions(), mode);
}

TEST_F(Replay, WritesItsResultsForOtherPrograms) {
  WriteFile(bad_, "> persist\nanswer <&>\n");
  const std::string none = TempPath("none.txt");
  EXPECT_EQ(RunHost("replay --junit " + junit_ + ' ' + good_ + ' ' + bad_ + ' ' + none).exitCode,
            1);
  const std::regex time(" time=\"[0-9]+\\.[0-9]{6}\"");
  EXPECT_EQ(std::regex_replace(ReadFile(junit_), time, " time=\"SECONDS\""),
            "<testsuite name=\"replay\" tests=\"3\" failures=\"2\" time=\"SECONDS\">"
            "<testcase classname=\"replay\" name=\"" +
                good_ +
                "\" time=\"SECONDS\"/>"
                "<testcase classname=\"replay\" name=\"" +
                bad_ +
                "\" time=\"SECONDS\">"
                "<failure message=\"" +
                bad_ + ":2: the first difference\">--- " + bad_ + "&#10;+++ " + bad_ +
                " (replayed)&#10;@@ -1,2 +1,2 @@&#10; &gt; persist&#10;-answer &lt;&amp;&gt;&#10;"
                "+answer &lt;guest_services/&gt;&#10;</failure></testcase>"
                "<testcase classname=\"replay\" name=\"" +
                none +
                "\" time=\"SECONDS\">"
                "<failure message=\"cannot open " +
                none +
                ": No such file or directory\"/></testcase>"
                "</testsuite>\n");
  Expect("replay --junit /no/such/directory/junit.xml " + good_, 1,
         "1 passed, 0 failed\nerror: cannot open /no/such/directory/junit.xml: No such file "
         "or directory\n");
}

TEST_F(Replay, LoadsThePluginThatIsNamed) {
  Expect(std::string("replay --plugin ") + PLUGIN_PATH + ' ' + good_, 0, "1 passed, 0 failed\n");
  Expect("replay --plugin libc.so " + good_, 1,
         "error: cannot load the plug-in: cannot open libc.so: No such file or directory\n");
  Expect("replay --plugin " + Broken("NEXT_LAYER") + ' ' + good_, 1,
         "error: " + Broken("NEXT_LAYER") + ": " + kOtherLayer + '\n');
  // A century is the longest advance, and no timer holds it up here.
  WriteFile(bad_, "> persist\n> advance 876600h\n");
  Expect("replay --plugin " + Broken("THROWING_CONSTRUCTOR") + ' ' + bad_, 1,
         diffHead_ + "@@ -1,2 +1,4 @@\n+error " + Broken("THROWING_CONSTRUCTOR") +
             ": the agent's construction failed: the agent is out of order\n"
             " > persist\n+error there is no agent\n > advance 876600h\n0 passed, 1 failed\n");
}

TEST_F(Replay, FailsWhenNobodyCanReadItsOutput) {
  EXPECT_EQ(RunHost("replay " + good_ + " > /dev/full").exitCode, 1);
  EXPECT_EQ(RunHost("run --listen none > /dev/full", "persist\n").exitCode, 1);
}

TEST(Program, RefusesWrongArgumentsInOneLine) {
  const struct {
    const char* arguments;
    const char* fault;
    const char* command;  // whose --help is named
  } cases[] = {
      {"fly", "fly is no command; there are replay and run", ""},
      {"--verbose", "--verbose is no command; there are replay and run", ""},
      {"replay", "FILE is required", "replay "},
      {"replay --no-such-option x", "The following argument was not expected: --no-such-option",
       "replay "},
      {"replay --junit '' x", "--junit: an empty name", "replay "},
      {"run 'a\nb'", "The following argument was not expected: a\\nb", "run "},
      {"run --state a --state b", "--state: At Most 1 required but received 2", "run "},
      {"run --state ''", "--state: an empty name", "run "},
      {"run --listen foo", "--listen: foo: not ADDRESS:PORT, such as 127.0.0.1:8080, or none",
       "run "},
      {"run --allow-host 'a b'", "--allow-host: a b: not a host's name", "run "},
      {"run --log-level LOUD", "--log-level: LOUD not in {TRACE,DEBUG,INFO,WARN,ERROR,FATAL,OFF}",
       "run "},
      {"run --max-state -1", "--max-state: -1: not a number of bytes", "run "},
      {"run --log-config /", "--log-config: File is actually a directory: /", "run "},
  };
  for (const auto& [arguments, fault, command] : cases) {
    Expect(std::string(arguments) + " 2>&1 > /dev/null #", 2,
           std::string("error: ") + fault + "; see guest-services-host " + command + "--help\n");
  }
  const auto help = RunHost("--help");
  EXPECT_EQ(help.exitCode, 0);
  Expect("2>&1 > /dev/null #", 2, help.output);
}

TEST(Program, SaysWhyItsPluginCannotBeLoaded) {
  const std::pair<std::string, const char*> cases[] = {
      {Broken("NO_NAMES"), "exports no GetAgentName"},
      {Broken("NO_FACTORY_FUNCTION"), "exports no GetCreationFunc"},
      {Broken("NULL_FACTORY"), "GetCreationFunc gives no factory"},
      {Broken("THROWING_NAMES"), "GetAgentName or GetCreationFunc failed: no names"},
      {Broken("THROWING_A_NUMBER"), "the agent's construction failed"},
      {Broken("NO_AGENT"), "the factory gives no agent"},
      {Broken("NEXT_LAYER"), kOtherLayer.c_str()},
      {"/dev/null", "not a regular file"},
      {"./", "not a regular file"},
      {PROJECT_DIR "/README.md", "not an ELF file"},
  };
  for (const auto& [plugin, reason] : cases) {
    const bool isOurs = plugin.rfind(BROKEN_PLUGINS, 0) == 0;
    Expect(
        "run --listen none --plugin " + plugin, 1,
        (isOurs ? "error: " : "error: cannot load the plug-in: ") + plugin + ": " + reason + '\n');
  }
}

TEST(Program, CarriesOutStepsFromAPipe) {
  Expect("run --listen none", 0,
         "> ADD_SERVICE type=shortcut shortcut_id=1\n"
         "push <service_added><shortcut id=\"1\" shortcut_id=\"1\"/></service_added>\n"
         "\n"
         "> loglevel LOUD\n"
         "error 'LOUD' is no log level\n"
         "# the last line has no end\n"
         "> GET_SERVICE id=1\n"
         "answer <shortcut id=\"1\" shortcut_id=\"1\"/>\n",
         "> ADD_SERVICE type=shortcut shortcut_id=1\n"
         "\n"
         "loglevel LOUD\n"
         "# the last line has no end\n"
         "GET_SERVICE id=1");
  Expect("run --listen none", 0,
         "> ADD_SERVICE nmae=1 type=shortcut\n"
         "push <service_added><shortcut id=\"1\" shortcut_id=\"0\"/></service_added>\n"
         "! ADD_SERVICE has no parameter nmae=; it has name= description= icon= delay= "
         "operarequest= type= shortcut_id=\n"
         "> ui GET_SERVICE id=9 x=1\n"
         "answer\n"
         "! GET_SERVICE has no parameter x=; it has id=\n"
         "error a line is longer than 1048576 bytes\n"
         "> quit\n",
         "ADD_SERVICE nmae=1 type=shortcut\nui GET_SERVICE id=9 x=1\n" + std::string(3 << 20, 'x') +
             "\nquit\npersist\n");
  Expect("run --listen none 2>&1 <&- #", 0, "");
}

TEST(Program, LogsEachRecordAsOneLine) {
  const std::string config = TempPath("log.properties");
  const std::string log = TempPath("log");
  WriteFile(config,
            "log4cplus.rootLogger=INFO, F\nlog4cplus.appender.F=log4cplus::FileAppender\n"
            "log4cplus.appender.F.File=" +
                log +
                "\nlog4cplus.appender.F.layout=log4cplus::"
                "PatternLayout\nlog4cplus.appender.F.layout.ConversionPattern=%p %m%n\n");
  const auto result =
      RunHost("run --listen none --log-config " + config,
              "ADD_SERVICE name=\"a\\nERROR b\\xC2\\x9B\"\nSEND_REQUEST_EVENT id=1\n");
  EXPECT_NE(result.output.find("log INFO \"sent request event for: a\\nERROR b\xC2\x9B eventid: 1"),
            std::string::npos)
      << result.output;
  EXPECT_EQ(ReadFile(log), "INFO sent request event for: a\\nERROR b\\xC2\\x9B eventid: 1\n");
  for (const std::string& path : {config, log}) remove(path.c_str());
}

}  // namespace

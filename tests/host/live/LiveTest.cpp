// A live session: its clock, its reload and its export.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <random>

#include "host/session/Replay.h"
#include "tests/host/live/Live.h"

namespace {

namespace fs = std::filesystem;
using test::ListOf;
using test::Live;
using test::Shortcut;

std::string Join(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) (text += line) += '\n';
  return text;
}

TEST_F(Live, LetsRequestsLapseThatRanOutWhileItWasDown) {
  {
    host::LiveSession session = Open();
    session.Start();
    Run(session, "ADD_SERVICE name=Valet delay=15");
    Run(session, "SEND_REQUEST_EVENT id=1");
  }
  Pass(std::int64_t{3600} * 1000);
  host::LiveSession session = Open();
  EXPECT_EQ(Join(session.Start()), "");
  Pass(28000);
  EXPECT_EQ(Join(session.CatchUp()), "");
  Pass(2000);
  EXPECT_EQ(Join(session.CatchUp()),
            "push <service_state_not_requested><id>1</id></service_state_not_requested>\n"
            "log INFO \"Timer Expired on Valet state changed.\"\n"
            "bound 100 SERVICE_STATE_NOT_REQUESTED id:INT=1\n");
}

TEST_F(Live, FollowsTheWallClockAndKeepsWhatStepsMoved) {
  host::LiveSession session = Open();
  session.Start();
  Run(session, "advance 1h");
  Pass(1000);
  now_.wall += 5000;
  EXPECT_EQ(Join(session.CatchUp()), "> clock 2024-03-01T10:00:06\n");
  EXPECT_EQ(Join(session.CatchUp()), "");
  EXPECT_EQ(session.GetTime(), 1709283600 + 3600 + 6);
}

TEST_F(Live, ReloadsWithoutLosingTheState) {
  const fs::path plugin = folder_ / "plugin.so";
  fs::copy_file(PLUGIN_PATH, plugin);
  const auto size = fs::file_size(plugin);
  host::LiveSession session = Open(true, plugin);
  session.Start();
  test::WriteFile(plugin, "a new one is being copied");  // over the one that is loaded
  Run(session, "ADD_SERVICE type=shortcut shortcut_id=9");
  const auto expect = [&](const std::string& error, std::size_t notices) {
    EXPECT_EQ(Join(Run(session, "reload")), error);
    EXPECT_EQ(Join(Run(session, "persist")), "answer " + ListOf(Shortcut(1)));
    EXPECT_EQ(test::ReadFile(folder_ / "state.xml"), ListOf(Shortcut(1)));
    EXPECT_EQ(session.GetNotices().size(), notices);
  };
  const auto copy = [&](const std::string& from) {
    fs::copy_file(from, plugin, fs::copy_options::overwrite_existing);
  };
  const std::string error = "error cannot load the plug-in: " + plugin.string();
  expect(error + ": not an ELF file\n", 1);
  copy(PLUGIN_PATH);
  expect("", 1);
  fs::resize_file(plugin, size - 1);
  expect(error + ": the file is truncated\n", 2);
  copy(BROKEN_PLUGINS "/FAILING_DESTRUCTION.so");
  expect("error " + plugin.string() +
             ": is of another kind: its agents are none, not \"Guest Services\"\n",
         3);
  for (std::size_t notices = 4; notices < 30; ++notices) Run(session, "reload");
  EXPECT_EQ(session.GetNotices().size(), 20U);
  EXPECT_EQ(session.GetNoticeCount(), 29U);
  copy(BROKEN_PLUGINS "/OTHER_STATE.so");
  expect(
      "error the agent's state is <other>, not <guest_services>\n"
      "error left registered: binding:7 timers:1\n",
      20);
}

TEST_F(Live, LogsThePlaceAndTheStackOfAnAssertion) {
  const fs::path log = folder_ / "log";
  test::WriteFile(folder_ / "log.properties",
                  "log4cplus.rootLogger=INFO, FILE\n"
                  "log4cplus.appender.FILE=log4cplus::FileAppender\n"
                  "log4cplus.appender.FILE.File=" +
                      log.string() + "\n");
  host::LiveSession::Options options;
  options.plugin = PLUGIN_PATH;
  options.logConfig = folder_ / "log.properties";
  host::LiveSession session(options, [this] { return now_; });
  session.Start();
  Run(session, "programming off");
  Run(session, "ADD_SERVICE");
  EXPECT_NE(Join(Run(session, "REMOVE_SERVICE id=1")).find("\nassert ServicesAgent\n"),
            std::string::npos);
  const std::string text = test::ReadFile(log);
  EXPECT_NE(text.find("assertion failed at ServicesAgent:"), std::string::npos) << text;
  EXPECT_NE(text.find("guest-services-agent.so"), std::string::npos) << text;
}

TEST_F(Live, RefusesALogConfigurationThatIncludesItself) {
  const std::string one = folder_ / "one";
  const std::string two = folder_ / "two";
  const std::string fifo = folder_ / "fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const std::pair<std::string, std::string> cases[] = {
      {"include " + one, one + ": includes itself"},
      {"  include\t" + one + "\r", one + ": includes itself"},
      {"include " + fifo, fifo + ": not a regular file"},
      {"include " + two + "x", "cannot open " + two + "x: No such file or directory"}};
  const std::string text = "# include " + fifo + "\ninclude " + two + '\n';
  const std::string option = "--log-config " + one + ": ";
  for (const auto& [line, reason] : cases) {
    test::WriteFile(one, text);
    test::WriteFile(two, line + '\n');
    host::LiveSession::Options options;
    options.plugin = PLUGIN_PATH;
    options.logConfig = one;
    try {
      host::LiveSession session(options, [this] { return now_; });
      ADD_FAILURE() << line;
    } catch (const std::runtime_error& error) {
      EXPECT_EQ(error.what(), option + reason);
    }
  }
}

void ExpectReplays(host::LiveSession& session, const fs::path& file) {
  EXPECT_EQ(
      Join(session.RunStep(host::ReadStep("export " + file.string(), host::Sender::kConsole))), "");
  const auto exported = host::Scenario::Read(file);
  EXPECT_EQ(host::ReplayScenario(test::GetPlugin(), exported, false, nullptr).GetLines(),
            exported.GetLines())
      << file;
}

TEST_F(Live, ExportsWhatReplays) {
  const char* const steps[] = {"ADD_SERVICE name='Fit for a \"King\"' delay=1",
                               "ADD_SERVICE delay=0",
                               "REMOVE_SERVICE id=2",
                               "SEND_REQUEST_EVENT id=1 operarequest=VAL",
                               "SEND_REQUEST_EVENT id=3",
                               "SEND_CANCEL_EVENT id=1",
                               "REORDER_SERVICES order=nonsense",
                               "restart",
                               "advance 45s",
                               "clock 2024-03-01T09:59:59",
                               "forwarder on",
                               "programming off",
                               "loglevel TRACE",
                               " verbose on",
                               "ui GET_ALL_SERVICES"};
  for (unsigned int seed = 1; seed <= 20; ++seed) {
    std::mt19937 random(seed);
    host::LiveSession session = Open(false);
    session.Start();
    const fs::path file = folder_ / ("export-" + std::to_string(seed));
    for (int i = 0; i < 200; ++i) {
      Pass(static_cast<int>(random() % (random() % 8 == 0 ? 90000 : 2000)));
      if (random() % 50 == 0) now_.wall += 7000;
      session.CatchUp();
      if (random() % 30 == 0) Run(session, "reload");
      Run(session, steps[random() % std::size(steps)]);
      session.RunStep(host::ReadStep("ui GET_ALL_SERVICES", host::Sender::kGuest), false);
    }
    ExpectReplays(session, file);
    EXPECT_EQ(Join(Run(session, "export " + file.string())),
              "error cannot open " + file.string() + ": File exists\n");
  }
}

TEST_F(Live, BoundsItsRecordAtOnce) {
  const std::string start = "EDIT_SERVICE guest_service='<guest_service id=\"1\" delay=\"1\" ";
  host::LiveSession session = Open(false);
  session.Start();
  Run(session, "ADD_SERVICE name=Valet delay=1");
  const auto first = session.GetScenario();
  const std::string firstText(first->begin(), first->end());
  for (int i = 0; i < 60; ++i) {
    Pass(std::int64_t{i} % 7 * 1000);
    session.CatchUp();
    Run(session, start + "name=\"" + std::string(60000, static_cast<char>('a' + i % 26)) + "\"/>'");
    if (i % 5 == 0) Run(session, "SEND_REQUEST_EVENT id=1");
    EXPECT_LT(session.GetScenario()->size(), 1400000U);
    if (i % 4 == 0) ExpectReplays(session, folder_ / ("export-" + std::to_string(i)));
  }
  EXPECT_EQ(*first, firstText);
}

}  // namespace

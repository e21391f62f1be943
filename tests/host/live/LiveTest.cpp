// A live session: the state that it keeps, its clock, its reload and its export.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <random>

#include "host/live/LiveSession.h"
#include "host/session/Replay.h"
#include "tests/support/Plugin.h"
#include "tests/support/Program.h"

namespace {

namespace fs = std::filesystem;

std::string Join(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) (text += line) += '\n';
  return text;
}

class Live : public testing::Test {
 protected:
  Live() : folder_(fs::temp_directory_path() / ("live-test-" + std::to_string(getpid()))) {
    fs::create_directory(folder_);
  }
  ~Live() override { fs::remove_all(folder_); }

  host::LiveSession Open(bool isKept = true, const std::string& plugin = PLUGIN_PATH) {
    host::LiveSession::Options options;
    options.plugin = plugin;
    if (isKept) options.stateFile = folder_ / "state.xml";
    return host::LiveSession(options, [this] { return now_; });
  }

  static host::LiveSession::Lines Run(host::LiveSession& session, const std::string& line) {
    return session.RunStep(host::ReadStep(line, host::Sender::kConsole));
  }

  void Pass(std::int64_t milliseconds) {
    now_.wall += milliseconds;
    now_.steady += milliseconds;
  }

  /// The folder's files with what they hold, by name; times in names are left out.
  std::string Show() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      const std::string name = entry.path().filename();
      files[name.substr(0, name.find("-2"))] += test::ReadFile(entry.path());
    }
    std::string shown;
    for (const auto& [name, text] : files) ((shown += name) += ": ") += text;
    return shown;
  }

  const fs::path folder_;
  host::Moment now_ = {1709283600750, 4321};  // 2024-03-01 09:00:00 UTC
};

std::string ListOf(const std::string& entries) {
  return "<guest_services>" + entries + "</guest_services>\n";
}
std::string Shortcut(int id) {
  return "<shortcut id=\"" + std::to_string(id) + "\" shortcut_id=\"9\"/>";
}

TEST_F(Live, StartsFromWhatHoldsAState) {
  const std::string one = ListOf(Shortcut(1));
  const std::string two = ListOf(Shortcut(1) + Shortcut(2));
  const std::string noDate =
      ListOf("<guest_service id=\"1\"><request_time DATETIME=\"short\"/></guest_service>");
  const struct {
    std::string file, backup, after;
  } cases[] = {
      {"", "", "state.xml: <guest_services/>\n"},
      {one, "", "state.xml: " + one},
      {two, one, "state.xml: " + two + "state.xml.backup: " + one},
      {"", one, "state.xml: " + one + "state.xml.backup: " + one},
      {"torn <gue\n", one,
       "state.xml: " + one + "state.xml.backup: " + one + "state.xml.unreadable: torn <gue\n"},
      {noDate, one,
       "state.xml: " + one + "state.xml.backup: " + one + "state.xml.unreadable: " + noDate},
      {"<html><p/></html>\n", "\n",
       "state.xml: <guest_services/>\nstate.xml.backup.unreadable: \n"
       "state.xml.unreadable: <html><p/></html>\n"},
  };
  for (const auto& [file, backup, after] : cases) {
    if (!file.empty()) test::WriteFile(folder_ / "state.xml", file);
    if (!backup.empty()) test::WriteFile(folder_ / "state.xml.backup", backup);
    host::LiveSession session = Open();
    session.Start();
    EXPECT_EQ(Show(), after) << file;
    const bool isAsOrdered = file == two || file == one || (file.empty() && backup.empty());
    EXPECT_EQ(session.GetNotices().empty(), isAsOrdered) << file;
    EXPECT_EQ(session.GetStateHealth().kind, host::StateHealth::Kind::kSaved) << file;
    fs::remove_all(folder_);
    fs::create_directory(folder_);
  }
}

TEST_F(Live, SetsEveryUnreadableFileAsideUnderANameOfItsOwn) {
  for (const char* const text : {"first\n", "second\n", "third\n"}) {
    test::WriteFile(folder_ / "state.xml", text);
    Open().Start();
  }
  const fs::directory_iterator files(folder_);
  EXPECT_EQ(std::distance(begin(files), end(files)), 1 + 3) << Show();
}

TEST_F(Live, TakesWhatIsNotTheFilesFaultForNoReasonToTouchIt) {
  fs::create_directory(folder_ / "state.xml");
  EXPECT_THROW(Open().Start(), std::system_error);
  EXPECT_TRUE(fs::is_directory(folder_ / "state.xml"));
  fs::remove(folder_ / "state.xml");
  fs::remove(folder_);
  EXPECT_THROW(Open(), std::runtime_error);
}

TEST_F(Live, GoesOnWhereItCannotSave) {
  host::LiveSession session = Open();
  session.Start();
  const fs::path away = folder_.string() + ".away";
  fs::rename(folder_, away);
  EXPECT_EQ(Run(session, "ADD_SERVICE type=shortcut shortcut_id=9"),
            host::LiveSession::Lines{"push <service_added>" + Shortcut(1) + "</service_added>"});
  EXPECT_EQ(session.GetStateHealth().reason,
            "cannot open " + (folder_ / "state.xml.new").string() + ": No such file or directory");
  fs::rename(away, folder_);
  EXPECT_EQ(Show(), "state.xml: <guest_services/>\n");
  Pass(30000);
  session.CatchUp();  // any call tries again
  EXPECT_EQ(session.GetStateHealth().kind, host::StateHealth::Kind::kSaved);
  EXPECT_EQ(Show(), "state.xml: " + ListOf(Shortcut(1)) + "state.xml.backup: <guest_services/>\n");
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
  fs::copy_file(PLUGIN_PATH, folder_ / "plugin.so");
  host::LiveSession session = Open(false, folder_ / "plugin.so");
  session.Start();
  Run(session, "ADD_SERVICE type=shortcut shortcut_id=9");
  const std::string state = "answer " + ListOf(Shortcut(1));
  EXPECT_EQ(Join(Run(session, "reload")), "");
  EXPECT_EQ(Join(Run(session, "persist")), state);
  fs::resize_file(folder_ / "plugin.so", 100);
  EXPECT_EQ(Run(session, "reload").size(), 1U);
  EXPECT_EQ(Join(Run(session, "persist")), state);
  EXPECT_EQ(session.GetNotices().size(), 1U);
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
                               "verbose on",
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
      session.RunStep(host::ReadStep("ui GET_ALL_SERVICES", host::Sender::kPage), false);
    }
    EXPECT_EQ(Join(Run(session, "export " + file.string())), "");
    EXPECT_EQ(Join(Run(session, "export " + file.string())),
              "error cannot open " + file.string() + ": File exists\n");
    const auto exported = host::Scenario::Read(file);
    EXPECT_EQ(host::ReplayScenario(test::GetPlugin(), exported, false, nullptr).GetLines(),
              exported.GetLines())
        << "seed " << seed;
  }
}

}  // namespace

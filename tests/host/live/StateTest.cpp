// The state file of a live session: what it is read from, and what a save keeps.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>

#include "tests/host/live/Live.h"

namespace {

namespace fs = std::filesystem;
using test::ListOf;
using test::Live;
using test::Shortcut;

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
      {"<guest_services><guest_service id=\"1\" name=\"Caf\xE9\"/></guest_services>\n", one,
       "state.xml: " + one + "state.xml.backup: " + one +
           "state.xml.unreadable: <guest_services><guest_service id=\"1\" name=\"Caf\xE9\"/>"
           "</guest_services>\n"},
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
    Empty();
  }
}

TEST_F(Live, SetsEveryUnreadableFileAsideUnderANameOfItsOwn) {
  for (const char* const text : {"first\n", "second\n", "third\n"}) {
    test::WriteFile(folder_ / "state.xml", text);
    Open().Start();
  }
  const fs::directory_iterator files(folder_);
  EXPECT_EQ(std::distance(begin(files), end(files)), 2 + 3) << Show();  // the file and its lock
}

TEST_F(Live, TouchesNothingButRegularFiles) {
  const auto link = [](const char* target) {
    return [target](const fs::path& path) { fs::create_symlink(target, path); };
  };
  const auto fifo = [](const fs::path& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); };
  const auto folder = [](const fs::path& path) { fs::create_directory(path); };
  const struct {
    const char* name;
    std::function<void(const fs::path& path)> make;
    const char* reason;
  } cases[] = {
      {"state.xml", folder, "not a regular file"},
      {"state.xml", fifo, "not a regular file"},
      {"state.xml", link("/dev/zero"), "/dev/zero: not a regular file"},
      {"state.xml", link("unmounted/state.xml"), "No such file or directory"},
      {"state.xml", link("state.xml"), "Too many levels of symbolic links"},
      {"state.xml.new", fifo, "not a regular file"},
      {"state.xml.new", link("precious"), "not a regular file"},
      {"state.xml.backup", fifo, "not a regular file"},
      {"state.xml.backup.new", link("precious"), "not a regular file"},
      {"state.xml.lock", fifo, "not a regular file"},
  };
  for (const auto& [name, make, reason] : cases) {
    make(folder_ / name);
    const auto type = fs::symlink_status(folder_ / name).type();
    try {
      Open().Start();
      ADD_FAILURE() << name << " was accepted: " << reason;
    } catch (const std::runtime_error& error) {
      EXPECT_NE(std::string(error.what()).find(reason), std::string::npos) << error.what();
    }
    EXPECT_EQ(fs::symlink_status(folder_ / name).type(), type) << name;
    Empty();
  }
  fs::remove(folder_);
  EXPECT_THROW(Open(), std::runtime_error);
}

TEST_F(Live, LocksItsFileAgainstAnotherHost) {
  {
    host::LiveSession first = Open();
    try {
      Open();
      FAIL() << "two hosts have the same file";
    } catch (const std::runtime_error& error) {
      EXPECT_EQ(error.what(), "--state " + (folder_ / "state.xml").string() +
                                  ": in use by process " + std::to_string(getpid()) +
                                  ", which has locked " + (folder_ / "state.xml.lock").string());
    }
  }
  Open().Start();
}

TEST_F(Live, KeepsTheLinkAndTheRightsOfTheFile) {
  Open().Start();
  EXPECT_EQ(fs::status(folder_ / "state.xml").permissions(), fs::perms{0600});
  fs::create_directory(folder_ / "disk");
  const fs::path real = folder_ / "disk/real.xml";
  fs::rename(folder_ / "state.xml", real);
  fs::create_symlink("disk/real.xml", folder_ / "state.xml");
  fs::permissions(real, fs::perms{0640});
  const bool canChown = chown(real.c_str(), 12, 34) == 0;
  host::LiveSession session = Open();
  session.Start();
  for (int i = 0; i < 2; ++i) Run(session, "ADD_SERVICE type=shortcut shortcut_id=9");
  fs::remove(real);
  Run(session, "ADD_SERVICE type=shortcut shortcut_id=9");
  EXPECT_TRUE(fs::is_symlink(folder_ / "state.xml"));
  for (const char* const ending : {"", ".backup"}) {
    struct stat status {};
    ASSERT_EQ(stat((real.string() + ending).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
    EXPECT_EQ(status.st_uid, canChown ? 12U : geteuid());
    EXPECT_EQ(status.st_gid, canChown ? 34U : getegid());
  }
}

TEST_F(Live, KeepsWhatAnotherProgramWrites) {
  const fs::path file = folder_ / "state.xml";
  const fs::path backup = folder_ / "state.xml.backup";
  const std::string one = ListOf(Shortcut(1));
  const std::string two = ListOf(Shortcut(1) + Shortcut(2));
  const struct {
    const char* what;
    std::function<void()> act;
    std::string after;
    std::size_t notices;
  } cases[] = {
      {"nothing", [] {}, "state.xml: " + two + "state.xml.backup: " + one, 0},
      {"the file is gone", [&] { fs::remove(file); },
       "state.xml: " + two + "state.xml.backup: <guest_services/>\n", 1},
      {"both are gone", [&] { fs::remove(file), fs::remove(backup); }, "state.xml: " + two, 1},
      {"it is truncated", [&] { fs::resize_file(file, 0); },
       "state.xml: " + two + "state.xml.backup: <guest_services/>\nstate.xml.changed: ", 1},
      {"it is replaced",
       [&] {
         test::WriteFile(folder_ / "x", "other\n");
         fs::rename(folder_ / "x", file);
       },
       "state.xml: " + two + "state.xml.backup: <guest_services/>\nstate.xml.changed: other\n", 1},
      {"it is a folder", [&] { fs::remove(file), fs::create_directory(file); },
       "state.xml: " + two +
           "state.xml.backup: <guest_services/>\nstate.xml.changed: no regular file\n",
       1},
      {"it is a link", [&] { fs::remove(file), fs::create_symlink("nowhere", file); },
       "state.xml: " + two +
           "state.xml.backup: <guest_services/>\nstate.xml.changed: no regular file\n",
       1},
      {"the backup is replaced", [&] { test::WriteFile(backup, "mine\n"); },
       "state.xml: " + two + "state.xml.backup: " + one + "state.xml.backup.changed: mine\n", 1},
      {"a save was interrupted",
       [&] {
         test::WriteFile(folder_ / "linked", "mine\n");
         fs::create_hard_link(folder_ / "linked", folder_ / "state.xml.new");
       },
       "linked: mine\nstate.xml: " + two + "state.xml.backup: " + one, 0},
  };
  for (const auto& c : cases) {
    host::LiveSession session = Open();
    session.Start();
    Run(session, "ADD_SERVICE type=shortcut shortcut_id=9");
    c.act();
    Run(session, "ADD_SERVICE type=shortcut shortcut_id=9");
    EXPECT_EQ(Show(), c.after) << c.what;
    EXPECT_EQ(session.GetNotices().size(), c.notices) << c.what;
    EXPECT_EQ(session.GetStateHealth().reason, "") << c.what;
    Empty();
  }
  host::LiveSession session = Open();
  session.Start();
  fs::remove(file);
  for (const char* const query : {"GET_ALL_SERVICES", "ui GET_ALL_SERVICES", "verbose off"}) {
    Run(session, query);
    EXPECT_EQ(Show(), "") << "this changes no state: " << query;
  }
  session.Save();  // at the end
  EXPECT_EQ(Show(), "state.xml: <guest_services/>\n");
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

}  // namespace

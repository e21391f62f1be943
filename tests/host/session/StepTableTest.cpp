// The step table: its rows can be sent as it says, and the console and the documentation show them.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "host/live/LiveSession.h"
#include "host/session/HearingTable.h"
#include "host/session/StepCompletion.h"
#include "host/session/StepTable.h"
#include "tests/support/Program.h"

namespace {

using host::Sender;

/// The shortest step that a usage allows.
std::string ShortestOf(std::string_view usage) {
  usage = usage.substr(0, usage.find(" ["));
  return std::string(usage.substr(0, usage.find_first_of('|')));
}

TEST(StepTable, EveryRowIsCarriedOutForItsSendersAlone) {
  const auto folder = std::filesystem::path(test::TempPath("steps"));
  std::filesystem::create_directory(folder);
  std::filesystem::current_path(folder);  // for the file of `export`
  host::LiveSession::Options options;
  options.plugin = PLUGIN_PATH;
  for (const host::StepRow& row : host::StepTable()) {
    std::string text = ShortestOf(row.usage);
    if (const auto name = text.find(host::kAnyName); name != std::string::npos) {
      text = text.substr(0, name) + "GET_SERVICE";
    }
    for (const auto& [sender, name, isPage] : host::kSenders) {
      SCOPED_TRACE(std::string(name) + ": " + text);
      if (!row.Admits(sender)) {
        EXPECT_THROW(host::ReadStep(text, sender), host::StepError);
        continue;
      }
      host::LiveSession session(options, [] { return host::Moment{1709283600000, 0}; });
      session.Start();
      for (int i = 0; i < 3; ++i) session.RunStep(host::ReadStep("ADD_SERVICE", Sender::kConsole));
      for (const std::string& line : session.RunStep(host::ReadStep(text, sender))) {
        EXPECT_NE(line.compare(0, 5, "error"), 0) << line;
      }
    }
  }
  EXPECT_EQ(test::ReadFile("FILE").substr(0, 8), "> clock ");
  std::filesystem::current_path("/");
  std::filesystem::remove_all(folder);
}

TEST(StepTable, IsTheListInTheDocumentation) {
  std::string list = "| Step | What it does | From |\n|---|---|---|\n";
  for (const host::StepRow& row : host::StepTable()) {
    std::string usage(row.usage);
    for (std::size_t at = 0; (at = usage.find('|', at)) != std::string::npos; at += 2) {
      usage.insert(at, 1, '\\');
    }
    std::string senders;
    for (const auto& [sender, name, isPage] : host::kSenders) {
      if (row.Admits(sender)) senders += (senders.empty() ? "" : ", ") + std::string(name);
    }
    list.append("| `").append(usage).append("` | ").append(row.meaning);
    list.append(" | ").append(senders).append(" |\n");
  }
  const std::string page = test::ReadFile(std::string(PROJECT_DIR) + "/docs/scenarios.md");
  EXPECT_NE(page.find('\n' + list + '\n'), std::string::npos) << "docs/scenarios.md lacks\n"
                                                              << list;
}

TEST(HearingTable, IsTheListInTheDocumentation) {
  std::string list = "| Lines |", rule = "|---|";
  for (const host::SenderRow& role : host::kSenders) {
    if (!role.isPage) continue;
    list.append(" ").append(role.name).append(" |");
    rule += "---|";
  }
  list += '\n' + rule + '\n';
  for (const host::HearingRow& row : host::HearingTable()) {
    list.append("| ").append(row.lines).append(" |");
    for (const host::SenderRow& role : host::kSenders) {
      if (role.isPage) list += host::Hears(role.sender, row.kind) ? " yes |" : " |";
    }
    list += '\n';
  }
  const std::string page = test::ReadFile(std::string(PROJECT_DIR) + "/docs/live-host.md");
  EXPECT_NE(page.find('\n' + list + '\n'), std::string::npos) << "docs/live-host.md lacks\n"
                                                              << list;
}

TEST(StepTable, CompletesWords) {
  const struct {
    const char* line;
    std::vector<std::string> words;
  } cases[] = {
      {"re", {"restart", "reload"}},
      {"ui GET_S", {"GET_SERVICE_TYPES", "GET_SERVICE"}},
      {"ui GET_SERVICE ", {"id="}},
      {"SEND_REQUEST_EVENT ", {"id=", "operarequest="}},
      {"SEND_REQUEST_EVENT id=1 ", {"operarequest="}},
      {"ADD_SERVICE delay=5 d", {"description="}},
      {"restart ", {"state="}},
      {"nonsense ", {}},
      {"NAME ", {}},
  };
  for (const auto& [line, words] : cases) EXPECT_EQ(host::CompleteStep(line), words) << line;
  EXPECT_EQ(host::CompleteStep("\t"), host::CompleteStep(""));
}

}  // namespace

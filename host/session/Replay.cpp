#include "host/session/Replay.h"

#include <dtl/dtl.hpp>
#include <sstream>

#include "host/engine/Clock.h"
#include "host/engine/File.h"
#include "host/session/Session.h"
#include "host/session/StepTable.h"
#include "platform/xml/XmlNode.h"

namespace host {
namespace {

constexpr std::int64_t kFirstMoment = 1709283600;  // 2024-03-01 09:00:00 UTC

struct Outcome {
  std::string file;
  std::string failure;  // "" if it was as expected
};

std::string UnifiedDiff(const std::string& file, const std::vector<std::string>& expected,
                        const std::vector<std::string>& actual) {
  dtl::Diff<std::string> diff(expected, actual);
  diff.compose();
  diff.composeUnifiedHunks();
  std::ostringstream text;
  text << "--- " << file << "\n+++ " << file << " (replayed)\n";
  diff.printUnifiedFormat(text);
  return text.str();
}

Outcome ReplayFile(const PluginLibrary& plugin, const std::string& file,
                   const ReplayOptions& options, std::ostream& out) {
  const Scenario expected = Scenario::Read(file);
  const Scenario actual =
      ReplayScenario(plugin, expected, options.verbose, options.show ? &out : nullptr);
  const auto expectedLines = expected.GetLines();
  const auto actualLines = actual.GetLines();
  if (expectedLines == actualLines) return {file, ""};
  if (options.update) {
    actual.Write(file);
    out << "updated " << file << '\n';
    return {file, ""};
  }
  return {file, UnifiedDiff(file, expectedLines, actualLines)};
}

void WriteJUnit(const std::string& path, const std::vector<Outcome>& outcomes, int failed) {
  const auto suite = qx::CreateXmlNode("testsuite", "");
  suite->SetAttribute("name", "replay");
  suite->SetAttributeNumber("tests", static_cast<int>(outcomes.size()));
  suite->SetAttributeNumber("failures", failed);
  for (const Outcome& outcome : outcomes) {
    const auto test = qx::CreateXmlNode("testcase", "");
    test->SetAttribute("classname", "replay");
    test->SetAttribute("name", outcome.file);
    if (!outcome.failure.empty()) test->AddChild("failure", outcome.failure);
    suite->AddChild(test);
  }
  WriteFile(path, suite->OuterXml() + '\n', FileMode::kTruncate);
}

}  // namespace

Scenario ReplayScenario(const PluginLibrary& plugin, const Scenario& scenario, bool verbose,
                        std::ostream* show) {
  Scenario replayed = scenario;
  ManualClock clock(kFirstMoment);
  std::vector<std::string> lines;
  Session session(plugin, clock, [&](const std::string& line) {
    lines.push_back(line);
    if (show != nullptr) *show << line << '\n' << std::flush;
  });
  session.SetVerbose(verbose);
  const auto& blocks = scenario.GetBlocks();
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    lines.clear();
    if (i == 0) {
      session.Start();
    } else {
      if (show != nullptr) *show << "> " << blocks[i].step << '\n' << std::flush;
      RunScenarioLine(session, blocks[i].step);
    }
    replayed.SetLines(i, lines);
  }
  return replayed;
}

bool ReplayFiles(const PluginLibrary& plugin, const ReplayOptions& options, std::ostream& out) {
  std::vector<Outcome> outcomes;
  int failed = 0;
  for (const std::string& file : options.files) {
    try {
      outcomes.push_back(ReplayFile(plugin, file, options, out));
    } catch (const std::runtime_error& error) {  // a file that cannot be read or written
      outcomes.push_back({file, std::string(error.what()) + '\n'});
    }
    if (outcomes.back().failure.empty()) continue;
    ++failed;
    out << outcomes.back().failure;
  }
  out << outcomes.size() - static_cast<std::size_t>(failed) << " passed, " << failed << " failed\n";
  if (!options.junitFile.empty()) WriteJUnit(options.junitFile, outcomes, failed);
  return failed == 0;
}

}  // namespace host

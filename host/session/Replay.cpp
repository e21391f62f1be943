#include "host/session/Replay.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <dtl/dtl.hpp>
#include <sstream>
#include <stdexcept>

#include "host/engine/Clock.h"
#include "host/engine/File.h"
#include "host/session/Session.h"
#include "host/session/StepTable.h"
#include "host/session/Transcript.h"
#include "platform/xml/XmlNode.h"

namespace host {
namespace {

constexpr std::int64_t kFirstMoment = 1709283600;  // 2024-03-01 09:00:00 UTC

struct Outcome {
  std::string file;
  std::string failure;  // one line; "" if it was as expected
  std::string details;  // the lines of a difference; "" for another failure
  double seconds;
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

/// Replaces the file of a scenario. Throws `std::runtime_error` if that would cost its lines.
void Update(const std::string& file, const Scenario& actual, std::ostream& out) {
  const auto& start = actual.GetBlocks().front().lines;
  const auto failure = std::find_if(start.begin(), start.end(), IsError);
  if (failure != start.end()) {
    throw std::runtime_error(file + ": not updated: the agent did not start: " + *failure);
  }
  actual.Write(file);
  const auto lines = actual.GetLines();
  const auto errors = std::count_if(lines.begin(), lines.end(), IsError);
  out << "updated " << file;
  if (errors != 0) out << ", " << errors << (errors == 1 ? " error line" : " error lines");
  out << '\n';
}

void ReplayFile(const PluginLibrary& plugin, const ReplayOptions& options, std::ostream& out,
                Outcome& outcome) {
  const std::string& file = outcome.file;
  const Scenario expected = Scenario::Read(file);
  const Scenario actual =
      ReplayScenario(plugin, expected, options.verbose, options.show ? &out : nullptr);
  const auto expectedLines = expected.GetLines();
  const auto actualLines = actual.GetLines();
  if (expectedLines == actualLines) return;
  if (options.update) return Update(file, actual, out);
  const auto differing = std::mismatch(expectedLines.begin(), expectedLines.end(),
                                       actualLines.begin(), actualLines.end());
  const auto line = std::distance(expectedLines.begin(), differing.first) + 1;
  outcome.failure = file + ':' + std::to_string(line) + ": the first difference";
  outcome.details = UnifiedDiff(file, expectedLines, actualLines);
}

/// Replays a file, and measures it. A file that cannot be read or written is a failure.
Outcome TryFile(const PluginLibrary& plugin, const std::string& file, const ReplayOptions& options,
                std::ostream& out) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  Outcome outcome{};
  outcome.file = file;
  try {
    ReplayFile(plugin, options, out, outcome);
  } catch (const std::runtime_error& error) {
    outcome.failure = error.what();
  }
  outcome.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  return outcome;
}

std::string FormatSeconds(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6f", seconds);
  return text;
}

void WriteJUnit(const std::string& path, const std::vector<Outcome>& outcomes, int failed) {
  const auto suite = qx::CreateXmlNode("testsuite", "");
  suite->SetAttribute("name", "replay");
  suite->SetAttributeNumber("tests", static_cast<int>(outcomes.size()));
  suite->SetAttributeNumber("failures", failed);
  double seconds = 0;
  for (const Outcome& outcome : outcomes) seconds += outcome.seconds;
  suite->SetAttribute("time", FormatSeconds(seconds));
  for (const Outcome& outcome : outcomes) {
    const auto test = qx::CreateXmlNode("testcase", "");
    test->SetAttribute("classname", "replay");
    test->SetAttribute("name", outcome.file);
    test->SetAttribute("time", FormatSeconds(outcome.seconds));
    if (!outcome.failure.empty()) {
      const auto failure = qx::CreateXmlNode("failure", outcome.details);
      failure->SetAttribute("message", outcome.failure);
      test->AddChild(failure);
    }
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
    const Outcome& outcome = outcomes.emplace_back(TryFile(plugin, file, options, out));
    if (outcome.failure.empty()) continue;
    ++failed;
    out << (outcome.details.empty() ? outcome.failure + '\n' : outcome.details);
  }
  out << outcomes.size() - static_cast<std::size_t>(failed) << " passed, " << failed << " failed\n";
  if (!options.junitFile.empty()) WriteJUnit(options.junitFile, outcomes, failed);
  return failed == 0;
}

}  // namespace host

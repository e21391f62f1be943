#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "host/engine/PluginLibrary.h"
#include "host/session/Scenario.h"

namespace host {

struct ReplayOptions {
  std::vector<std::string> files;
  std::string junitFile;  // "" for none
  bool update = false;    // rewrite the files with what happened
  bool show = false;      // print every line as it happens
  bool verbose = false;   // sessions start verbose
};

/// Carries out the steps of a scenario with a new agent, on a clock that only steps move, and
/// returns the scenario with what followed each of them. `show`, if not null, is told every line.
Scenario ReplayScenario(const PluginLibrary& plugin, const Scenario& scenario, bool verbose,
                        std::ostream* show);

/// Replays scenario files and compares; prints a unified diff for each that differs, and the counts
/// last. Returns whether all were as expected, or could be rewritten. Throws `std::runtime_error`
/// when the JUnit file cannot be written. The process's time zone must be UTC.
bool ReplayFiles(const PluginLibrary& plugin, const ReplayOptions& options, std::ostream& out);

}  // namespace host

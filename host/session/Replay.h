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
  bool update = false;    // rewrite the expected lines of files that differ
  bool show = false;      // print each line at once
  bool verbose = false;   // sessions start verbose
};

/// Carries out the steps of a scenario with a new agent, on a clock that only steps advance.
/// Returns the scenario with the lines that followed each step. Prints every line to `show`, if not
/// null.
Scenario ReplayScenario(const PluginLibrary& plugin, const Scenario& scenario, bool verbose,
                        std::ostream* show);

/// Replays scenario files and compares. Prints a unified diff for each file that differs, and the
/// counts last. Returns whether all were as expected or rewritten. Throws `std::system_error` when
/// the JUnit file cannot be written. The process's time zone must be UTC.
bool ReplayFiles(const PluginLibrary& plugin, const ReplayOptions& options, std::ostream& out);

}  // namespace host

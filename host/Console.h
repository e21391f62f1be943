#pragma once

#include "host/PluginLibrary.h"

namespace host {

/// Reads steps from standard input, from a person at a terminal or from a pipe, and prints what
/// follows each, on the system's clock, until the input ends. Steps that do not come from a
/// terminal are printed too, so that what is printed is a scenario.
void RunConsole(const PluginLibrary& plugin, bool verbose);

}  // namespace host

// The program: `replay` and `run`.
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

#include "host/Console.h"
#include "host/PluginLibrary.h"
#include "host/Replay.h"

namespace {

/// The plug-in that was built or installed with this program.
std::string GetDefaultPlugin() {
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  return (program.parent_path() / PLUGIN_FROM_BIN).lexically_normal().string();
}

int Run(int argc, char** argv) {
  CLI::App app("Loads the Guest Services plug-in as the controller's host does, and drives it.");
  app.require_subcommand(1);
  std::string plugin = GetDefaultPlugin();
  host::ReplayOptions replay;
  const auto addCommonOptions = [&](CLI::App* command) {
    command->add_option("--plugin", plugin, "The library to load")->capture_default_str();
    command->add_flag("--verbose", replay.verbose,
                      "Also say what is registered, armed and withdrawn");
  };

  CLI::App* const replayCommand = app.add_subcommand(
      "replay", "Replay scenario files and compare what happens with what they expect");
  replayCommand->add_option("FILE", replay.files, "Scenario files")->required();
  replayCommand->add_flag("--update", replay.update, "Rewrite the expected lines of the files");
  replayCommand->add_flag("--show", replay.show, "Print every line as it happens");
  replayCommand->add_option("--junit", replay.junitFile, "Write the results for a CI system");
  addCommonOptions(replayCommand);

  CLI::App* const runCommand =
      app.add_subcommand("run", "Carry out steps from standard input, on the real clock");
  addCommonOptions(runCommand);

  CLI11_PARSE(app, argc, argv);

  const bool isReplay = replayCommand->parsed();
  if (isReplay) {
    setenv("TZ", "UTC", 1);
    tzset();
  }
  const host::PluginLibrary library(plugin);
  bool isAsExpected = true;
  if (isReplay) {
    isAsExpected = host::ReplayFiles(library, replay, std::cout);
  } else {
    host::RunConsole(library, replay.verbose);
  }
  if (!std::cout.flush()) throw std::runtime_error("cannot write to the standard output");
  return isAsExpected ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "error: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}

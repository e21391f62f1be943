// The program: `replay` and `run`.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

#include "host/LiveHost.h"
#include "host/engine/PluginLibrary.h"
#include "host/session/Replay.h"

namespace {

/// The plug-in that was built or installed with this program.
std::string GetDefaultPlugin() {
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  return (program.parent_path() / PLUGIN_FROM_BIN).lexically_normal().string();
}

void AddRunOptions(CLI::App& command, host::LiveHost::Options& options) {
  command.footer(
      "Type help for the steps. The host ends at the end of the input (Ctrl-D), on SIGINT and on\n"
      "SIGTERM. SIGHUP reloads the plug-in. NO_COLOR disables colours.");
  command
      .add_option("--state", options.session.stateFile,
                  "Keep the agent's state in this file, and its previous version in FILE.backup; "
                  "without it, the state is not saved")
      ->type_name("FILE");
  command
      .add_option("--listen", options.listen,
                  "Serve the pages there: a loopback address with a port (0 for any free port), or "
                  "none")
      ->type_name("ADDRESS:PORT")
      ->capture_default_str();
  command
      .add_option("--allow-host", options.proxyNames,
                  "Also serve the pages under this host name, the one of a reverse proxy")
      ->type_name("NAME");
  command
      .add_option(
          "--log-level", options.session.logLevel,
          "The root logger's level: TRACE, DEBUG, INFO, WARN, ERROR, FATAL or OFF; INFO if no "
          "option sets it")
      ->type_name("LEVEL");
  command
      .add_option("--log-config", options.session.logConfig,
                  "Configure the log by this property file of log4cplus")
      ->type_name("FILE");
}

void AddCommonOptions(CLI::App& command, std::string& plugin, bool& isVerbose) {
  command.add_option("--plugin", plugin, "The library to load")->capture_default_str();
  command.add_flag("--verbose", isVerbose, "Also print registrations, bindings and timers");
}

bool Replay(const std::string& plugin, const host::ReplayOptions& options) {
  setenv("TZ", "UTC", 1);
  tzset();
  const host::PluginLibrary library(plugin);
  return host::ReplayFiles(library, options, std::cout);
}

int Run(int argc, char** argv) {
  CLI::App app("Loads the Guest Services plug-in as the controller's host does, and drives it.");
  app.set_version_flag("--version", "guest-services-host " VERSION);
  app.require_subcommand(1);
  std::string plugin = GetDefaultPlugin();

  host::ReplayOptions replay;
  CLI::App* const replayCommand = app.add_subcommand(
      "replay", "Replay scenario files and compare what happens with what they expect");
  replayCommand->add_option("FILE", replay.files, "Scenario files")->required();
  replayCommand->add_flag("--update", replay.update, "Rewrite the expected lines of the files");
  replayCommand->add_flag("--show", replay.show, "Print every line as it happens");
  replayCommand->add_option("--junit", replay.junitFile, "Write the results for a CI system");
  AddCommonOptions(*replayCommand, plugin, replay.verbose);

  host::LiveHost::Options live;
  live.session.plugin = plugin;
  CLI::App* const runCommand =
      app.add_subcommand("run",
                         "Run the agent as in a property: on the real clock, with a console "
                         "and pages in the browser");
  AddRunOptions(*runCommand, live);
  AddCommonOptions(*runCommand, live.session.plugin, live.session.verbose);

  CLI11_PARSE(app, argc, argv);

  const bool isGood = replayCommand->parsed() ? Replay(plugin, replay) : host::LiveHost(live).Run();
  const bool isPrinted = std::cout.flush() && std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  if (!isPrinted) throw std::runtime_error("cannot write to the standard output");
  return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
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

// The program: `replay` and `run`.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "host/LiveHost.h"
#include "host/console/Journal.h"
#include "host/engine/PluginLibrary.h"
#include "host/session/Failure.h"
#include "host/session/Replay.h"
#include "host/session/Transcript.h"
#include "host/web/Access.h"
#include "platform/HostLog.h"

namespace {

constexpr int kUsageError = 2;

/// The plug-in that was built or installed with this program.
std::string GetDefaultPlugin() {
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  return (program.parent_path() / PLUGIN_FROM_BIN).lexically_normal().string();
}

std::string CheckName(const std::string& value) { return value.empty() ? "an empty name" : ""; }

std::string CheckListen(const std::string& value) {
  const auto failure = host::Try([&] {
    if (value != "none") web::ParseListen(value);
  });
  return failure ? value + ": " + failure->reason : "";
}

std::string CheckProxyName(const std::string& value) {
  const auto failure = host::Try([&] { web::Access({value}); });
  return failure ? failure->reason : "";
}

/// CLI11 itself takes -1 as the largest number.
std::string CheckBytes(const std::string& value) {
  std::size_t bytes = 0;
  const char* const end = value.data() + value.size();
  const auto [rest, error] = std::from_chars(value.data(), end, bytes);
  return error != std::errc() || rest != end ? value + ": not a number of bytes" : "";
}

void AddRunOptions(CLI::App& command, host::LiveHost::Options& options) {
  command.footer(
      "Type help for the steps. The host ends at the end of the input (Ctrl-D), at exit, on "
      "SIGINT\n"
      "and on SIGTERM. SIGHUP reloads the plug-in. NO_COLOR disables colours.");
  command
      .add_option("--state", options.session.stateFile,
                  "Keep the agent's state in this file, and its previous version in FILE.backup; "
                  "without it, the state is not saved")
      ->type_name("FILE")
      ->check(CheckName);
  command
      .add_option("--listen", options.listen,
                  "Serve the pages there: a loopback address with a port (0 for any free port), or "
                  "none")
      ->type_name("ADDRESS:PORT")
      ->check(CheckListen)
      ->capture_default_str();
  command
      .add_option("--allow-host", options.proxyNames,
                  "Also serve the pages under this host name, the one of a reverse proxy")
      ->type_name("NAME")
      ->check(CheckProxyName);
  command.add_flag("--no-console", options.isService,
                   "Run as a service: read no steps, and write only log records and failures");
  command
      .add_option("--log-level", options.session.logLevel,
                  "The root logger's level; INFO if no option sets it")
      ->type_name("LEVEL")
      ->check(CLI::IsMember(
          std::vector<std::string>(std::begin(qx::kLogLevels), std::end(qx::kLogLevels))));
  command
      .add_option("--max-state", options.session.mostStateSize,
                  "Refuse a page's step that may take the state above this size")
      ->type_name("BYTES")
      ->check(CheckBytes)
      ->capture_default_str();
  command
      .add_option("--log-config", options.session.logConfig,
                  "Configure the log by this property file of log4cplus")
      ->type_name("FILE")
      ->check(CLI::Validator(CLI::ExistingFile).description(""));  // the type name says it
}

void AddReplayOptions(CLI::App& command, host::ReplayOptions& options) {
  command.footer("A file passes if the lines that the host prints are those in the file.");
  command.add_option("FILE", options.files, "Scenario files")->type_name("")->required();
  command.add_flag("--update", options.update, "Rewrite the expected lines of the files");
  command.add_flag("--show", options.show, "Print every line as it happens");
  command.add_option("--junit", options.junitFile, "Write the results for a CI system")
      ->type_name("FILE")
      ->check(CheckName);
}

void AddCommonOptions(CLI::App& command, std::string& plugin, bool& isVerbose) {
  command.add_option("--plugin", plugin, "The library to load")
      ->type_name("FILE")
      ->check(CheckName)
      ->capture_default_str();
  command.add_flag("--verbose", isVerbose, "Also print registrations, bindings and timers");
}

/// Prints why the arguments are wrong; without arguments, how to use the program.
int RefuseArguments(const CLI::App& app, const CLI::ParseError& error, int argc, char** argv) {
  if (argc <= 1) {
    std::cerr << app.help();
    return kUsageError;
  }
  const auto commands = app.get_subcommands();
  std::string fault = error.what();
  if (commands.empty()) fault = std::string(argv[1]) + " is no command; there are replay and run";
  const std::string name = commands.empty() ? "" : commands.front()->get_name() + ' ';
  std::cerr << "error: " << host::ToOneLine(fault) << "; see guest-services-host " << name
            << "--help\n";
  return kUsageError;
}

bool Replay(const std::string& plugin, const host::ReplayOptions& options) {
  setenv("TZ", "UTC", 1);
  tzset();
  const host::PluginLibrary library(plugin);
  return host::ReplayFiles(library, options, std::cout);
}

/// Opens /dev/null in the place of closed standard files, so that no other file gets their numbers.
/// Reading it gives the end of the input, and writing to it fails.
void OccupyStandardFiles() {
  for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file) {
    if (fcntl(file, F_GETFD) < 0) open("/dev/null", O_RDONLY);
  }
}

int Run(int argc, char** argv) {
  CLI::App app("Loads the Guest Services plug-in as the controller's host does, and drives it.");
  app.set_version_flag("--version", "guest-services-host " VERSION);
  app.require_subcommand(1);
  app.footer(
      "Examples:\n"
      "  guest-services-host run                      a console, and pages in the browser\n"
      "  guest-services-host run --state hotel.xml    keeps the state in that file\n"
      "  guest-services-host replay scenarios/*.txt   runs the steps of these files\n"
      "  guest-services-host run --help               lists the options of a command");
  std::string plugin = GetDefaultPlugin();

  host::ReplayOptions replay;
  CLI::App* const replayCommand = app.add_subcommand(
      "replay", "Replay scenario files and compare what happens with what they expect");
  AddReplayOptions(*replayCommand, replay);
  AddCommonOptions(*replayCommand, plugin, replay.verbose);

  host::LiveHost::Options live;
  live.session.plugin = plugin;
  CLI::App* const runCommand =
      app.add_subcommand("run",
                         "Run the agent as in a property: on the real clock, with a console "
                         "and pages in the browser");
  AddRunOptions(*runCommand, live);
  AddCommonOptions(*runCommand, live.session.plugin, live.session.verbose);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const bool isWrong = error.get_exit_code() != EXIT_SUCCESS;  // --help and --version are not
    return isWrong ? RefuseArguments(app, error, argc, argv) : app.exit(error);
  }

  const bool isGood = replayCommand->parsed() ? Replay(plugin, replay) : host::LiveHost(live).Run();
  const bool isPrinted = std::cout.flush() && std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  if (!isPrinted) throw std::runtime_error("cannot write to the standard output");
  return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  OccupyStandardFiles();
  std::signal(SIGXFSZ, SIG_IGN);  // a write beyond the limit of file sizes fails instead
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    const std::string line = "error: " + host::ToOneLine(error.what());
    std::cerr << *host::ToServiceLog(line, host::IsJournal(STDERR_FILENO)) << '\n';
    return EXIT_FAILURE;
  }
}

// The program: steps that are made up, carried out by the plug-in and by the model, and compared.
#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>

#include "host/PluginLibrary.h"
#include "tests/simulator/Simulation.h"

namespace {

struct Options {
  std::uint64_t seed = std::random_device()();
  std::uint64_t steps = std::numeric_limits<std::uint64_t>::max();
  double seconds = 3600;
  std::string file = "simulation.txt";
};

void Report(const simulator::Simulation& simulation, const Options& options,
            const simulator::Stream& found) {
  const auto stream = simulation.Shrink(found);
  std::ofstream file(options.file, std::ios::binary | std::ios::trunc);
  file << simulation.ToScenario(stream, "Seed " + std::to_string(options.seed) + ", shrunk.");
  file.close();
  if (!file) throw std::runtime_error("cannot write " + options.file);
  std::cout << "a difference; " << found.size() << " steps are shrunk to " << stream.size()
            << ":\n";
  for (const std::string& step : stream) std::cout << "> " << step << '\n';
  std::cout << "to see it: guest-services-host replay " << options.file << '\n';
}

/// Whether all was as the model says.
bool Simulate(const Options& options) {
  using Clock = std::chrono::steady_clock;
  constexpr std::uint64_t kStreamLength = 200;  // short lists, and many of them
  const host::PluginLibrary plugin(PLUGIN_PATH);
  simulator::Simulation simulation(plugin);
  const auto start = Clock::now();
  const auto getSeconds = [&] {
    return std::chrono::duration<double>(Clock::now() - start).count();
  };
  std::uint64_t steps = 0;
  for (std::uint64_t seed = options.seed; steps < options.steps && getSeconds() < options.seconds;
       ++seed, steps += kStreamLength) {
    if (const auto found = simulation.Run(seed, kStreamLength)) {
      Report(simulation, options, *found);
      return false;
    }
  }
  constexpr double kSecondsPerWeek = 7.0 * 24 * 3600;
  const double weeks = static_cast<double>(simulation.GetVirtualSeconds()) / kSecondsPerWeek;
  std::cout << steps << " steps and " << simulation.GetLineCount() << " lines were as expected, "
            << static_cast<double>(steps) / getSeconds() << " steps and " << weeks / getSeconds()
            << " weeks a second\n";
  return true;
}

int Run(int argc, char** argv) {
  CLI::App app(
      "Has the Guest Services plug-in and a model of it carry out the same made-up steps.");
  Options options;
  app.add_option("--seed", options.seed, "Where the steps come from; any, if it is not given");
  app.add_option("--steps", options.steps, "How many steps to carry out at most");
  app.add_option("--seconds", options.seconds, "How long to go on at most")->capture_default_str();
  app.add_option("--file", options.file, "Where to write the scenario that shows a difference")
      ->capture_default_str();
  CLI11_PARSE(app, argc, argv);
  std::cout << "seed " << options.seed << std::endl;  // at once: a crash must not hide it
  return Simulate(options) ? EXIT_SUCCESS : EXIT_FAILURE;
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

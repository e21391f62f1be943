#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/PluginLibrary.h"
#include "tests/simulator/Model.h"

namespace simulator {

/// Steps, in their order.
using Stream = std::vector<std::string>;

/// Runs streams of steps with the plug-in and with the model side by side.
class Simulation {
 public:
  using MakeModel = std::function<std::unique_ptr<Model>()>;

  /// `plugin` must outlive the simulation. The process's time zone is UTC from then on.
  explicit Simulation(
      const host::PluginLibrary& plugin,
      MakeModel makeModel = [] { return std::make_unique<Model>(); });

  /// Makes up a stream from the seed, of `length` steps at most, and runs it with a new agent.
  /// Returns nothing if every line was as the model says, else the stream up to the step that had
  /// other lines.
  std::optional<Stream> Run(std::uint64_t seed, std::size_t length);

  /// What is left of a stream that differs when no step, and no parameter of one, can be taken out
  /// of it without the difference going, too.
  Stream Shrink(Stream stream) const;

  /// A scenario file that expects what the model says.
  std::string ToScenario(const Stream& stream, const std::string& comment) const;

  /// How much went by on the clock of the agents, in seconds, and how many lines were compared.
  std::int64_t GetVirtualSeconds() const { return virtualSeconds_; }
  std::uint64_t GetLineCount() const { return lineCount_; }

 private:
  class Pair;

  bool Differs(const Stream& stream) const;
  /// Takes steps out if the difference stays.
  bool TakeOut(Stream& stream, std::size_t at, std::size_t count) const;
  void TakeOutParams(Stream& stream, std::size_t at) const;

  const host::PluginLibrary& plugin_;
  MakeModel makeModel_;
  std::int64_t virtualSeconds_ = 0;
  std::uint64_t lineCount_ = 0;
};

}  // namespace simulator

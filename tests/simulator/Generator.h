#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>

#include "tests/simulator/Model.h"

namespace simulator {

/// Makes up steps: the same ones from the same seed, on every machine.
class Generator {
 public:
  explicit Generator(std::uint64_t seed) : random_(seed) {}

  /// The next step. Most of the ids in it are in the model.
  std::string Next(const Model& model);

 private:
  /// A text with each {rule} in it replaced; steps.txt says how.
  std::string Expand(std::string_view text);
  std::string Apply(std::string_view rule);

  // Rules that are no tables
  std::string KnownId() { return AnyOf(&Service::id); }
  std::string KnownItem() { return AnyOf(&Service::target); }
  std::string AnyOf(std::uint32_t Service::*field);
  std::string Order();
  std::string Moment();
  std::string Date();
  std::string OddText();
  std::string Blank() { return " "; }

  std::uint32_t Below(std::size_t limit) { return static_cast<std::uint32_t>(random_() % limit); }

  std::mt19937_64 random_;
  const Model* model_ = nullptr;  // while `Next` runs
};

}  // namespace simulator

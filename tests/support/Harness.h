#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/engine/Clock.h"
#include "host/engine/CmdMessage.h"
#include "host/engine/Host.h"
#include "host/engine/HostCall.h"
#include "host/engine/PluginLibrary.h"
#include "tests/support/Plugin.h"

namespace test {

using Entries = std::vector<std::string>;  // the persisted list, an element each

/// How far an agent's life has come.
enum class Stage { kNone, kCreated, kInitialized, kRunning };

/// 2024-03-01 09:00:00 UTC, in seconds since 1970.
constexpr std::int64_t kStart = 1709283600;

/// A host with an agent of the built plug-in, for tests, fuzz targets and benchmarks. The process's
/// time zone is UTC from then on. It ignores the calls that the agent makes; a class that derives
/// from it can observe them.
class Harness : private host::IHostListener {
 public:
  /// The clock stands still at `now`, in seconds since 1970. `plugin` must outlive the harness.
  Harness(std::int64_t now, const char* logLevel, const host::PluginLibrary& plugin = GetPlugin());
  ~Harness() override = default;

  /// Takes the agent on to a stage; its list is `state`'s if it is initialized on the way. A state
  /// that does not parse is no state.
  void Start(Stage to, const std::string& state);
  /// Ends the agent's life; returns what it has left registered.
  std::string Stop();
  /// Has the timer expire without moving the wall clock.
  void Sweep();
  /// Hands over a command, or a request if "ui" stands before it, written as a scenario's step.
  /// Returns the answer.
  std::string Run(const std::string& step);

  /// The list as the agent would persist it; empty without an agent.
  Entries GetEntries();
  /// The ids of that list. Throws `std::runtime_error` for an entry that has none.
  std::vector<unsigned int> GetIds();

  host::Host& GetHost() { return host_; }
  host::ManualClock& GetClock() { return clock_; }

 private:
  void OnHostCall(const host::HostCall&) override {}

  const host::PluginLibrary& plugin_;
  Stage stage_ = Stage::kNone;
  host::ManualClock clock_;
  host::Host host_;
};

}  // namespace test

#pragma once

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/engine/Clock.h"
#include "host/engine/Host.h"
#include "host/engine/HostCall.h"
#include "host/engine/PluginLibrary.h"

namespace test {

using Entries = std::vector<std::string>;  // the persisted list, an element each

/// How far an agent's life has come.
enum class Stage { kNone, kCreated, kInitialized, kRunning };

/// Five services: two with requests whose time has run out, one without a request, two shortcuts.
extern const char* const kFiveServices;

/// A host with an agent. Every log record is wanted, and a forwarder is there.
class World : private host::IHostListener {
 public:
  /// `plugin` must outlive the world. Its wall clock stands still.
  World(const host::PluginLibrary& plugin, Stage stage);
  ~World() override = default;

  /// Takes the agent on to a stage; its list is `state`'s if it is initialized on the way.
  void Start(Stage to, const char* state = kFiveServices);
  /// Ends the agent's life; returns what it has left registered.
  std::string Stop();
  /// Has the timer expire.
  void Sweep();
  /// Hands over a command, or a request if "ui" stands before it, written as a scenario's step.
  /// Returns the answer.
  std::string Run(const std::string& step);

  /// The list as the agent would persist it; empty without an agent.
  Entries GetEntries();
  /// The guest services that a device knows of, which heard of all before the start.
  const std::set<unsigned int>& GetKnownToDevices() const { return knownToDevices_; }
  /// The events that were fired since the last call.
  std::vector<unsigned int> TakeFiredEvents() { return std::exchange(firedEvents_, {}); }
  bool WasLastCallToArm() const { return wasLastCallToArm_; }
  host::Host& GetHost() { return host_; }

  /// Called from inside each call that the agent makes of the host, before it is carried out, but
  /// not from inside those that follow from what it does itself.
  std::function<void(const host::HostCall& call)> onHostCall;

 private:
  void OnHostCall(const host::HostCall& call) override;

  const host::PluginLibrary& plugin_;
  Stage stage_ = Stage::kNone;
  host::ManualClock clock_;
  std::set<unsigned int> knownToDevices_ = {1, 2, 4};
  std::vector<unsigned int> firedEvents_;
  bool wasLastCallToArm_ = false;
  bool isInside_ = false;
  host::Host host_;
};

/// Something that is done to an agent.
struct Act {
  std::string name;
  std::function<void(World& world)> run;
  Stage stage = Stage::kRunning;  // the agent's before it
  bool isPiecewise = false;       // changes the list entry by entry, from the first to the last

  /// Whether it makes a new entry of a running agent's list; doing it twice makes two.
  bool Adds() const { return name.rfind("ADD_SERVICE", 0) == 0; }
};

/// Every command, query, event and step of an agent's life but its end.
const std::vector<Act>& GetActs();

/// Expects that ids are unique and that a service can be added, requested, cancelled, listed and
/// removed, which leaves the list as it was.
void ExpectUsable(World& world);

}  // namespace test

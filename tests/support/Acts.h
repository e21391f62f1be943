#pragma once

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/Harness.h"

namespace test {

/// Five services: two with requests whose time has run out, one without a request, two shortcuts.
extern const char* const kFiveServices;

/// A harness that keeps what the agent tells others. Every log record is wanted, and a forwarder is
/// there.
class World : public Harness {
 public:
  /// `plugin` must outlive the world.
  explicit World(Stage stage, const host::PluginLibrary& plugin = GetPlugin());

  /// Takes the agent on to a stage; its list is `state`'s if it is initialized on the way.
  void Start(Stage to, const char* state = kFiveServices) { Harness::Start(to, state); }

  /// The guest services that a device knows of, which heard of all before the start.
  const std::set<unsigned int>& GetKnownToDevices() const { return knownToDevices_; }
  /// The events that were fired since the last call.
  std::vector<unsigned int> TakeFiredEvents() { return std::exchange(firedEvents_, {}); }
  bool WasLastCallToArm() const { return wasLastCallToArm_; }

  /// Called from inside each call that the agent makes of the host, before it is carried out, but
  /// not from inside those that follow from what it does itself.
  std::function<void(const host::HostCall& call)> onHostCall;

 private:
  void OnHostCall(const host::HostCall& call) override;

  std::set<unsigned int> knownToDevices_ = {1, 2, 4};
  std::vector<unsigned int> firedEvents_;
  bool wasLastCallToArm_ = false;
  bool isInside_ = false;
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

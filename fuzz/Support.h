#pragma once

#include <string>
#include <vector>

#include "host/engine/Clock.h"
#include "host/engine/CmdMessage.h"
#include "host/engine/Host.h"
#include "host/engine/PluginLibrary.h"

namespace fuzz {

/// The built plug-in, loaded once. The process's time zone is UTC from then on.
const host::PluginLibrary& GetPlugin();

/// Ends the process with `what` as the finding, unless `holds`.
void Require(bool holds, const std::string& what);

/// Requires that libxml2's strict parser accepts the text.
void RequireWellFormed(const std::string& text);

/// Requires that a transcript's line is one, and that the XML in it is well-formed.
void RequireSound(const std::string& line);

/// The ids of the entries of a "guest_services" text, in their order.
std::vector<unsigned int> IdsOf(const std::string& list);

bool AreUnique(std::vector<unsigned int> ids);

/// A host with an agent, on a clock that starts at 2024-03-01 09:00:00 UTC. Every text that the
/// agent hands out is required to be well-formed. What no input may make the agent throw ends the
/// process.
class Agent : private host::IHostListener {
 public:
  Agent();

  /// Starts an agent in place of the one that there may be, which must leave nothing registered. A
  /// state that does not parse is none, and an entry that cannot be read ends the reading.
  void Start(const std::string& state);
  /// Starts an agent with the state of the one before, which must come back as it was.
  void Restart();

  /// Hands over a command; returns whether the agent carried it out: it may be unknown, or an order
  /// or a date in it may not be readable.
  bool Execute(const host::CmdMessage& message);
  /// The same as a user interface's request.
  bool Request(const host::CmdMessage& message);
  /// The text of the state to persist.
  std::string Persist();

  host::Host& GetHost() { return host_; }
  host::ManualClock& GetClock() { return clock_; }

 private:
  void OnHostCall(const host::HostCall& call) override;

  host::ManualClock clock_;
  host::Host host_;
};

}  // namespace fuzz

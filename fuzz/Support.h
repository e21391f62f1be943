#pragma once

#include <string>
#include <vector>

#include "tests/support/Harness.h"

namespace fuzz {

/// Ends the process with `what` as the finding, unless `holds`.
void Require(bool holds, const std::string& what);

/// Requires that libxml2's strict parser accepts the text.
void RequireWellFormed(const std::string& text);

/// Requires that a transcript's line is one, and that the XML in it is well-formed.
void RequireSound(const std::string& line);

bool AreUnique(std::vector<unsigned int> ids);

/// A harness that requires every text that the agent hands out to be well-formed. What no input may
/// make the agent throw ends the process.
class Agent : public test::Harness {
 public:
  Agent() : Harness(test::kStart, "DEBUG") {}

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

 private:
  void OnHostCall(const host::HostCall& call) override;
};

}  // namespace fuzz

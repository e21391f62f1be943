#pragma once

#include <string>
#include <vector>

#include "host/engine/Clock.h"
#include "host/session/Session.h"

namespace fuzz {

/// Ends the process with `what` as the finding, unless `holds`.
void Require(bool holds, const std::string& what);

/// Requires that a transcript's line is one, and that libxml2's strict parser accepts the XML in
/// it.
void RequireSound(const std::string& line);

/// A session that requires of every step that its lines are sound, that ids stay unique, that a
/// step that fails changes nothing, and that a restart brings the same list back.
class CheckedSession {
 public:
  CheckedSession();

  /// Carries out a step, given without the "> " before it.
  void Run(const std::string& step);

 private:
  using Lines = std::vector<std::string>;

  Lines RunStep(const std::string& step);

  host::ManualClock clock_;
  Lines lines_;
  host::Session session_;
  std::string list_;      // the answer to the last "persist"
  bool isUnique_ = true;  // whether its ids must be
};

}  // namespace fuzz

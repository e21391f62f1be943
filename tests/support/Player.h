#pragma once

#include <string>

#include "host/Clock.h"
#include "host/PluginLibrary.h"
#include "host/Session.h"

namespace test {

/// The built plug-in, loaded once.
const host::PluginLibrary& GetPlugin();

/// A session with the built plug-in on a manual clock that starts at 2024-03-01 09:00:00 UTC.
class Player {
 public:
  Player();

  /// Carries out steps, one a line, and returns what followed them, one line each.
  std::string Play(const std::string& steps);

  host::ManualClock& GetClock() { return clock_; }
  host::Session& GetSession() { return session_; }

 private:
  host::ManualClock clock_;
  std::string lines_;
  host::Session session_;
};

/// The same with a new session.
std::string Play(const std::string& steps);

}  // namespace test

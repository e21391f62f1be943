#pragma once

#include <string>

#include "host/engine/Clock.h"
#include "host/engine/CmdMessage.h"
#include "host/engine/Host.h"

namespace bench {

/// The built plug-in, loaded once.
const host::PluginLibrary& GetPlugin();

/// Hears of every call and does nothing.
class SilentListener : public host::IHostListener {
 public:
  void OnHostCall(const host::HostCall&) override {}
};

/// An agent of the built plug-in, with logging off, on a clock that stands still.
struct RunningAgent {
  explicit RunningAgent(const std::string& state, const host::PluginLibrary& plugin = GetPlugin());

  /// Has the timer expire without moving the time of day.
  void Sweep();

  host::ManualClock clock;
  SilentListener listener;
  host::Host host;
};

/// A "SEND_REQUEST_EVENT" or "SEND_CANCEL_EVENT" for a service.
host::CmdMessage MakeCommand(const char* name, std::size_t id);

}  // namespace bench

#pragma once

#include <string>

#include "tests/support/Harness.h"

namespace bench {

/// A harness with a running agent, at the moment of its services' requests; with logging off.
struct RunningAgent : test::Harness {
  explicit RunningAgent(const std::string& state,
                        const host::PluginLibrary& plugin = test::GetPlugin());
};

/// A "SEND_REQUEST_EVENT" or "SEND_CANCEL_EVENT" for a service.
host::CmdMessage MakeCommand(const char* name, std::size_t id);

}  // namespace bench

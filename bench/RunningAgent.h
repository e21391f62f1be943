#pragma once

#include <string>

#include "tests/support/Harness.h"

namespace bench {

/// When the services were requested, in seconds since 1970-01-01 00:00:00 UTC; the time zone is
/// UTC. The delays run out an hour later.
constexpr long kRequestTime = 1709370307;

/// A harness with a running agent, at the moment of its services' requests; with logging off.
struct RunningAgent : test::Harness {
  explicit RunningAgent(const std::string& state,
                        const host::PluginLibrary& plugin = test::GetPlugin());
};

/// A "SEND_REQUEST_EVENT" or "SEND_CANCEL_EVENT" for a service.
host::CmdMessage MakeCommand(const char* name, std::size_t id);

}  // namespace bench

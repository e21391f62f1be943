#include "bench/RunningAgent.h"

namespace bench {

RunningAgent::RunningAgent(const std::string& state, const host::PluginLibrary& plugin)
    : Harness(kRequestTime, "OFF", plugin) {
  Start(test::Stage::kRunning, state);
}

host::CmdMessage MakeCommand(const char* name, std::size_t id) {
  return host::CmdMessage(name, {{"id", std::to_string(id)}, {"operarequest", "HK000001"}});
}

}  // namespace bench

#include "bench/RunningAgent.h"

#include <cstdlib>

#include "bench/Property.h"

namespace bench {

const host::PluginLibrary& GetPlugin() {
  static const host::PluginLibrary plugin(PLUGIN_PATH);
  return plugin;
}

RunningAgent::RunningAgent(const std::string& state, const host::PluginLibrary& plugin)
    : clock(kRequestTime), host(clock, listener) {
  setenv("TZ", "UTC", 1);
  qx::SetLogLevel("OFF");
  host.Create(plugin);
  host.Initialize(qx::CreateXmlDocument(state)->GetRoot());
  host.LateInitialize();
}

void RunningAgent::Sweep() {
  constexpr std::int64_t kPeriod = 30'000;
  clock.Advance(kPeriod);
  clock.SetWall(std::int64_t{kRequestTime} * 1000);
  host.DeliverExpiry();
}

host::CmdMessage MakeCommand(const char* name, std::size_t id) {
  return host::CmdMessage(name, {{"id", std::to_string(id)}, {"operarequest", "HK000001"}});
}

}  // namespace bench

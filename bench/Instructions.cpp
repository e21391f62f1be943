// Fixed work for the instruction counter, which writes each region's count under its name.
#include <valgrind/callgrind.h>

#include <cstdio>

#include "bench/Property.h"
#include "bench/RunningAgent.h"

namespace {

template <typename Work>
void Count(const char* name, const Work& work) {
  constexpr int kRepetitions = 10;
  work();  // resolves the symbols, which does not count
  CALLGRIND_START_INSTRUMENTATION;
  CALLGRIND_ZERO_STATS;
  for (int i = 0; i < kRepetitions; ++i) work();
  CALLGRIND_DUMP_STATS_AT(name);
  CALLGRIND_STOP_INSTRUMENTATION;
}

}  // namespace

int main() {
  constexpr std::size_t kServices = 1'000;
  const std::string& state = bench::GetState(kServices);
  Count("start", [&] { const bench::RunningAgent started(state); });
  bench::RunningAgent agent(state);
  const host::CmdMessage request = bench::MakeCommand("SEND_REQUEST_EVENT", kServices);
  const host::CmdMessage cancel = bench::MakeCommand("SEND_CANCEL_EVENT", kServices);
  const host::CmdMessage query("GET_ALL_SERVICES", {});
  Count("request", [&] {
    agent.GetHost().Execute(request, nullptr);
    agent.GetHost().Execute(cancel, nullptr);
  });
  Count("sweep", [&] { agent.Sweep(); });
  Count("reply", [&] {
    host::CmdReturn reply;
    agent.GetHost().Execute(query, &reply);
  });
}

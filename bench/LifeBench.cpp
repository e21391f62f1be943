// The time from loading the plug-in to a running agent, and the heap that the agent holds.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <optional>

#include "bench/Heap.h"
#include "bench/Property.h"
#include "bench/RunningAgent.h"
#include "services/GuestService.h"

namespace bench {
namespace {

void LoadToRunning(benchmark::State& state) {
  const std::string& text = GetState(static_cast<std::size_t>(state.range(0)));
  std::optional<host::PluginLibrary> plugin;
  std::optional<RunningAgent> agent;
  for (auto _ : state) {
    state.PauseTiming();
    agent.reset();
    plugin.reset();
    state.ResumeTiming();
    plugin.emplace(PLUGIN_PATH);  // from a copy: the harness has the file loaded
    agent.emplace(text, *plugin);
  }
}
BENCHMARK(LoadToRunning)->Name("load/agent")->Arg(100);

// malloc keeps freed memory. Otherwise the cases that ran before would decide whether a case asks
// the kernel for its memory in every iteration.
const bool kMemoryIsKept = [] {
  constexpr int kOneGigabyte = 1 << 30;
  return mallopt(M_MMAP_THRESHOLD, kOneGigabyte) != 0 &&
         mallopt(M_TRIM_THRESHOLD, kOneGigabyte) != 0;
}();

void HeapPerService(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  double bytes = 0;
  for (auto _ : state) bytes = MeasureHeapPerService(count);
  const Record record = MakeRecords(1).front();
  const std::size_t texts =
      record.name.size() + record.description.size() + record.operarequest.size();
  state.counters["bytes"] = bytes;
  state.counters["texts_and_fields"] = static_cast<double>(texts + sizeof(GuestService));
}
BENCHMARK(HeapPerService)->Name("heap/agent")->Arg(1'000)->Iterations(1);

}  // namespace
}  // namespace bench

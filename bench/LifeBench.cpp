// What an agent takes to come to life, and to keep its list.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <optional>

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
    plugin.emplace(PLUGIN_PATH);
    agent.emplace(text, *plugin);
  }
}
BENCHMARK(LoadToRunning)->Name("load/agent")->Arg(100);

// Memory that has been freed stays with the process. Else whether a case pays the kernel for its
// memory every time depends on which cases ran before it.
const bool kMemoryIsKept = [] {
  constexpr int kOneGigabyte = 1 << 30;
  return mallopt(M_MMAP_THRESHOLD, kOneGigabyte) != 0 &&
         mallopt(M_TRIM_THRESHOLD, kOneGigabyte) != 0;
}();

/// What of the heap is in use while an agent has a list of that many services.
std::size_t HeapOfAgent(std::size_t count) {
  const std::string& state = GetState(count);
  const std::size_t before = mallinfo2().uordblks;
  const RunningAgent agent(state);
  return mallinfo2().uordblks - before;
}

void HeapPerService(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  constexpr std::size_t kFew = 10;
  std::size_t bytes = 0;
  for (auto _ : state) bytes = HeapOfAgent(count) - HeapOfAgent(kFew);
  const Record record = MakeRecords(1).front();
  const std::size_t texts =
      record.name.size() + record.description.size() + record.operarequest.size();
  state.counters["bytes"] = static_cast<double>(bytes) / static_cast<double>(count - kFew);
  state.counters["texts_and_fields"] = static_cast<double>(texts + sizeof(GuestService));
}
BENCHMARK(HeapPerService)->Name("heap/agent")->Arg(1'000)->Iterations(1);

}  // namespace
}  // namespace bench

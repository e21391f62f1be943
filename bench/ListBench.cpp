// The commands that walk the list: a request with its cancellation, and the sweep.
#include <benchmark/benchmark.h>

#include <boost/make_shared.hpp>

#include "bench/Property.h"
#include "bench/RunningAgent.h"
#include "services/GuestService.h"

namespace bench {
namespace {

/// A list as the agent has one, made as the agent makes it.
std::vector<GuestServiceBase::Ptr> MakeList(std::size_t count) {
  std::vector<GuestServiceBase::Ptr> list;
  const auto root = qx::CreateXmlDocument(GetState(count))->GetRoot();
  auto* const children = root->GetIterator();
  for (auto child = children->GetFirst(); child; child = children->GetNext()) {
    GuestServiceBase::Ptr service = boost::make_shared<GuestService>();
    service->FromXml(child);
    list.push_back(service);
  }
  return list;
}

void RequestAndCancel(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  RunningAgent agent(GetState(count));
  const host::CmdMessage request = MakeCommand("SEND_REQUEST_EVENT", count);
  const host::CmdMessage cancel = MakeCommand("SEND_CANCEL_EVENT", count);
  for (auto _ : state) {
    agent.GetHost().Execute(request, nullptr);
    agent.GetHost().Execute(cancel, nullptr);
  }
}
BENCHMARK(RequestAndCancel)->Name("request/agent")->RangeMultiplier(10)->Range(100, 10'000);

void WalkTwice(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const std::vector<GuestServiceBase::Ptr> list = MakeList(count);
  for (auto _ : state) {
    for (int i = 0; i < 2; ++i) {
      auto id = static_cast<unsigned int>(count);
      benchmark::DoNotOptimize(id);
      auto service = list.begin();
      while (service != list.end() && (*service)->id != id) ++service;
      benchmark::DoNotOptimize(service);
    }
  }
}
BENCHMARK(WalkTwice)->Name("request/walk")->RangeMultiplier(10)->Range(100, 10'000);

void Sweep(benchmark::State& state) {
  RunningAgent agent(GetState(static_cast<std::size_t>(state.range(0))));
  agent.Sweep();
  for (auto _ : state) agent.Sweep();
}
BENCHMARK(Sweep)->Name("sweep/agent")->RangeMultiplier(10)->Range(100, 100'000);

bool IsAnyDue(const std::vector<GuestServiceBase::Ptr>& list, std::int64_t now) {
  bool due = false;
  for (const GuestServiceBase::Ptr& entry : list) {
    const auto* const service = dynamic_cast<const GuestService*>(entry.get());
    if (service == nullptr || service->delay == -1 || service->state != STATE_REQUESTED) continue;
    due |= now >= service->request_time.GetTime() + std::int64_t{60} * service->delay;
  }
  return due;
}

void LoopOfSweep(benchmark::State& state) {
  const auto list = MakeList(static_cast<std::size_t>(state.range(0)));
  if (IsAnyDue(list, kRequestTime)) return state.SkipWithError("one is due");
  for (auto _ : state) benchmark::DoNotOptimize(IsAnyDue(list, kRequestTime));
}
BENCHMARK(LoopOfSweep)->Name("sweep/loop")->RangeMultiplier(10)->Range(100, 100'000);

}  // namespace
}  // namespace bench

// From records to the text of the reply, and from the text of the state to a running list.
#include <benchmark/benchmark.h>

#include <optional>

#include "bench/Peers.h"
#include "bench/Property.h"
#include "bench/RunningAgent.h"

namespace bench {
namespace {

void ReplyByAgent(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  RunningAgent agent(GetState(count));
  const host::CmdMessage message("GET_ALL_SERVICES", {});
  host::CmdReturn reply;
  agent.GetHost().Execute(message, &reply);
  if (reply.GetValue() != GetReply(count)) return state.SkipWithError("another text");
  for (auto _ : state) {
    host::CmdReturn answer;
    agent.GetHost().Execute(message, &answer);
    benchmark::DoNotOptimize(answer);
  }
}

void Write(benchmark::State& state, std::string (*write)(const std::vector<Record>&)) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const std::vector<Record> records = MakeRecords(count);
  if (write(records) != GetReply(count)) return state.SkipWithError("another text");
  for (auto _ : state) benchmark::DoNotOptimize(write(records));
}

// Each start needs an agent of its own. Its construction and destruction are not measured.
void StartAgent(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const std::string& text = GetState(count);
  if (RunningAgent(text).GetHost().Persist()->OuterXml() != text) {
    return state.SkipWithError("another list");
  }
  std::optional<test::Harness> agent;
  for (auto _ : state) {
    state.PauseTiming();
    agent.reset();
    agent.emplace(kRequestTime, "OFF");
    agent->Start(test::Stage::kCreated, "");
    state.ResumeTiming();
    agent->Start(test::Stage::kRunning, text);
  }
}

void Parse(benchmark::State& state, std::size_t (*parse)(const std::string&)) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const std::string& text = GetState(count);
  if (parse(text) != count) return state.SkipWithError("another document");
  for (auto _ : state) benchmark::DoNotOptimize(parse(text));
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->RangeMultiplier(10)->Range(100, 10'000);
}

const bool kRegistered = [] {
  Sizes(benchmark::RegisterBenchmark("reply/agent", ReplyByAgent));
  Sizes(benchmark::RegisterBenchmark("reply/append", Write, AppendReply));
  Sizes(benchmark::RegisterBenchmark("start/agent", StartAgent));
  for (const Peer& peer : kPeers) {
    const std::string name = peer.name;
    Sizes(benchmark::RegisterBenchmark(("reply/" + name).c_str(), Write, peer.write));
    Sizes(benchmark::RegisterBenchmark(("start/" + name).c_str(), Parse, peer.parse));
  }
  return true;
}();

}  // namespace
}  // namespace bench

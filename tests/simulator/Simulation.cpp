#include "tests/simulator/Simulation.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <utility>

#include "host/Clock.h"
#include "host/Session.h"
#include "host/Step.h"
#include "host/Transcript.h"
#include "tests/simulator/Generator.h"

namespace simulator {
namespace {

constexpr std::int64_t kFirstMoment = 1709283600;  // where a replay begins, too

bool IsAdd(const std::string& step) { return step.rfind("ADD_SERVICE", 0) == 0; }

/// The step with lower ids, for services that were not added before.
std::string LowerIds(std::string step, int by) {
  constexpr std::string_view kKey = " id=";
  for (auto at = step.find(kKey); at != std::string::npos; at = step.find(kKey, at)) {
    at = std::min(step.find_first_not_of("\\\"", at + kKey.size()), step.size());
    const std::size_t end = std::min(step.find_first_not_of("0123456789", at), step.size());
    const int id = ReadNumber(step.substr(at, end - at));
    if (id > by) step.replace(at, end - at, std::to_string(id - by));
  }
  return step;
}

/// Without the parameter; nothing if the word is none.
std::optional<std::string> WithoutParam(host::Step step, std::size_t index) {
  if (step.words[index].key.empty()) return {};
  step.words.erase(step.words.begin() + static_cast<std::ptrdiff_t>(index));
  std::string shorter = step.name;
  for (const host::StepWord& word : step.words) {
    shorter += ' ' + (word.key.empty() ? "" : word.key + '=');
    shorter += word.isQuoted ? host::Quote(word.value) : word.value;
  }
  return shorter;
}

}  // namespace

/// An agent that was just started, and the model of it.
class Simulation::Pair {
 public:
  Pair(const host::PluginLibrary& plugin, std::unique_ptr<Model> model)
      : clock_(kFirstMoment),
        session_(plugin, clock_, [this](const std::string& line) { lines_.push_back(line); }),
        model_(std::move(model)) {
    session_.Start();
  }

  /// Whether the step has the same lines with both.
  bool Step(const std::string& step) {
    lines_.clear();
    session_.RunStep(step);
    lineCount_ += lines_.size();
    return lines_ == model_->Follow(step);
  }

  const Model& GetModel() const { return *model_; }
  std::int64_t GetVirtualSeconds() const { return clock_.Monotonic() / 1000; }
  std::uint64_t GetLineCount() const { return lineCount_; }

 private:
  host::ManualClock clock_;
  std::vector<std::string> lines_;
  host::Session session_;
  std::unique_ptr<Model> model_;
  std::uint64_t lineCount_ = 0;
};

Simulation::Simulation(const host::PluginLibrary& plugin, MakeModel makeModel)
    : plugin_(plugin), makeModel_(std::move(makeModel)) {
  setenv("TZ", "UTC", 1);
  tzset();
}

std::optional<Stream> Simulation::Run(std::uint64_t seed, std::size_t length) {
  Generator generator(seed);
  Pair pair(plugin_, makeModel_());
  Stream stream;
  bool isSame = true;
  while (isSame && stream.size() < length) {
    stream.push_back(generator.Next(pair.GetModel()));
    isSame = pair.Step(stream.back());
  }
  virtualSeconds_ += pair.GetVirtualSeconds();
  lineCount_ += pair.GetLineCount();
  if (isSame) return {};
  return stream;
}

bool Simulation::Differs(const Stream& stream) const {
  Pair pair(plugin_, makeModel_());
  return !std::all_of(stream.begin(), stream.end(),
                      [&](const std::string& step) { return pair.Step(step); });
}

bool Simulation::TakeOut(Stream& stream, std::size_t at, std::size_t count) const {
  const auto from = stream.begin() + static_cast<std::ptrdiff_t>(at);
  const auto to = from + static_cast<std::ptrdiff_t>(std::min(count, stream.size() - at));
  const auto adds = std::count_if(from, to, [](const std::string& step) { return IsAdd(step); });
  for (const bool lowersIds : {false, true}) {
    Stream rest(stream.begin(), from);
    for (auto step = to; step != stream.end(); ++step) {
      rest.push_back(lowersIds ? LowerIds(*step, static_cast<int>(adds)) : *step);
    }
    if (!Differs(rest)) continue;
    stream = std::move(rest);
    return true;
  }
  return false;
}

Stream Simulation::Shrink(Stream stream) const {
  // Large pieces first, then smaller ones; single steps until none can go.
  for (std::size_t size = stream.size() / 2; size > 0;) {
    bool isShorter = false;
    for (std::size_t at = 0; at < stream.size();) {
      const bool isOut = TakeOut(stream, at, size);
      isShorter = isShorter || isOut;
      if (!isOut) at += size;
    }
    if (size > 1 || !isShorter) size /= 2;
  }
  for (std::size_t at = 0; at < stream.size(); ++at) TakeOutParams(stream, at);
  return stream;
}

void Simulation::TakeOutParams(Stream& stream, std::size_t at) const {
  for (std::size_t word = host::ParseStep(stream[at]).words.size(); word-- > 0;) {
    const auto shorter = WithoutParam(host::ParseStep(stream[at]), word);
    Stream candidate = stream;
    candidate[at] = shorter.value_or(stream[at]);
    if (shorter && Differs(candidate)) stream = std::move(candidate);
  }
}

std::string Simulation::ToScenario(const Stream& stream, const std::string& comment) const {
  std::string text = "# " + comment + '\n';
  const auto model = makeModel_();
  for (const std::string& step : stream) {
    text += "> " + step + '\n';
    for (const std::string& line : model->Follow(step)) text += line + '\n';
  }
  return text;
}

}  // namespace simulator

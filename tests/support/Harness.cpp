#include "tests/support/Harness.h"

#include <cstdlib>
#include <ctime>
#include <stdexcept>

#include "host/session/Step.h"
#include "platform/HostLog.h"
#include "platform/Logger.h"

namespace test {
namespace {

/// Calls `visit` with each entry of the list that the agent would persist.
template <typename Visit>
void VisitEntries(host::Host& host, const Visit& visit) {
  if (!host.HasAgent()) return;
  const auto state = host.Persist();
  auto* const entries = state->GetIterator();
  for (auto entry = entries->GetFirst(); entry; entry = entries->GetNext()) visit(*entry);
}

}  // namespace

Harness::Harness(std::int64_t now, const char* logLevel, const host::PluginLibrary& plugin)
    : plugin_(plugin), clock_(now), host_(clock_, *this) {
  setenv("TZ", "UTC", 1);
  tzset();
  qx::Logger::initialize();
  qx::SetLogLevel(logLevel);
}

void Harness::Start(Stage to, const std::string& state) {
  while (stage_ < to) {
    if (stage_ == Stage::kNone) host_.Create(plugin_);
    if (stage_ == Stage::kCreated) {
      const auto document = qx::CreateXmlDocument(state);
      host_.Initialize(document ? document->GetRoot() : nullptr);
    }
    if (stage_ == Stage::kInitialized) host_.LateInitialize();
    stage_ = static_cast<Stage>(static_cast<int>(stage_) + 1);
  }
}

std::string Harness::Stop() {
  stage_ = Stage::kNone;
  return host_.Destroy();
}

void Harness::Sweep() {
  constexpr std::int64_t kTimerPeriod = 30'000;
  const std::int64_t now = clock_.Wall();
  clock_.Advance(kTimerPeriod);
  clock_.SetWall(now);
  host_.DeliverExpiry();
}

std::string Harness::Run(const std::string& text) {
  const host::Step step = host::ParseStep(text);
  host::CmdMessage::Params params;
  for (const auto& word : step.words) params.emplace(word.key, word.value);
  if (step.name == "ui") {
    const auto answer = host_.Request(host::CmdMessage(step.words.at(0).value, params));
    return answer ? answer->OuterXml() : "";
  }
  host::CmdReturn answer;
  host_.Execute(host::CmdMessage(step.name, params), &answer);
  return answer.GetValue().value_or("");
}

Entries Harness::GetEntries() {
  Entries entries;
  VisitEntries(host_, [&](const qx::XmlNode& entry) { entries.push_back(entry.OuterXml()); });
  return entries;
}

std::vector<unsigned int> Harness::GetIds() {
  std::vector<unsigned int> ids;
  VisitEntries(host_, [&](const qx::XmlNode& entry) {
    if (!entry.HasAttribute("id")) throw std::runtime_error("no id: " + entry.OuterXml());
    ids.push_back(static_cast<unsigned int>(entry.GetAttributeNumber("id")));
  });
  return ids;
}

}  // namespace test

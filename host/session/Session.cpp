#include "host/session/Session.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "host/session/Transcript.h"
#include "platform/HostLog.h"
#include "platform/Logger.h"
#include "platform/xml/XmlNode.h"

namespace host {
namespace {

constexpr const char* kFirstLogLevel = "INFO";

/// Throws unless the state of a new agent is of the kind of the previous one's.
void CheckRoot(const boost::shared_ptr<qx::XmlNode>& state,
               const boost::shared_ptr<qx::XmlNode>& previous) {
  if (!previous || (state && state->IsName(previous->GetName()))) return;
  throw std::runtime_error("the agent's state is " +
                           (state ? '<' + state->GetName() + '>' : "missing") + ", not <" +
                           previous->GetName() + '>');
}

}  // namespace

Session::Session(const PluginLibrary& plugin, Clock& clock, LineSink sink)
    : plugin_(&plugin), clock_(clock), sink_(std::move(sink)), host_(clock, *this) {
  qx::Logger::initialize();
  qx::SetLogLevel(kFirstLogLevel);
}

Session::~Session() {
  sink_ = [](const std::string&) {};  // the host destroys the agent
}

std::optional<Failure> Session::Start(const boost::shared_ptr<qx::XmlNode>& state) {
  if (auto failure = Guard([&] { host_.Create(*plugin_); })) return failure;
  auto failure = Guard([&] { host_.Initialize(state); });
  const auto later = Guard([&] { host_.LateInitialize(); });
  return failure ? failure : later;
}

std::optional<Failure> Session::Restart(const boost::shared_ptr<qx::XmlNode>& state) {
  const std::string left = host_.Destroy();
  if (!left.empty()) Report({"left registered: " + left});
  return Start(state);
}

std::optional<Failure> Session::Replace(const PluginLibrary& plugin) {
  const auto state = host_.HasAgent() ? CopyState() : nullptr;
  const PluginLibrary* const before = std::exchange(plugin_, &plugin);
  auto failure = Restart(state);
  if (!failure) failure = Guard([&] { CheckRoot(host_.Persist(), state); });
  if (failure) {
    plugin_ = before;
    Restart(state);
  }
  return failure;
}

boost::shared_ptr<qx::XmlNode> Session::CopyState() {
  const auto state = host_.Persist();
  return state ? ParseState(state->OuterXml()) : nullptr;
}

void Session::AdvanceTo(std::int64_t moment) {
  const auto advance = [&](std::int64_t to) {
    clock_.Advance(std::max<std::int64_t>(0, to - clock_.Monotonic()));
  };
  for (auto due = host_.GetNextDue(); due && *due <= moment; due = host_.GetNextDue()) {
    advance(*due);
    Guard([&] { host_.DeliverExpiry(); });
  }
  advance(moment);
}

void Session::Answer(const std::string& text) { sink_(FormatAnswer(text)); }

void Session::Report(const Failure& failure) { sink_(FormatError(failure.reason)); }

void Session::OnHostCall(const HostCall& call) {
  const auto* const assertion = std::get_if<Assertion>(&call);
  if (assertion != nullptr && logAssertion_) logAssertion_(*assertion);
  if (!verbose_ && IsVerbose(call)) return;
  const std::string line = FormatLine(call);
  if (!line.empty()) sink_(line);
}

std::optional<Failure> Session::Guard(const std::function<void()>& action) {
  auto failure = Try(action);
  if (failure) Report(*failure);
  return failure;
}

boost::shared_ptr<qx::XmlNode> ParseState(const std::string& text) {
  const auto document = qx::CreateXmlDocument(text);
  if (!document) throw std::runtime_error("the state does not parse");
  return document->GetRoot();
}

}  // namespace host

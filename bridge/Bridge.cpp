#include "bridge/Bridge.h"

#include <string_view>
#include <utility>
#include <variant>

namespace bridge {
namespace {

using boost::system::error_code;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kStopTime(2);
constexpr std::chrono::milliseconds kStopTick(10);

}  // namespace

Bridge::Bridge(boost::asio::io_context& io, const Options& options,
               const std::function<double()>& random)
    : options_(options),
      io_(io),
      room_(options.room, random),
      broker_(io, Complete(options.broker, room_.GetTopics()), MakeBrokerHandlers(), random, log_),
      hostBackoff_(random),
      hostRetry_(io),
      tick_(io) {}

BrokerClient::Options Bridge::Complete(BrokerClient::Options options, const Topics& topics) {
  // A fixed id: a broker that still has an old connection of this room ends that first, so its will
  // cannot come after what this one publishes.
  const std::string& root = topics.GetRoot();
  options.clientId = root.substr(0, root.size() - 1);
  options.statusTopic = topics.GetStatus();
  return options;
}

BrokerClient::Handlers Bridge::MakeBrokerHandlers() {
  return {[this] { Do(room_.ConnectBroker(Clock::now())); },
          [this](const Message& message) { Do(room_.TakeMessage(message, Clock::now())); },
          [this](Purpose purpose, bool isGranted) {
            Do(room_.TakeSubscribed(purpose, isGranted, Clock::now()));
          },
          [this] {
            room_.LoseBroker();
            SetTick();
          }};
}

void Bridge::Start() {
  broker_.Start();
  ConnectHost();
}

void Bridge::ConnectHost() {
  const auto onConnected = [this] {
    log_.Info("connected to the host");
    lastHostFailure_.clear();
    isHostConnected_ = true;
    hostBackoff_.Reset();
    room_.ConnectHost();
  };
  const auto onLine = [this](std::string_view line) { Do(room_.TakeLine(line, Clock::now())); };
  const auto onFailure = [this](const std::string& reason) { OnHostLost(reason); };
  host_ = std::make_shared<HostConnection>(
      io_, HostConnection::Handlers{onConnected, onLine, onFailure});
  host_->Start(options_.hostAddress, options_.hostPort);
}

void Bridge::OnHostLost(const std::string& reason) {
  if (reason != lastHostFailure_) log_.Warn("the host: " + reason);
  lastHostFailure_ = reason;
  if (std::exchange(isHostConnected_, false)) Do(room_.LoseHost());
  if (isStopping_) return;
  hostRetry_.expires_after(hostBackoff_.Next(false));
  hostRetry_.async_wait([this](error_code error) {
    if (!error) ConnectHost();
  });
}

void Bridge::Do(const Actions& actions) {
  for (const Action& action : actions) {
    if (const auto* const step = std::get_if<Step>(&action)) {
      if (isHostConnected_) host_->Send(step->text);
    } else if (const auto* const record = std::get_if<LogRecord>(&action)) {
      record->level == LogRecord::Level::kInfo ? log_.Info(record->text) : log_.Warn(record->text);
    } else if (const auto* const publish = std::get_if<Publish>(&action)) {
      broker_.Send(*publish);
    } else if (const auto* const subscribe = std::get_if<Subscribe>(&action)) {
      broker_.Send(*subscribe);
    } else if (const auto* const unsubscribe = std::get_if<Unsubscribe>(&action)) {
      broker_.Send(*unsubscribe);
    }
  }
  SetTick();
}

void Bridge::SetTick() {
  if (isStopping_) return;
  const auto next = room_.GetNextTick();
  if (!next) {
    tick_.cancel();
    return;
  }
  if (tick_.expiry() == *next) return;
  tick_.expires_at(*next);
  tick_.async_wait([this](error_code error) {
    if (!error) Do(room_.Tick(Clock::now()));
  });
}

void Bridge::Stop() {
  if (std::exchange(isStopping_, true)) return;
  Do(room_.End());
  hostRetry_.cancel();
  tick_.cancel();
  isHostConnected_ = false;
  host_->Close();
  host_.reset();  // with the timers of its WebSocket, which the event loop would wait for
  WaitForBroker(Clock::now() + kStopTime);
}

void Bridge::WaitForBroker(Time end) {
  if (broker_.GetOutstanding() == 0 || Clock::now() >= end) return broker_.Stop();
  tick_.expires_after(kStopTick);
  tick_.async_wait([this, end](error_code error) {
    if (!error) WaitForBroker(end);
  });
}

}  // namespace bridge

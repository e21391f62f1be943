#include "bridge/BrokerClient.h"

#include <boost/asio/post.hpp>
#include <utility>

namespace bridge {
namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;
using Clock = std::chrono::steady_clock;
using Kind = BrokerConnection::Failure::Kind;

constexpr std::chrono::seconds kShort(15);  // time in which a connection is taken over
constexpr int kMostShort = 3;

}  // namespace

BrokerClient::BrokerClient(boost::asio::io_context& io, Options options, Handlers handlers,
                           const std::function<double()>& random, const Log& log)
    : io_(io),
      options_(std::move(options)),
      handlers_(std::move(handlers)),
      log_(log),
      backoff_(random),
      resolver_(io),
      retry_(io) {
  for (const BrokerAddress& address : options_.brokers) {
    Broker broker{address, nullptr, true};
    if (address.isTls) broker.tls = std::make_unique<TlsContext>(options_.tls, address.host);
    brokers_.push_back(std::move(broker));
  }
}

void BrokerClient::Start() { Connect(); }

std::size_t BrokerClient::GetOutstanding() const {
  return isConnected_ ? connection_->GetOutstanding() : 0;
}

void BrokerClient::Stop() {
  isStopped_ = true;
  isConnected_ = false;
  resolver_.cancel();
  retry_.cancel();
  if (connection_) connection_->Close();
  connection_.reset();
}

void BrokerClient::Connect() {
  if (isStopped_) return;
  const BrokerAddress& address = brokers_[current_].address;
  resolver_.async_resolve(address.host, address.port,
                          [this](error_code error, const tcp::resolver::results_type& results) {
                            if (isStopped_) return;
                            endpoints_.clear();
                            if (error) return OnFailure({Kind::kLost, error.message()});
                            endpoints_.assign(results.begin(), results.end());
                            endpoint_ = 0;
                            Open();
                          });
}

void BrokerClient::Open() {
  Broker& broker = brokers_[current_];
  BrokerConnection::Options options;
  options.clientId = options_.clientId;
  options.user = broker.address.user;
  options.password = options_.password;
  options.statusTopic = options_.statusTopic;
  options.isVersion5 = broker.isVersion5;
  options.tls = broker.tls.get();
  connection_ = std::make_shared<BrokerConnection>(
      io_, std::move(options),
      BrokerConnection::Handlers{[this] { OnConnected(); }, handlers_.onMessage,
                                 handlers_.onSubscribed,
                                 [this](const std::string& reason) { OnRefused(reason); },
                                 [this](const Failure& failure) { OnFailure(failure); }});
  connection_->Start(endpoints_[endpoint_]);
}

void BrokerClient::OnConnected() {
  isConnected_ = true;
  isRefusalLogged_ = false;
  connectedAt_ = Clock::now();
  lastFailure_.clear();
  const Broker& broker = brokers_[current_];
  log_.Info("connected to " + broker.address.Describe() +
            (broker.isVersion5 ? "" : ", by MQTT 3.1.1: commands get no answers"));
  handlers_.onConnected();
}

bool BrokerClient::IsTakenOver(const Failure& failure) {
  if (!isConnected_) return false;
  const bool isShort = Clock::now() - connectedAt_ < kShort;
  shortConnections_ = isShort ? shortConnections_ + 1 : 0;
  if (!isShort) backoff_.Reset();
  return failure.kind == Kind::kTakenOver || shortConnections_ >= kMostShort;
}

void BrokerClient::OnRefused(const std::string& reason) {
  if (std::exchange(isRefusalLogged_, true)) return;
  log_.Warn(brokers_[current_].address.Describe() + ": " + reason);
}

void BrokerClient::OnFailure(Failure failure) {
  // It is the caller, and has the socket open as long as it lives.
  boost::asio::post(io_, [failed = std::move(connection_)] {});
  Broker& broker = brokers_[current_];
  if (failure.kind == Kind::kVersion) {
    broker.isVersion5 = false;
    return Connect();
  }
  if (!isConnected_ && failure.kind == Kind::kLost && ++endpoint_ < endpoints_.size())
    return Open();
  const bool isTakenOver = IsTakenOver(failure);
  if (isTakenOver && failure.kind != Kind::kTakenOver) {
    failure.reason +=
        "; is there another bridge for this site and room, or is what it publishes refused?";
  }
  const std::string text = broker.address.Describe() + ": " + failure.reason;
  // Each failure once, not with each attempt.
  if (text != lastFailure_) log_.Warn(text);
  lastFailure_ = text;
  current_ = (current_ + 1) % brokers_.size();
  if (std::exchange(isConnected_, false)) handlers_.onLost();
  // A full round of brokers counts as one attempt.
  const bool isRound = current_ == 0 || isTakenOver;
  isRoundLasting_ = isRoundLasting_ && failure.kind == Kind::kRefused;
  retry_.expires_after(isRound ? backoff_.Next(isTakenOver || isRoundLasting_)
                               : Backoff::Duration(0));
  isRoundLasting_ = isRoundLasting_ || isRound;
  retry_.async_wait([this](error_code error) {
    if (!error) Connect();
  });
}

}  // namespace bridge

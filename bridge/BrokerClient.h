#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bridge/Backoff.h"
#include "bridge/BrokerAddress.h"
#include "bridge/BrokerConnection.h"
#include "bridge/Log.h"
#include "bridge/TlsContext.h"
#include "bridge/core/Actions.h"

namespace bridge {

/// Keeps a connection to the first of some brokers that can be reached, and connects again when it
/// is lost.
class BrokerClient {
 public:
  struct Options {
    std::vector<BrokerAddress> brokers;  // at least one
    std::string clientId, password, statusTopic;
    TlsFiles tls;
  };

  /// Called from the event loop.
  struct Handlers {
    std::function<void()> onConnected;
    std::function<void(const Message&)> onMessage;
    std::function<void(Purpose, bool isGranted)> onSubscribed;
    std::function<void()> onLost;
  };

  /// `random` returns a number from 0 to 1. Throws `std::runtime_error` if a file for TLS cannot be
  /// used.
  BrokerClient(boost::asio::io_context& io, Options options, Handlers handlers,
               const std::function<double()>& random, const Log& log);
  BrokerClient(const BrokerClient&) = delete;
  BrokerClient& operator=(const BrokerClient&) = delete;

  void Start();
  /// Does nothing while no broker is connected.
  template <typename Action>
  void Send(const Action& action) {
    if (isConnected_) connection_->Send(action);
  }
  bool IsConnected() const { return isConnected_; }
  /// Bytes that the connected broker has not acknowledged.
  std::size_t GetOutstanding() const;
  /// Disconnects and stays so.
  void Stop();

 private:
  using Failure = BrokerConnection::Failure;

  struct Broker {
    BrokerAddress address;
    std::unique_ptr<TlsContext> tls;  // null for none
    bool isVersion5 = true;
  };

  void Connect();
  /// Opens a connection to the endpoint that is next.
  void Open();
  void OnConnected();
  /// A publication was refused.
  void OnRefused(const std::string& reason);
  void OnFailure(Failure failure);
  /// A connection that ends soon after it was accepted, again and again, was taken over: brokers do
  /// not always say so.
  bool IsTakenOver(const Failure& failure);

  boost::asio::io_context& io_;
  const Options options_;
  const Handlers handlers_;
  const Log& log_;
  std::vector<Broker> brokers_;
  std::size_t current_ = 0;  // index of the broker that is connected, or tried
  std::vector<boost::asio::ip::tcp::endpoint> endpoints_;  // of that broker
  std::size_t endpoint_ = 0;                               // index of the one that is tried
  Backoff backoff_;
  boost::asio::ip::tcp::resolver resolver_;
  boost::asio::steady_timer retry_;
  std::shared_ptr<BrokerConnection> connection_;
  bool isConnected_ = false;
  bool isStopped_ = false;
  bool isRefusalLogged_ = false;  // of a publication, in this connection
  bool isRoundLasting_ = true;    // whether all brokers of this round failed for a lasting reason
  std::chrono::steady_clock::time_point connectedAt_;
  int shortConnections_ = 0;  // in a row
  std::string lastFailure_;   // as it was logged
};

}  // namespace bridge

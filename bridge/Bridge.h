#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <memory>
#include <string>

#include "bridge/Backoff.h"
#include "bridge/BrokerClient.h"
#include "bridge/HostConnection.h"
#include "bridge/Log.h"
#include "bridge/core/Room.h"

namespace bridge {

/// The program: a room with its connections to the host and to the broker.
class Bridge {
 public:
  struct Options {
    Room::Options room;
    std::string hostAddress, hostPort;
    BrokerClient::Options broker;  // the client's id and the status topic are set by the bridge
  };

  /// `random` returns a number from 0 to 1. Throws `std::runtime_error` if a file for TLS cannot be
  /// used.
  Bridge(boost::asio::io_context& io, const Options& options,
         const std::function<double()>& random);
  Bridge(const Bridge&) = delete;
  Bridge& operator=(const Bridge&) = delete;

  void Start();
  /// Publishes that the room is offline, waits 2 seconds at most until the broker has that, and
  /// ends all work on the event loop.
  void Stop();

 private:
  static BrokerClient::Options Complete(BrokerClient::Options options, const Topics& topics);
  BrokerClient::Handlers MakeBrokerHandlers();

  void ConnectHost();
  void OnHostLost(const std::string& reason);
  /// Carries out what the room wants done, and sets its timer.
  void Do(const Actions& actions);
  void SetTick();
  void WaitForBroker(Time end);

  const Options options_;
  const Log log_;
  boost::asio::io_context& io_;
  Room room_;
  BrokerClient broker_;
  std::shared_ptr<HostConnection> host_;
  Backoff hostBackoff_;
  boost::asio::steady_timer hostRetry_;
  boost::asio::steady_timer tick_;
  std::string lastHostFailure_;  // as it was logged
  bool isHostConnected_ = false;
  bool isStopping_ = false;
};

}  // namespace bridge

#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "bridge/BrokerAddress.h"
#include "bridge/BrokerClient.h"
#include "bridge/Log.h"
#include "bridge/core/Room.h"

namespace bench {

/// A room of the site fleet: the bridge's own core and connection, and a host of nine services that
/// answers at once.
class FleetRoom {
 public:
  /// `log` and `io` must outlive the room.
  FleetRoom(boost::asio::io_context& io, const std::string& name,
            const bridge::BrokerAddress& broker, const std::function<double()>& random,
            const bridge::Log& log);
  void Start();

 private:
  bridge::BrokerClient::Handlers MakeHandlers();
  void Do(const bridge::Actions& actions);
  /// What the host does at a step of the bridge.
  void TakeStep(const std::string& step);
  void Say(const std::vector<std::string>& lines);
  std::string DescribeList() const;
  void SetTick();

  bridge::Room room_;
  bridge::BrokerClient broker_;
  boost::asio::steady_timer tick_;
  std::set<int> open_;  // ids of requested services
};

}  // namespace bench

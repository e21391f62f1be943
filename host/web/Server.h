#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include "host/web/Access.h"

namespace web {

class Client;

/// A line on its way to one client or more.
using SharedLine = std::shared_ptr<const std::string>;

/// Serves the page, and passes lines between its WebSockets and the host. docs/live-host.md says
/// who is let in, and what is passed.
class Server : public std::enable_shared_from_this<Server> {
 public:
  /// What the server tells and asks, from within the run of its context.
  struct Events {
    /// A client is there; what it is sent now comes first.
    std::function<void(Client&)> onClient;
    /// A client sent a line. The client lives at least until this returns.
    std::function<void(Client&, const std::string& line)> onLine;
    /// Asks for the session so far, as a scenario.
    std::function<std::string()> getScenario;
  };

  /// Throws `boost::system::system_error` when it cannot listen there.
  Server(boost::asio::io_context& io, const boost::asio::ip::tcp::endpoint& endpoint, Access access,
         Events events);

  /// Begins to let connections in. They keep the server alive.
  void Start() { Accept(); }

  /// Where it listens.
  boost::asio::ip::tcp::endpoint GetEndpoint() const { return acceptor_.local_endpoint(); }

  /// Sends a line to every client.
  void Broadcast(const SharedLine& line);

  /// Lets nobody in any more, and everybody go.
  void Close();

  // For its connections and clients.
  const Access& GetAccess() const { return access_; }
  const Events& GetEvents() const { return events_; }
  bool HasRoomForClient() const { return clients_.size() < kMostClients; }
  void Enter(Client& client) { clients_.insert(&client); }
  void Leave(Client& client) { clients_.erase(&client); }
  void OnConnectionEnd() { --connections_; }

 private:
  static constexpr std::size_t kMostClients = 32;
  static constexpr int kMostConnections = 128;  // the clients among them
  static constexpr int kMostRefusals = 128;     // at the same time

  void Accept();

  boost::asio::ip::tcp::acceptor acceptor_;
  const Access access_;
  const Events events_;
  std::set<Client*> clients_;
  int connections_ = 0;
};

}  // namespace web

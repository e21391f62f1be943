#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include "host/web/Access.h"

namespace host {

class PageClient;

/// A line on its way to one client or more.
using SharedLine = std::shared_ptr<const std::string>;

/// Serves the page, and passes lines between its WebSockets and the host. docs/live-host.md says
/// who is let in, and what is passed.
class PageServer : public std::enable_shared_from_this<PageServer> {
 public:
  /// What the server tells and asks, from within the run of its context.
  struct Events {
    /// A client is there; what it is sent now comes first.
    std::function<void(PageClient&)> onClient;
    /// A client sent a line. The client lives at least until this returns.
    std::function<void(PageClient&, const std::string& line)> onLine;
    /// Asks for the session so far, as a scenario.
    std::function<std::string()> getScenario;
  };

  /// Throws `boost::system::system_error` when it cannot listen there.
  PageServer(boost::asio::io_context& io, const boost::asio::ip::tcp::endpoint& endpoint,
             PageAccess access, Events events);

  /// Begins to let connections in. They keep the server alive.
  void Start() { Accept(); }

  /// Where it listens.
  boost::asio::ip::tcp::endpoint GetEndpoint() const { return acceptor_.local_endpoint(); }

  /// Sends a line to every client.
  void Broadcast(const SharedLine& line);

  /// Lets nobody in any more, and everybody go.
  void Close();

  // For its connections and clients.
  const PageAccess& GetAccess() const { return access_; }
  const Events& GetEvents() const { return events_; }
  bool HasRoomForClient() const { return clients_.size() < kMostClients; }
  void Enter(PageClient& client) { clients_.insert(&client); }
  void Leave(PageClient& client) { clients_.erase(&client); }
  void OnConnectionEnd() { --connections_; }

 private:
  static constexpr std::size_t kMostClients = 32;
  static constexpr int kMostConnections = 128;  // the clients among them
  static constexpr int kMostRefusals = 128;     // at the same time

  void Accept();

  boost::asio::ip::tcp::acceptor acceptor_;
  const PageAccess access_;
  const Events events_;
  std::set<PageClient*> clients_;
  int connections_ = 0;
};

}  // namespace host

#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <memory>
#include <string>

#include "host/web/Site.h"
#include "host/web/State.h"

namespace web {

/// Serves the files and texts of a site over HTTP, and passes lines between its WebSockets and the
/// program.
///
/// All functions of this room are called on the thread that runs the `io_context`, or while none
/// runs it. None of them calls a handler or a text's function before it returns: these are called
/// from the run of the `io_context`, one at a time, and may call any function of this room.
///
/// `std::bad_alloc` may pass out of the run. It ends the connection whose operation it ends; the
/// program may call `run` again.
class Server : public std::enable_shared_from_this<Server> {
 public:
  /// Listens at `endpoint`; a port of 0 stands for any that is free. Its address is allowed as
  /// `Host`. Throws `boost::system::system_error` when listening fails.
  Server(boost::asio::io_context& io, const boost::asio::ip::tcp::endpoint& endpoint, Site site);

  /// Begins to accept connections. The server stays alive until `Close`, or as long as `io`.
  void Start() { Accept(); }

  /// Where it listens; unspecified after `Close`.
  boost::asio::ip::tcp::endpoint GetEndpoint() const;

  Clients& GetClients() { return state_->clients; }

  /// Stops listening, and closes all connections.
  void Close();

 private:
  void Accept();
  void OnAccept(boost::asio::ip::tcp::socket socket);
  /// Accepts again after a while.
  void Pause(const std::string& problem);

  boost::asio::ip::tcp::acceptor acceptor_;
  boost::asio::steady_timer pause_;
  const std::shared_ptr<State> state_;
};

}  // namespace web

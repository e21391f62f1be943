#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/websocket.hpp>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "host/web/Limits.h"

namespace web {

/// A line on its way to one client or more, without a line end. UTF-8.
using SharedLine = std::shared_ptr<const std::string>;

/// One WebSocket, which carries lines both ways, each as a text message. It keeps itself alive
/// until the connection ends.
class Client : public std::enable_shared_from_this<Client> {
 public:
  /// What clients tell the program. The client lives at least until the handler returns; a program
  /// that keeps it longer keeps `weak_from_this()`. Handlers may send, broadcast, and close this
  /// client, others or the server. What they throw passes out of the run of the `io_context`.
  struct Handlers {
    /// The WebSocket is open. What is sent from here arrives before any broadcast that follows.
    std::function<void(Client&)> onClient;
    /// The client sent a line: UTF-8 that may have line ends in it, and may be empty.
    std::function<void(Client&, const std::string& line)> onLine;
  };
  using Request = boost::beast::http::request<boost::beast::http::string_body>;

  /// Takes over the socket of the HTTP connection. `path` is the request's, without its query.
  /// The client holds `place` until it is destroyed.
  Client(boost::asio::ip::tcp::socket socket, std::string path,
         std::shared_ptr<const Handlers> handlers, const Limits& limits,
         std::shared_ptr<const void> place);
  /// Accepts the WebSocket that `request` asks for, and reads from it then.
  void Start(Request request);

  /// The path that the WebSocket was opened under.
  const std::string& GetPath() const { return path_; }

  /// Queues a line; does nothing when the client is closed or not open yet. A slow client, for
  /// which more than `Limits::waitingSize` is queued, is closed instead.
  void Send(const SharedLine& line);
  void Send(std::string line) { Send(std::make_shared<const std::string>(std::move(line))); }

  /// Ends the connection at once, without a closing handshake. Queued lines are lost.
  void Close();

 private:
  void Read();
  void Write();

  const std::string path_;
  const std::shared_ptr<const Handlers> handlers_;
  const std::size_t mostWaiting_;  // bytes
  const std::shared_ptr<const void> place_;
  // Without compression, which one machine has no use for.
  boost::beast::websocket::stream<boost::asio::ip::tcp::socket, false> stream_;
  boost::beast::flat_buffer received_;
  std::deque<SharedLine> waiting_;  // the first is being written
  std::size_t waitingSize_ = 0;     // bytes
  bool isOpen_ = false;
};

}  // namespace web

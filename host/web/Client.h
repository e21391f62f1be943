#pragma once

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/websocket.hpp>
#include <deque>
#include <memory>

#include "host/web/Server.h"

namespace web {

/// One open page: a WebSocket that carries lines both ways. It keeps itself alive until the
/// connection ends.
class Client : public std::enable_shared_from_this<Client> {
 public:
  using Request = boost::beast::http::request<boost::beast::http::string_body>;

  Client(boost::asio::ip::tcp::socket socket, std::shared_ptr<Server> server);
  ~Client();
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  /// Accepts the WebSocket that `request` asks for.
  void Start(Request request);

  /// Queues a line. A client that lets too much wait is dropped.
  void Send(const SharedLine& line);
  void Send(std::string line) { Send(std::make_shared<const std::string>(std::move(line))); }
  /// Ends the connection without a word.
  void Drop();

 private:
  void Read();
  void Write();

  const std::shared_ptr<Server> server_;
  // Without compression, which one machine has no use for.
  boost::beast::websocket::stream<boost::asio::ip::tcp::socket, false> stream_;
  boost::beast::flat_buffer received_;
  std::deque<SharedLine> waiting_;  // the first is being written
  std::size_t waitingSize_ = 0;
  bool isOpen_ = false;
};

}  // namespace web

#pragma once

#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "host/web/State.h"

namespace web {

/// One connection: it answers one HTTP request, or becomes a `Client`. It keeps itself alive
/// until then.
class Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(boost::asio::ip::tcp::socket socket, std::shared_ptr<State> state);

  /// Reads the request and answers it; without room, refuses it unread with 503.
  void Start(bool hasRoom);

 private:
  using Status = boost::beast::http::status;

  void OnRead(const boost::system::error_code& error);
  void OnRequest();
  void OnAllowedRequest(std::string_view path);
  void OnWebSocket(std::string path);
  void Refuse(Status status, std::string_view reason);
  void Reply(Status status, std::string_view type, std::string_view content);
  /// Ends the connection once the other side has read what it was sent.
  void Drain();
  void SetDeadline(std::chrono::milliseconds time);

  boost::asio::ip::tcp::socket socket_;
  const std::shared_ptr<State> state_;
  std::shared_ptr<const void> place_;  // null when a client has it
  boost::asio::steady_timer deadline_;
  bool isLate_ = false;
  boost::beast::flat_buffer received_;
  boost::beast::http::request_parser<boost::beast::http::string_body> parser_;
  boost::beast::http::response<boost::beast::http::string_body> response_;
};

}  // namespace web

#pragma once

#include <boost/asio/steady_timer.hpp>
#include <boost/beast/http/status.hpp>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "host/web/Request.h"
#include "host/web/State.h"

namespace web {

/// One connection: it answers one HTTP request, or becomes a `Client`. It keeps itself alive
/// until then.
class Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(Socket socket, std::shared_ptr<State> state);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Reads the request and answers it; without room, refuses it unread with 503.
  void Start(bool hasRoom);
  /// Ends the connection at once.
  void Close();

 private:
  using Status = boost::beast::http::status;

  /// `size` is that of the request in `received_`, in bytes.
  void OnRead(const boost::system::error_code& error, std::size_t size);
  void OnRequest(Request request, bool isAtEnd);
  void OnWebSocket(Request request, std::string path);
  void Refuse(Status status, std::string_view reason);
  /// `owner` keeps `content` alive.
  void Reply(Status status, std::string_view type, std::string_view content,
             std::shared_ptr<const void> owner);
  /// Ends the connection once the other side has read what it was sent.
  void Drain();
  void SetDeadline(std::chrono::milliseconds time);

  Socket socket_;
  const std::shared_ptr<State> state_;
  std::shared_ptr<const void> place_;      // null when a client has it
  std::shared_ptr<const void> textPlace_;  // null for any other reply
  boost::asio::steady_timer deadline_;
  bool isLate_ = false;
  bool isHead_ = false;  // the reply has no body
  std::string received_;
  std::string header_;  // of the reply
  std::shared_ptr<const void> owner_;
};

}  // namespace web

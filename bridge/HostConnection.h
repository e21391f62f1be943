#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/websocket.hpp>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace bridge {

/// One WebSocket to a host, in the role of the front desk. It keeps itself alive until it has
/// failed or was closed.
class HostConnection : public std::enable_shared_from_this<HostConnection> {
 public:
  /// Called from the event loop, never from inside a call of this class. Nothing is called after
  /// `onFailure` or `Close`.
  struct Handlers {
    std::function<void()> onConnected;
    std::function<void(std::string_view line)> onLine;  // without its line end
    std::function<void(const std::string& reason)> onFailure;
  };

  HostConnection(boost::asio::io_context& io, Handlers handlers);

  /// Connects. A host that is silent for 20 seconds, also to a ping, has failed.
  void Start(const std::string& address, const std::string& port);
  /// Queues a step.
  void Send(std::string step);
  void Close();

 private:
  using Stream = boost::beast::websocket::stream<boost::beast::tcp_stream, false>;

  void OpenWebSocket(const std::string& host);
  void Read();
  void TakeMessage();
  void Write();
  void Fail(const std::string& reason);

  Handlers handlers_;
  boost::asio::ip::tcp::resolver resolver_;
  Stream stream_;
  boost::beast::flat_buffer buffer_;
  std::deque<std::string> steps_;  // the first is being written
  bool isEnded_ = false;
};

}  // namespace bridge

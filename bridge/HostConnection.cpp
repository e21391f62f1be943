#include "bridge/HostConnection.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <chrono>
#include <cstddef>
#include <utility>

namespace bridge {
namespace {

namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;
using boost::asio::ip::tcp;
using boost::system::error_code;

constexpr const char* kPath = "/ws/desk";
constexpr std::chrono::seconds kConnectTime(5);
constexpr std::chrono::seconds kSilence(20);
constexpr std::size_t kLongestMessage = std::size_t{64} << 20;

}  // namespace

HostConnection::HostConnection(boost::asio::io_context& io, Handlers handlers)
    : handlers_(std::move(handlers)), resolver_(io), stream_(io) {
  stream_.read_message_max(kLongestMessage);
  stream_.set_option(websocket::stream_base::timeout{kConnectTime, kSilence, true});
}

void HostConnection::Start(const std::string& address, const std::string& port) {
  resolver_.async_resolve(address, port,
                          [self = shared_from_this(), host = address + ":" + port](
                              error_code error, const tcp::resolver::results_type& endpoints) {
                            if (error) return self->Fail(error.message());
                            beast::tcp_stream& socket = self->stream_.next_layer();
                            socket.expires_after(kConnectTime);
                            socket.async_connect(
                                endpoints, [self, host](error_code failure, const tcp::endpoint&) {
                                  if (failure) return self->Fail(failure.message());
                                  self->OpenWebSocket(host);
                                });
                          });
}

void HostConnection::OpenWebSocket(const std::string& host) {
  stream_.next_layer().expires_never();
  error_code ignored;
  stream_.next_layer().socket().set_option(tcp::no_delay(true), ignored);
  stream_.async_handshake(host, kPath, [self = shared_from_this()](error_code error) {
    if (error) return self->Fail(error.message());
    if (self->isEnded_) return;
    self->handlers_.onConnected();
    self->Read();
  });
}

void HostConnection::Read() {
  stream_.async_read(buffer_, [self = shared_from_this()](error_code error, std::size_t /*size*/) {
    if (error) return self->Fail(error.message());
    self->TakeMessage();
    if (!self->isEnded_) self->Read();
  });
}

void HostConnection::TakeMessage() {
  const auto data = buffer_.cdata();
  std::string_view message(static_cast<const char*>(data.data()), data.size());
  // Lines that waited together come as one message.
  while (!isEnded_) {
    const std::size_t end = message.find('\n');
    handlers_.onLine(message.substr(0, end));
    if (end == std::string_view::npos) break;
    message.remove_prefix(end + 1);
  }
  buffer_.consume(buffer_.size());
  buffer_.shrink_to_fit();
}

void HostConnection::Send(std::string step) {
  if (isEnded_) return;
  steps_.push_back(std::move(step));
  if (steps_.size() == 1) Write();
}

void HostConnection::Write() {
  stream_.async_write(boost::asio::buffer(steps_.front()),
                      [self = shared_from_this()](error_code error, std::size_t /*size*/) {
                        if (error) return self->Fail(error.message());
                        self->steps_.pop_front();
                        if (!self->isEnded_ && !self->steps_.empty()) self->Write();
                      });
}

void HostConnection::Close() {
  isEnded_ = true;
  resolver_.cancel();
  stream_.next_layer().close();
}

void HostConnection::Fail(const std::string& reason) {
  if (isEnded_) return;
  Close();
  handlers_.onFailure(reason);
}

}  // namespace bridge

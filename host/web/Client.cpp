#include "host/web/Client.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <utility>

namespace web {
namespace {

namespace websocket = boost::beast::websocket;
using boost::system::error_code;

}  // namespace

Client::Client(boost::asio::ip::tcp::socket socket, std::string path,
               std::shared_ptr<const Handlers> handlers, const Limits& limits,
               std::shared_ptr<const void> place)
    : path_(std::move(path)),
      handlers_(std::move(handlers)),
      mostWaiting_(limits.waitingSize),
      place_(std::move(place)),
      stream_(std::move(socket)) {
  // Every line goes at once, without waiting for the other side to confirm the one before.
  error_code ignored;
  stream_.next_layer().set_option(boost::asio::ip::tcp::no_delay(true), ignored);
  stream_.set_option(websocket::stream_base::timeout{limits.handshakeTime, limits.idleTime, true});
  stream_.read_message_max(limits.messageSize);
  stream_.text(true);
  stream_.auto_fragment(false);
}

void Client::Start(Request request) {
  const auto kept = std::make_shared<const Request>(std::move(request));
  stream_.async_accept(*kept, [self = shared_from_this(), kept](error_code error) {
    if (error) return;
    self->isOpen_ = true;
    self->handlers_->onClient(*self);
    self->Read();
  });
}

void Client::Read() {
  stream_.async_read(received_, [self = shared_from_this()](error_code error, std::size_t) {
    if (error) return self->Close();
    if (!self->stream_.got_text()) {
      return self->stream_.async_close({websocket::close_code::unknown_data, "text only"},
                                       [self](error_code) {});
    }
    const std::string line = boost::beast::buffers_to_string(self->received_.data());
    self->received_.clear();
    self->handlers_->onLine(*self, line);
    self->Read();
  });
}

void Client::Send(const SharedLine& line) {
  if (!isOpen_) return;
  if (waitingSize_ > mostWaiting_) return Close();
  waiting_.push_back(line);
  waitingSize_ += line->size();
  if (waiting_.size() == 1) Write();
}

void Client::Write() {
  stream_.async_write(boost::asio::buffer(*waiting_.front()),
                      [self = shared_from_this()](error_code error, std::size_t) {
                        if (error) return self->Close();
                        self->waitingSize_ -= self->waiting_.front()->size();
                        self->waiting_.pop_front();
                        if (!self->waiting_.empty()) self->Write();
                      });
}

void Client::Close() {
  isOpen_ = false;
  error_code ignored;
  stream_.next_layer().close(ignored);
}

}  // namespace web

#include "host/web/Connection.h"

#include <algorithm>
#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/http/fields.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <exception>
#include <sstream>
#include <utility>

#include "host/web/Headers.h"

namespace web {
namespace {

namespace http = boost::beast::http;
using boost::system::error_code;

std::string_view View(boost::beast::string_view text) { return {text.data(), text.size()}; }

}  // namespace

Connection::Connection(Socket socket, std::shared_ptr<State> state)
    : socket_(std::move(socket)),
      state_(std::move(state)),
      place_(state_->connectionPlaces.Take()),
      deadline_(socket_.get_executor()) {
  state_->connections.insert(this);
  // Without these, the kernel would let each buffer grow to megabytes.
  const int size = static_cast<int>(state_->site.limits.socketSize);
  error_code ignored;
  socket_.set_option(boost::asio::socket_base::send_buffer_size(size), ignored);
  socket_.set_option(boost::asio::socket_base::receive_buffer_size(size), ignored);
}

Connection::~Connection() { state_->connections.erase(this); }

void Connection::Start(bool hasRoom) {
  if (!hasRoom) return Refuse(Status::service_unavailable, "too many connections");
  SetDeadline(state_->site.limits.requestTime);
  boost::asio::async_read_until(
      socket_, boost::asio::dynamic_buffer(received_, state_->site.limits.requestSize), "\r\n\r\n",
      [self = shared_from_this()](error_code error, std::size_t size) {
        try {
          self->OnRead(error, size);
        } catch (const std::exception& problem) {
          self->state_->problems->Report(std::string("a request was not answered: ") +
                                         problem.what());
          self->Refuse(Status::internal_server_error, "the host cannot answer now");
        }
      });
}

void Connection::OnRead(const error_code& error, std::size_t size) {
  if (error == boost::asio::error::not_found) {
    return Refuse(Status::request_header_fields_too_large, "the header is too large");
  }
  if (error && isLate_) return Refuse(Status::request_timeout, "the request came too slowly");
  if (error) return;
  auto parsed = ParseRequest(std::string_view(received_).substr(0, size), state_->site.limits);
  if (const auto* const refusal = std::get_if<Refusal>(&parsed)) {
    return Refuse(refusal->status, refusal->reason);
  }
  OnRequest(std::get<Request>(std::move(parsed)), size == received_.size());
}

void Connection::OnRequest(Request request, bool isAtEnd) {
  const Site& site = state_->site;
  isHead_ = request.method() == http::verb::head;
  if (request.count(http::field::host) != 1 ||
      !site.access.IsHostAllowed(View(request[http::field::host]))) {
    return Refuse(Status::forbidden, "this host is not known by that name" + site.otherHostHint);
  }
  if (!isHead_ && request.method() != http::verb::get) {
    return Refuse(Status::method_not_allowed, "only GET and HEAD are answered");
  }
  const std::string target(request.target());
  const std::string_view path = std::string_view(target).substr(0, target.find('?'));
  const auto& sockets = site.webSocketPaths;
  if (std::find(sockets.begin(), sockets.end(), path) != sockets.end()) {
    // A client waits for the answer; what it sends before might belong to another request.
    if (!isAtEnd) return Refuse(Status::bad_request, "messages come after the answer");
    return OnWebSocket(std::move(request), std::string(path));
  }
  if (const auto text = site.texts.find(path); text != site.texts.end()) {
    if (state_->textPlaces.GetTaken() >= site.limits.texts) {
      return Refuse(Status::service_unavailable, "too many are reading this");
    }
    textPlace_ = state_->textPlaces.Take();
    const Text made = text->second();
    return Reply(Status(made.status), made.type, *made.content, made.content);
  }
  for (const EmbeddedFile& file : site.files) {
    if (file.path == path) return Reply(Status::ok, file.type, file.content, nullptr);
  }
  Refuse(Status::not_found, "there is nothing here");
}

void Connection::OnWebSocket(Request request, std::string path) {
  // Before all else: a page sees no status of its WebSocket, and asks for it by a plain request.
  if (!state_->clients.HasRoom(path)) {
    return Refuse(Status::service_unavailable, "too many WebSockets are open");
  }
  if (!boost::beast::websocket::is_upgrade(request)) {
    return Refuse(Status::upgrade_required, "this is a WebSocket");
  }
  if (request.count(http::field::origin) > 1 ||
      !state_->site.access.IsOriginAllowed(View(request[http::field::origin]),
                                           View(request[http::field::host]))) {
    return Refuse(Status::forbidden, "not for another site's pages");
  }
  deadline_.cancel();
  state_->clients.Make(std::move(socket_), std::move(path), std::move(place_))
      ->Start(std::move(request));
}

void Connection::Refuse(Status status, std::string_view reason) {
  const auto text = std::make_shared<const std::string>(std::string(reason) + '\n');
  Reply(status, "text/plain; charset=utf-8", *text, text);
}

void Connection::Reply(Status status, std::string_view type, std::string_view content,
                       std::shared_ptr<const void> owner) {
  http::response_header<> response;
  response.version(11);
  response.result(status);
  SetCommonHeaders(response);
  response.set(http::field::connection, "close");
  response.set(http::field::content_type, boost::beast::string_view(type.data(), type.size()));
  response.set(http::field::content_length, std::to_string(content.size()));
  if (status == Status::method_not_allowed) response.set(http::field::allow, "GET, HEAD");
  if (status == Status::upgrade_required) response.set(http::field::upgrade, "websocket");
  std::ostringstream header;
  header << response;
  header_ = header.str();
  owner_ = std::move(owner);
  if (isHead_) content = {};
  isLate_ = true;
  SetDeadline(state_->site.limits.replyTime);
  const std::array<boost::asio::const_buffer, 2> buffers{boost::asio::buffer(header_),
                                                         boost::asio::buffer(content)};
  boost::asio::async_write(
      socket_, buffers, [self = shared_from_this()](error_code error, std::size_t) {
        if (error) return;
        self->owner_.reset();
        self->textPlace_.reset();
        error_code ignored;
        self->socket_.shutdown(boost::asio::socket_base::shutdown_send, ignored);
        self->SetDeadline(self->state_->site.limits.drainTime);
        self->Drain();
      });
}

void Connection::Drain() {
  // Closing while something is unread would take back what was sent.
  received_.resize(4096);
  socket_.async_read_some(boost::asio::buffer(received_),
                          [self = shared_from_this()](error_code error, std::size_t) {
                            if (!error) return self->Drain();
                            self->deadline_.cancel();
                          });
}

void Connection::Close() {
  isLate_ = true;
  error_code ignored;
  socket_.close(ignored);
  deadline_.cancel(ignored);
}

void Connection::SetDeadline(std::chrono::milliseconds time) {
  deadline_.expires_after(time);
  deadline_.async_wait([weak = weak_from_this()](error_code error) {
    const auto self = weak.lock();
    if (error || !self) return;
    if (self->isLate_) return self->Close();
    self->isLate_ = true;
    error_code ignored;
    self->socket_.cancel(ignored);
  });
}

}  // namespace web

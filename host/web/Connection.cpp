#include "host/web/Connection.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <utility>

namespace web {
namespace {

namespace http = boost::beast::http;
using boost::system::error_code;

constexpr const char* kText = "text/plain; charset=utf-8";

constexpr std::pair<const char*, const char*> kHeaders[] = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
     "connect-src 'self'; frame-ancestors 'none'; base-uri 'none'; form-action 'none'"},
    {"X-Frame-Options", "DENY"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Cache-Control", "no-store"},
};

std::string_view View(boost::beast::string_view text) { return {text.data(), text.size()}; }

}  // namespace

Connection::Connection(boost::asio::ip::tcp::socket socket, std::shared_ptr<State> state)
    : socket_(std::move(socket)),
      state_(std::move(state)),
      place_(state_->place),
      deadline_(socket_.get_executor()) {
  parser_.header_limit(state_->site.limits.headerSize);
  parser_.body_limit(state_->site.limits.bodySize);
}

void Connection::Start(bool hasRoom) {
  if (!hasRoom) return Refuse(Status::service_unavailable, "too many connections");
  SetDeadline(state_->site.limits.requestTime);
  http::async_read(
      socket_, received_, parser_,
      [self = shared_from_this()](error_code error, std::size_t) { self->OnRead(error); });
}

void Connection::OnRead(const error_code& error) {
  if (!error) return OnRequest();
  if (isLate_) return Refuse(Status::request_timeout, "the request came too slowly");
  if (error == http::error::header_limit) {
    return Refuse(Status::request_header_fields_too_large, "the header is too large");
  }
  if (error == http::error::body_limit) {
    return Refuse(Status::payload_too_large, "the body is too large");
  }
  const bool isBad = error.category() == make_error_code(http::error::bad_method).category() &&
                     error != http::error::end_of_stream && error != http::error::partial_message;
  if (isBad) Refuse(Status::bad_request, "not an HTTP request: " + error.message());
}

void Connection::OnRequest() {
  const auto& request = parser_.get();
  const std::string_view host = View(request[http::field::host]);
  if (request.count(http::field::host) != 1 || !state_->site.access.IsHostAllowed(host)) {
    return Refuse(Status::forbidden,
                  "this host is not known by that name" + state_->site.otherHostHint);
  }
  if (request.method() != http::verb::get) {
    return Refuse(Status::method_not_allowed, "only GET is answered");
  }
  const std::string_view target = View(request.target());
  OnAllowedRequest(target.substr(0, target.find('?')));
}

void Connection::OnAllowedRequest(std::string_view path) {
  const Site& site = state_->site;
  const auto& sockets = site.webSocketPaths;
  if (std::find(sockets.begin(), sockets.end(), path) != sockets.end()) {
    return OnWebSocket(std::string(path));
  }
  if (const auto text = site.texts.find(path); text != site.texts.end()) {
    const Text made = text->second();
    return Reply(Status::ok, made.type, made.content);
  }
  for (const EmbeddedFile& file : site.files) {
    if (file.path == path) return Reply(Status::ok, file.type, file.content);
  }
  Refuse(Status::not_found, "there is nothing here");
}

void Connection::OnWebSocket(std::string path) {
  const auto& request = parser_.get();
  if (!boost::beast::websocket::is_upgrade(request)) {
    return Refuse(Status::upgrade_required, "this is a WebSocket");
  }
  if (request.count(http::field::origin) > 1 ||
      !state_->site.access.IsOriginAllowed(View(request[http::field::origin]),
                                           View(request[http::field::host]))) {
    return Refuse(Status::forbidden, "not for another site's pages");
  }
  if (state_->clients.GetCount() >= state_->site.limits.clients) {
    return Refuse(Status::service_unavailable, "too many WebSockets are open");
  }
  deadline_.cancel();
  const auto client = std::make_shared<Client>(
      std::move(socket_), std::move(path),
      std::shared_ptr<const Client::Handlers>(state_, &state_->site.handlers), state_->site.limits,
      std::move(place_));
  state_->clients.Enter(client);
  client->Start(parser_.release());
}

void Connection::Refuse(Status status, std::string_view reason) {
  Reply(status, kText, std::string(reason) + '\n');
}

void Connection::Reply(Status status, std::string_view type, std::string_view content) {
  response_.result(status);
  response_.version(11);
  response_.keep_alive(false);
  for (const auto& [name, value] : kHeaders) response_.set(name, value);
  response_.set(http::field::content_type, boost::beast::string_view(type.data(), type.size()));
  if (status == Status::method_not_allowed) response_.set(http::field::allow, "GET");
  if (status == Status::upgrade_required) response_.set(http::field::upgrade, "websocket");
  response_.body() = content;
  response_.prepare_payload();
  isLate_ = true;
  SetDeadline(state_->site.limits.replyTime);
  http::async_write(socket_, response_, [self = shared_from_this()](error_code error, std::size_t) {
    if (error) return;
    error_code ignored;
    self->socket_.shutdown(boost::asio::socket_base::shutdown_send, ignored);
    self->SetDeadline(self->state_->site.limits.drainTime);
    self->Drain();
  });
}

void Connection::Drain() {
  // Closing while something is unread would take back what was sent.
  received_.clear();
  socket_.async_read_some(received_.prepare(4096),
                          [self = shared_from_this()](error_code error, std::size_t) {
                            if (!error) return self->Drain();
                            self->deadline_.cancel();
                          });
}

void Connection::SetDeadline(std::chrono::milliseconds time) {
  deadline_.expires_after(time);
  deadline_.async_wait([weak = weak_from_this()](error_code error) {
    const auto self = weak.lock();
    if (error || !self) return;
    error_code ignored;
    if (self->isLate_) {
      self->socket_.close(ignored);
    } else {
      self->isLate_ = true;
      self->socket_.cancel(ignored);
    }
  });
}

}  // namespace web

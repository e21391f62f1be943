#include "host/web/Connection.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <chrono>
#include <utility>

#include "host/web/Client.h"
#include "host/web/EmbeddedFile.h"

namespace web {
namespace {

namespace http = boost::beast::http;
using boost::system::error_code;

constexpr unsigned int kLargestHeader = 8 * 1024;
constexpr unsigned int kLargestBody = 1024;
constexpr int kSecondsToRead = 5;
constexpr int kSecondsToWrite = 10;
constexpr int kSecondsToDrain = 1;
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

Connection::Connection(boost::asio::ip::tcp::socket socket, std::shared_ptr<Server> server)
    : socket_(std::move(socket)), server_(std::move(server)), deadline_(socket_.get_executor()) {
  parser_.header_limit(kLargestHeader);
  parser_.body_limit(kLargestBody);
}

Connection::~Connection() {
  if (!isClient_) server_->OnConnectionEnd();
}

void Connection::Start(bool hasRoom) {
  if (!hasRoom) return Refuse(Status::service_unavailable, "too many connections");
  SetDeadline(kSecondsToRead);
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
  const Access& access = server_->GetAccess();
  const std::string_view host = View(request[http::field::host]);
  if (request.count(http::field::host) != 1 || !access.IsHostAllowed(host)) {
    return Refuse(Status::forbidden,
                  "this host is not known by that name; --allow-host lets a proxy's name in");
  }
  if (request.method() != http::verb::get) {
    return Refuse(Status::method_not_allowed, "only GET is answered");
  }
  const std::string_view target = View(request.target());
  const std::string_view path = target.substr(0, target.find('?'));
  if (path == "/session.txt") {
    return Reply(Status::ok, kText, server_->GetEvents().getScenario());
  }
  if (path != "/ws") {
    const EmbeddedFile* const file = FindFile(path);
    if (file == nullptr) return Refuse(Status::not_found, "there is nothing here");
    return Reply(Status::ok, file->type, file->content);
  }
  if (!boost::beast::websocket::is_upgrade(request)) {
    return Refuse(Status::upgrade_required, "this is the page's WebSocket");
  }
  if (request.count(http::field::origin) > 1 ||
      !access.IsOriginAllowed(View(request[http::field::origin]), host)) {
    return Refuse(Status::forbidden, "not for another site's pages");
  }
  if (!server_->HasRoomForClient()) {
    return Refuse(Status::service_unavailable, "too many pages are open");
  }
  isClient_ = true;
  deadline_.cancel();
  std::make_shared<Client>(std::move(socket_), server_)->Start(parser_.release());
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
  SetDeadline(kSecondsToWrite);
  http::async_write(socket_, response_, [self = shared_from_this()](error_code error, std::size_t) {
    if (error) return;
    error_code ignored;
    self->socket_.shutdown(boost::asio::socket_base::shutdown_send, ignored);
    self->SetDeadline(kSecondsToDrain);
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

void Connection::SetDeadline(int seconds) {
  deadline_.expires_after(std::chrono::seconds(seconds));
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

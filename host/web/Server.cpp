#include "host/web/Server.h"

#include <exception>
#include <utility>

#include "host/web/Connection.h"

namespace web {
namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;

Site AllowAddress(Site site, const tcp::endpoint& endpoint) {
  site.access.AllowAddress(endpoint.address());
  return site;
}

/// Whether the error stays until something else is closed.
bool IsShortage(const error_code& error) {
  return error == boost::system::errc::too_many_files_open ||
         error == boost::system::errc::too_many_files_open_in_system ||
         error == boost::system::errc::no_buffer_space ||
         error == boost::system::errc::not_enough_memory;
}

}  // namespace

Server::Server(boost::asio::io_context& io, const tcp::endpoint& endpoint, Site site)
    : acceptor_(io, endpoint),
      pause_(io),
      state_(std::make_shared<State>(AllowAddress(std::move(site), endpoint))) {}

tcp::endpoint Server::GetEndpoint() const {
  error_code ignored;
  return acceptor_.local_endpoint(ignored);
}

void Server::Accept() {
  acceptor_.async_accept([self = shared_from_this()](const error_code& error, tcp::socket socket) {
    if (!self->acceptor_.is_open()) return;
    if (IsShortage(error)) return self->Pause(error.message());
    // First, since the rest may fail.
    self->Accept();
    if (!error) self->OnAccept(std::move(socket));
  });
}

void Server::OnAccept(tcp::socket socket) {
  const Limits& limits = state_->site.limits;
  const std::size_t count = state_->connectionPlaces.GetTaken();
  if (count >= limits.connections + limits.refusals) return;
  try {
    // Every line goes at once, without waiting for the other side to confirm the one before.
    error_code ignored;
    socket.set_option(tcp::no_delay(true), ignored);
    std::make_shared<Connection>(std::move(socket), state_)->Start(count < limits.connections);
  } catch (const std::exception& error) {
    state_->problems->Report(std::string("a connection was closed: ") + error.what());
  }
}

void Server::Pause(const std::string& problem) {
  state_->problems->Report("new connections have to wait: " + problem);
  pause_.expires_after(state_->site.limits.acceptTime);
  pause_.async_wait([self = shared_from_this()](const error_code& error) {
    if (!error && self->acceptor_.is_open()) self->Accept();
  });
}

void Server::Close() {
  error_code ignored;
  acceptor_.close(ignored);
  pause_.cancel(ignored);
  for (Connection* const connection : state_->connections) connection->Close();
  state_->clients.Close();
}

}  // namespace web

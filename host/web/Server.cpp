#include "host/web/Server.h"

#include <utility>

#include "host/web/Connection.h"

namespace web {

using boost::asio::ip::tcp;

Server::Server(boost::asio::io_context& io, const tcp::endpoint& endpoint, Site site)
    : acceptor_(io, endpoint), state_(std::make_shared<State>(std::move(site))) {}

void Server::Accept() {
  acceptor_.async_accept(
      [self = shared_from_this()](const boost::system::error_code& error, tcp::socket socket) {
        if (!self->acceptor_.is_open()) return;
        const Limits& limits = self->state_->site.limits;
        const std::size_t count = self->state_->GetConnectionCount();
        if (!error && count < limits.connections + limits.refusals) {
          const bool hasRoom = count < limits.connections;
          std::make_shared<Connection>(std::move(socket), self->state_)->Start(hasRoom);
        }
        self->Accept();
      });
}

void Server::Close() {
  acceptor_.close();
  state_->clients.Close();
}

}  // namespace web

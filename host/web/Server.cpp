#include "host/web/Server.h"

#include <utility>

#include "host/web/Client.h"
#include "host/web/Connection.h"

namespace web {

using boost::asio::ip::tcp;

Server::Server(boost::asio::io_context& io, const tcp::endpoint& endpoint, Access access,
               Events events)
    : acceptor_(io, endpoint), access_(std::move(access)), events_(std::move(events)) {}

void Server::Accept() {
  acceptor_.async_accept(
      [self = shared_from_this()](const boost::system::error_code& error, tcp::socket socket) {
        if (!self->acceptor_.is_open()) return;
        if (!error && self->connections_ < kMostConnections + kMostRefusals) {
          const bool hasRoom = self->connections_++ < kMostConnections;
          std::make_shared<Connection>(std::move(socket), self)->Start(hasRoom);
        }
        self->Accept();
      });
}

void Server::Broadcast(const SharedLine& line) {
  for (Client* const client : clients_) client->Send(line);
}

void Server::Close() {
  acceptor_.close();
  for (Client* const client : clients_) client->Drop();
}

}  // namespace web

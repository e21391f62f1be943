#include "host/web/Server.h"

#include <utility>

#include "host/web/Client.h"
#include "host/web/Connection.h"

namespace host {

using boost::asio::ip::tcp;

PageServer::PageServer(boost::asio::io_context& io, const tcp::endpoint& endpoint,
                       PageAccess access, Events events)
    : acceptor_(io, endpoint), access_(std::move(access)), events_(std::move(events)) {}

void PageServer::Accept() {
  acceptor_.async_accept(
      [self = shared_from_this()](const boost::system::error_code& error, tcp::socket socket) {
        if (!self->acceptor_.is_open()) return;
        if (!error && self->connections_ < kMostConnections + kMostRefusals) {
          const bool hasRoom = self->connections_++ < kMostConnections;
          std::make_shared<PageConnection>(std::move(socket), self)->Start(hasRoom);
        }
        self->Accept();
      });
}

void PageServer::Broadcast(const SharedLine& line) {
  for (PageClient* const client : clients_) client->Send(line);
}

void PageServer::Close() {
  acceptor_.close();
  for (PageClient* const client : clients_) client->Drop();
}

}  // namespace host

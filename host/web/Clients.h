#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/web/Client.h"

namespace web {

/// The clients of a server. It does not keep them alive.
class Clients {
 public:
  explicit Clients(std::shared_ptr<Client::Shared> shared) : shared_(std::move(shared)) {}

  /// Sends a line to every open client, in the order in which they came. See `Client::Send`.
  void Broadcast(const SharedLine& line) const;
  void Broadcast(std::string line) const {
    Broadcast(std::make_shared<const std::string>(std::move(line)));
  }

  /// Closes every client.
  void Close() const;

  /// How many there are, with those whose WebSocket is being opened or closed.
  std::size_t GetCount() const;

  /// Whether there is room for one more. Called by `Connection`.
  bool HasRoom() const { return shared_->places.GetTaken() < shared_->limits.clients; }
  /// Makes a client of this server; see its constructor. Called by `Connection`.
  std::shared_ptr<Client> Make(Socket socket, std::string path, std::shared_ptr<const void> place);

 private:
  const std::shared_ptr<Client::Shared> shared_;
  std::vector<std::weak_ptr<Client>> clients_;  // also some that have ended
};

}  // namespace web

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
  /// Sends a line to every open client, in the order in which they came.
  void Broadcast(const SharedLine& line) const;
  void Broadcast(std::string line) const {
    Broadcast(std::make_shared<const std::string>(std::move(line)));
  }

  /// Closes every client.
  void Close() const;

  /// How many there are, with those whose WebSocket is being opened or closed.
  std::size_t GetCount() const;

  /// Adds a client. Called by `Connection`.
  void Enter(const std::shared_ptr<Client>& client);

 private:
  std::vector<std::weak_ptr<Client>> clients_;  // also some that have ended
};

}  // namespace web

#pragma once

#include <cstddef>
#include <functional>
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

  using Filter = std::function<bool(const Client&)>;

  /// Sends a line to every open client that `takes` it, in the order in which they came; null
  /// stands for all. See `Client::Send`.
  void Broadcast(const SharedLine& line, const Filter& takes = nullptr) const;
  void Broadcast(std::string line, const Filter& takes = nullptr) const {
    Broadcast(std::make_shared<const std::string>(std::move(line)), takes);
  }

  /// Closes every client.
  void Close() const;

  /// How many there are, with those whose WebSocket is being opened or closed.
  std::size_t GetCount() const;

  /// Whether there is room for one more under that path. Called by `Connection`.
  bool HasRoom(const std::string& path) const {
    return shared_->paths[path].places.GetTaken() < shared_->limits.clients;
  }
  /// Makes a client of this server; see its constructor. Called by `Connection`.
  std::shared_ptr<Client> Make(Socket socket, std::string path, std::shared_ptr<const void> place);

 private:
  const std::shared_ptr<Client::Shared> shared_;
  std::vector<std::weak_ptr<Client>> clients_;  // also some that have ended
};

}  // namespace web

#include "host/web/Clients.h"

#include <algorithm>

namespace web {
namespace {

bool HasEnded(const std::weak_ptr<Client>& client) { return client.expired(); }

}  // namespace

void Clients::Broadcast(const SharedLine& line, const Filter& takes) const {
  const auto queued = std::make_shared<const QueuedLine>(line, shared_->cause);
  for (const auto& weak : clients_) {
    const auto client = weak.lock();
    if (client && (!takes || takes(*client))) client->Queue(queued);
  }
}

void Clients::Close() const {
  for (const auto& weak : clients_) {
    if (const auto client = weak.lock()) client->Close();
  }
}

std::size_t Clients::GetCount() const {
  return clients_.size() -
         static_cast<std::size_t>(std::count_if(clients_.begin(), clients_.end(), HasEnded));
}

std::shared_ptr<Client> Clients::Make(Socket socket, std::string path,
                                      std::shared_ptr<const void> place) {
  clients_.erase(std::remove_if(clients_.begin(), clients_.end(), HasEnded), clients_.end());
  auto client =
      std::make_shared<Client>(std::move(socket), std::move(path), shared_, std::move(place));
  clients_.push_back(client);
  return client;
}

}  // namespace web

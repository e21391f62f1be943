#include "host/web/Clients.h"

#include <algorithm>

namespace web {
namespace {

bool HasEnded(const std::weak_ptr<Client>& client) { return client.expired(); }

}  // namespace

void Clients::Broadcast(const SharedLine& line) const {
  for (const auto& weak : clients_) {
    if (const auto client = weak.lock()) client->Send(line);
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

void Clients::Enter(const std::shared_ptr<Client>& client) {
  clients_.erase(std::remove_if(clients_.begin(), clients_.end(), HasEnded), clients_.end());
  clients_.push_back(client);
}

}  // namespace web

#pragma once

#include <cstddef>
#include <memory>
#include <utility>

#include "host/web/Clients.h"
#include "host/web/Site.h"

namespace web {

/// What a server and its connections share.
struct State {
  explicit State(Site served) : site(std::move(served)) {}

  /// How many connections there are, the clients among them.
  std::size_t GetConnectionCount() const { return static_cast<std::size_t>(place.use_count()) - 1; }

  const Site site;
  Clients clients;
  /// Each connection and each client holds a copy, and so is counted until it is destroyed.
  const std::shared_ptr<const void> place = std::make_shared<char>();
};

}  // namespace web

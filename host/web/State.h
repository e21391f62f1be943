#pragma once

#include <memory>
#include <set>
#include <utility>

#include "host/web/Clients.h"
#include "host/web/Places.h"
#include "host/web/Site.h"

namespace web {

class Connection;

/// What a server and its connections share.
struct State {
  explicit State(Site served)
      : site(std::move(served)),
        problems(std::make_shared<Problems>(site.onProblem, site.limits.reportTime)),
        clients(std::make_shared<Client::Shared>(
            Client::Shared{site.handlers, site.limits, problems, {}, nullptr})) {}

  const Site site;
  const std::shared_ptr<Problems> problems;
  Clients clients;
  /// Those that have not become clients.
  std::set<Connection*> connections;
  Places connectionPlaces;  // the clients' among them
  Places textPlaces;
};

}  // namespace web

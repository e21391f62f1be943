#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/web/Access.h"
#include "host/web/Client.h"
#include "host/web/EmbeddedFile.h"
#include "host/web/Limits.h"
#include "host/web/Problem.h"

namespace web {

/// A text that is made when it is asked for. It is kept until the reply is sent, and not copied.
struct Text {
  std::string type;  // "text/plain; charset=utf-8"
  std::shared_ptr<const std::string> content;
  unsigned int status = 200;  // of HTTP
};

/// What a server serves, and to whom. A path is compared without the request's query. The functions
/// are called from the run of the server's `io_context`, and kept until its last connection ends.
/// What they throw ends the connection that they were called for, and is reported.
struct Site {
  /// The names that requests may give as `Host`, besides the address of the server.
  Access access = Access({});
  /// Ends the reason of a refusal for another name, such as "; use --name". May be empty.
  std::string otherHostHint;

  std::vector<EmbeddedFile> files;
  /// By path, which begins with "/". The reply to a request whose function throws is 500.
  std::map<std::string, std::function<Text()>, std::less<>> texts;
  /// The paths of WebSockets; all have the same handlers, and `Client::GetPath` tells them apart.
  std::vector<std::string> webSocketPaths;
  Client::Handlers handlers;
  OnProblem onProblem;

  Limits limits;
};

}  // namespace web

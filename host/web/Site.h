#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/web/Access.h"
#include "host/web/Client.h"
#include "host/web/EmbeddedFile.h"
#include "host/web/Limits.h"

namespace web {

/// A text that is made when it is asked for.
struct Text {
  std::string type;  // "text/plain; charset=utf-8"
  std::string content;
};

/// What a server serves, and to whom. A path is compared without the request's query. The functions
/// are called from the run of the server's `io_context`, and kept until its last connection ends.
struct Site {
  /// The names that requests may give as `Host`.
  Access access = Access({});
  /// Ends the reason of a refusal for another name, such as "; use --name". May be empty.
  std::string otherHostHint;

  std::vector<EmbeddedFile> files;
  /// By path, which begins with "/". What a function throws passes out of the run.
  std::map<std::string, std::function<Text()>, std::less<>> texts;
  /// The paths of WebSockets; all have the same handlers, and `Client::GetPath` tells them apart.
  std::vector<std::string> webSocketPaths;
  Client::Handlers handlers;

  Limits limits;
};

}  // namespace web

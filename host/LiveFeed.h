#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "host/console/Console.h"
#include "host/live/LiveSession.h"
#include "host/live/RequestBook.h"
#include "host/session/HearingTable.h"
#include "host/web/Clients.h"

namespace host {

/// Sends the lines of a live session to the console and to the pages: the steps with what followed
/// them, and the status of the host. The hearing table says which of them a page gets. A new page
/// gets the most recent lines.
class LiveFeed {
 public:
  using Lines = std::vector<std::string>;

  /// `session` and `console` must outlive the feed. `plugin` is the path in the health line.
  LiveFeed(LiveSession& session, Console& console, std::string plugin);

  /// Sends to these pages from now on; they must outlive the feed.
  void SetPages(const web::Clients& pages) { pages_ = &pages; }

  /// The path of the WebSocket for a role.
  static std::string GetPath(Sender role) { return "/ws/" + std::string(GetName(role)); }
  /// The role of a page, by its path.
  static Sender GetRole(const web::Client& page);

  /// Sends the status to a new page, then the recent lines with the times at which they were
  /// printed.
  void Greet(web::Client& page);

  /// Sends who sent a step, nothing for a signal, and the step's line; to the console only if it
  /// did not come from there.
  void SendStep(const Step& step, std::optional<Sender> sender);
  /// Sends the lines that followed a step of `sender`, or no step. The console drops no line of its
  /// own steps.
  void SendLines(const Lines& lines, std::optional<Sender> sender = std::nullopt);
  /// Notes the open requests of an agent that was started.
  void ReadRequests() { requests_.Read(session_.GetState()); }
  /// Sends the notices and the health that changed since the last time, and the clock if it was
  /// set.
  void SendStatus();
  /// Sends a notice that is not kept for later pages.
  void SendNotice(const std::string& text);
  /// Sends the clock to the pages.
  void SendClock();

 private:
  struct RecentLine {
    std::int64_t seconds;  // when it was sent, on the session's clock
    Heard kind;
    web::SharedLine text;
  };

  /// Sends a line to the pages, and keeps it for later ones.
  void Send(const std::string& line, Heard kind);
  /// Sends what a push line changes about a request, before the line.
  void SendRequest(const std::string& push, std::optional<Sender> sender);
  void Broadcast(const web::SharedLine& line, Heard kind);
  void Broadcast(const std::string& line, Heard kind);
  std::string GetHealthLine(Heard kind) const;

  LiveSession& session_;
  Console& console_;
  const std::string plugin_;
  const web::Clients* pages_ = nullptr;  // null for none

  RequestBook requests_;
  std::deque<RecentLine> recent_;
  std::size_t recentSize_ = 0;
  StateHealth sentHealth_;
  std::size_t sentNotices_ = 0;
  std::int64_t sentTime_ = 0;    // to the pages, in seconds
  std::int64_t sentOffset_ = 0;  // of the agent's clock from the system's, in seconds
};

}  // namespace host

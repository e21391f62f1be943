#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/session/StepTable.h"
#include "platform/xml/XmlNode.h"

namespace host {

/// The open requests of a session, each since when and until when, and those that ended in the last
/// hours, with how. It learns of them from the state and from the pushes. Moments are in seconds
/// since 1970-01-01 00:00:00 UTC, so they stay right when the hour changes; its status lines have
/// the zone's offset at each.
class RequestBook {
 public:
  /// How a request ended, as a status line says it.
  static constexpr std::string_view kDone = "done", kWithdrawn = "withdrawn", kLapsed = "lapsed",
                                    kRemoved = "removed";

  /// Starts again with the list of a state that an agent was started with; null for none. A request
  /// began at its local time as the agent reads it. What has ended stays.
  void Read(const boost::shared_ptr<qx::XmlNode>& state);

  /// Takes a push line that was printed at `now`, after a step of `sender`, if there was one.
  /// Returns the status line of the request that it opens, changes or ends; "" if it does not.
  std::string Take(const std::string& line, std::int64_t now, std::optional<Sender> sender);

  struct OpenRequest {
    std::optional<Sender> sender;  // of its step; nothing for one that a state had
    std::string line;
  };

  /// The open requests with their status lines.
  std::vector<OpenRequest> GetOpen() const;
  /// The status lines of those that ended in the last hours, oldest first.
  std::vector<std::string> DescribeEnded(std::int64_t now) const;

 private:
  struct Request {
    std::int64_t since;
    std::optional<Sender> sender;
  };
  struct Service {
    int delay = 0;  // minutes; -1 is never
    std::optional<Request> request;
  };
  struct Ended {
    std::int64_t moment;
    std::string line;
  };

  static std::string DescribeOpen(unsigned int id, const Service& service);
  std::string End(unsigned int id, Service& service, std::int64_t now, std::string_view how);

  std::map<unsigned int, Service> services_;
  std::deque<Ended> ended_;
};

}  // namespace host

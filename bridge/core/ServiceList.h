#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace bridge {

/// Seconds since 1970-01-01 00:00:00 UTC.
using Seconds = std::int64_t;

/// A guest service of the host's list.
struct Service {
  std::string name;
  std::string description;
  std::int32_t icon = 0;
  std::int32_t delay = 0;  // minutes; -1 is never
  std::string requestCode;
  bool isOpen = false;
  std::optional<Seconds> since;  // of the open request
  std::optional<Seconds> until;  // likewise; nothing if it never lapses
};

/// What a line of the host says.
struct Change {
  enum class Kind {
    kNone,
    kUnknown,        // there may be another list: ask for it
    kNoList,         // the host has none
    kList,           // the list is here
    kService,        // a service was added or edited
    kRemoved,        // an entry was removed
    kRemovedUnseen,  // likewise, before the list that comes, while there was no connection
    kRequested,      // a request began, was cancelled, lapsed
    kCanceled,
    kLapsed,
    kHealth,   // the host's state of health
    kRefused,  // the host refused a step of this client
    kEnd       // a query other than for the list was answered: the steps before it are done
  } kind = Kind::kNone;
  std::uint32_t id = 0;
  std::string text = {};  // of a request or a cancellation: the role; of a refusal: the reason
};

/// The guest services of a host, as its lines for the front desk tell them. Shortcuts are left out.
class ServiceList {
 public:
  /// The step that asks for the list, and the one whose answer is a `Change::Kind::kEnd`.
  static constexpr std::string_view kAskForList = "ui GET_ALL_SERVICES";
  static constexpr std::string_view kAskForEnd = "ui GET_SERVICE_TYPES";

  /// Starts again, for a new connection to the host.
  void Reset();
  /// Takes a line of the host, without its line end. A line that is none of the host's is ignored.
  Change Take(std::string_view line);

  /// Whether there is a list that the host stands by.
  bool IsKnown() const { return isKnown_; }
  /// By id. Of two entries with one id only the first counts, the one that commands find.
  const std::map<std::uint32_t, Service>& Get() const { return services_; }
  /// The host's word for whether its state is kept: `ok`, `none` or `failed`.
  const std::string& GetHealth() const { return health_; }
  /// The host's clock, as it told it last.
  Seconds GetTime() const { return time_; }

 private:
  struct Request {
    Seconds since = 0;
    std::optional<Seconds> until;
  };

  Change TakeStatus(std::string_view text);
  Change TakePush(std::string_view xml);
  Change TakeList(std::string_view xml);
  void AddMoments(std::uint32_t id, Service& service) const;

  bool isReplaying_ = true;  // the lines are those of the past
  bool isKnown_ = false;
  bool hasTwins_ = false;  // whether entries of the list share an id
  std::string step_;       // of this client, which the next lines are about
  std::string from_;       // the role that sent the step that comes
  std::string health_ = "none";
  Seconds time_ = 0;
  Seconds lostAt_ = 0;  // when the connection before was lost; 0 if there was none
  std::map<std::uint32_t, Service> services_;
  std::map<std::uint32_t, Request> requests_;
};

}  // namespace bridge

#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "platform/QxBaseDriver.h"

namespace host {

/// The timers of a host, ordered by their expiry.
class TimerQueue {
 public:
  struct Timer {
    ID::Timer id;
    std::int64_t armed;  // when it was
    IDriver* driver;
  };

  /// `armed`, which is now, and `due` are in milliseconds of the monotonic clock.
  ID::Timer Add(IDriver& driver, std::int64_t armed, std::int64_t due);
  void Remove(ID::Timer id);
  void Clear() { timers_.clear(); }

  /// When the next timer expires; nothing without timers.
  std::optional<std::int64_t> GetNextDue() const;
  /// Takes the timer that is due first out of the queue, earlier armed ones before later ones. The
  /// queue must not be empty.
  Timer TakeNext();

  /// When the only timer was armed; nothing unless there is one.
  std::optional<std::int64_t> GetOnlyArmed() const;

  std::size_t GetSize() const { return timers_.size(); }

 private:
  std::multimap<std::int64_t, Timer> timers_;  // by due moment
  ID::Timer lastId_ = 0;
};

}  // namespace host

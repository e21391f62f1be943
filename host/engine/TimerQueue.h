#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "platform/QxBaseDriver.h"

namespace host {

/// The timers of a host, by the moment at which they are due.
class TimerQueue {
 public:
  struct Timer {
    ID::Timer id;
    std::int64_t due;     // milliseconds of the monotonic clock
    std::int64_t period;  // milliseconds; 0 for a timer that expires once
    IDriver* driver;
  };

  ID::Timer Add(IDriver& driver, std::int64_t due, std::int64_t period);
  void Remove(ID::Timer id);
  void Clear() { timers_.clear(); }

  /// When the next timer is due; nothing without timers.
  std::optional<std::int64_t> GetNextDue() const;
  /// The timer that is due first, earlier armed ones before later ones; taken out of the queue, or
  /// put back for its next period. The queue must not be empty.
  Timer TakeNext();

  std::size_t GetSize() const { return timers_.size(); }

 private:
  std::multimap<std::int64_t, Timer> timers_;  // by due moment
  ID::Timer lastId_ = 0;
};

}  // namespace host

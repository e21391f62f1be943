#include "host/engine/TimerQueue.h"

#include <algorithm>

namespace host {

ID::Timer TimerQueue::Add(IDriver& driver, std::int64_t armed, std::int64_t due) {
  const ID::Timer id = lastId_ + 1 != 0 ? lastId_ + 1 : 1;  // 0 means no timer
  timers_.emplace(due, Timer{id, armed, &driver});
  lastId_ = id;
  return id;
}

void TimerQueue::Remove(ID::Timer id) {
  const auto found = std::find_if(timers_.begin(), timers_.end(),
                                  [id](const auto& entry) { return entry.second.id == id; });
  if (found != timers_.end()) timers_.erase(found);
}

std::optional<std::int64_t> TimerQueue::GetNextDue() const {
  if (timers_.empty()) return std::nullopt;
  return timers_.begin()->first;
}

std::optional<std::int64_t> TimerQueue::GetOnlyArmed() const {
  if (timers_.size() != 1) return std::nullopt;
  return timers_.begin()->second.armed;
}

TimerQueue::Timer TimerQueue::TakeNext() {
  const Timer timer = timers_.begin()->second;
  timers_.erase(timers_.begin());
  return timer;
}

}  // namespace host

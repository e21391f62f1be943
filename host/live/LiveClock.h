#pragma once

#include <cstdint>
#include <functional>

#include "host/engine/Clock.h"

namespace host {

/// What the system's clocks show, in milliseconds.
struct Moment {
  std::int64_t wall;    // since 1970-01-01 00:00:00 UTC
  std::int64_t steady;  // since some moment; never set back
};

/// An agent's clock that follows the system's clocks in whole seconds, so that a session can be
/// replayed. Steps may move it away from them; it goes on from there. All times are milliseconds.
class LiveClock {
 public:
  /// `now` gives the system's clocks.
  explicit LiveClock(std::function<Moment()> now);

  /// The clock that the agent sees.
  ManualClock& GetAgentClock() { return clock_; }

  /// The agent clock's monotonic time that the system's steady clock has reached. The agent's clock
  /// may not be advanced to it yet.
  std::int64_t GetReached() const;
  /// A moment of the agent clock's monotonic time as one of the system's steady clock.
  std::int64_t ToSteady(std::int64_t moment) const { return moment - moved_ + start_.steady; }

  /// Takes note that a step advanced the agent's clock by that much.
  void OnAdvanced(std::int64_t milliseconds) { moved_ += milliseconds; }
  /// Sets the agent's wall clock by as much as the system's was set. Returns whether it was.
  bool FollowWall();

 private:
  std::function<Moment()> now_;
  Moment start_;              // of whole seconds
  std::int64_t moved_ = 0;    // by steps
  std::int64_t wallSet_ = 0;  // by how much the system's wall clock was set since the start
  ManualClock clock_;
};

}  // namespace host

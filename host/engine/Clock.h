#pragma once

#include <cstdint>

namespace host {

/// The two clocks of a host. Both can be advanced, so that hours pass at once.
class Clock {
 public:
  virtual ~Clock() = default;

  /// The time that the agent sees: milliseconds since 1970-01-01 00:00:00 UTC.
  std::int64_t Wall() const { return BaseWall() + wallOffset_; }
  /// The time of the timers: milliseconds since some moment, never set back.
  std::int64_t Monotonic() const { return BaseMonotonic() + monotonicOffset_; }

  /// Advances both clocks.
  void Advance(std::int64_t milliseconds) {
    wallOffset_ += milliseconds;
    monotonicOffset_ += milliseconds;
  }
  /// Sets the wall clock alone.
  void SetWall(std::int64_t milliseconds) { wallOffset_ = milliseconds - BaseWall(); }

 protected:
  virtual std::int64_t BaseWall() const = 0;
  virtual std::int64_t BaseMonotonic() const = 0;

 private:
  std::int64_t wallOffset_ = 0;
  std::int64_t monotonicOffset_ = 0;
};

/// A clock that stands still between calls of `Advance` and `SetWall`.
class ManualClock : public Clock {
 public:
  /// Starts at that many seconds since 1970-01-01 00:00:00 UTC.
  explicit ManualClock(std::int64_t seconds) : start_(seconds * 1000) {}

 private:
  std::int64_t BaseWall() const override { return start_; }
  std::int64_t BaseMonotonic() const override { return 0; }

  std::int64_t start_;
};

/// The system's clocks.
class SystemClock : public Clock {
 private:
  std::int64_t BaseWall() const override;
  std::int64_t BaseMonotonic() const override;
};

}  // namespace host

#pragma once

#include <cstdint>

namespace host {

/// The two clocks of a host. Both can be moved, so that what takes hours can be seen at once.
class Clock {
 public:
  virtual ~Clock() = default;

  /// Milliseconds since 1970-01-01 00:00:00 UTC: what the agent sees.
  std::int64_t Wall() const { return BaseWall() + wallOffset_; }
  /// Milliseconds since some moment; never set back: what timers go by.
  std::int64_t Monotonic() const { return BaseMonotonic() + monotonicOffset_; }

  /// Moves both clocks forward.
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

/// Stands still until it is moved.
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

/// What the process's time zone adds to UTC at a moment; both in seconds.
std::int64_t GetUtcOffset(std::int64_t seconds);

}  // namespace host

#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <utility>

namespace bridge {

/// How long to wait before the next attempt: up to 1 s at first, doubled with each failure to 8 s,
/// with full jitter, so that many rooms do not come back at one moment.
class Backoff {
 public:
  using Duration = std::chrono::milliseconds;

  /// `random` returns a number from 0 to 1.
  explicit Backoff(std::function<double()> random) : random_(std::move(random)) {}

  /// An attempt succeeded.
  void Reset() { limit_ = kFirst; }
  /// An attempt failed. `isLasting`: it will fail again until a person changes something, so the
  /// wait doubles up to 60 s, and is at least half of that.
  Duration Next(bool isLasting) {
    const Duration limit = std::min(limit_, isLasting ? kLongest : kLong);
    limit_ = std::min(2 * limit_, kLongest);
    const double least = isLasting ? 0.5 : 0;
    return std::chrono::duration_cast<Duration>(limit * (least + (1 - least) * random_()));
  }

 private:
  static constexpr Duration kFirst{1000}, kLong{8000}, kLongest{60000};

  std::function<double()> random_;
  Duration limit_ = kFirst;
};

}  // namespace bridge

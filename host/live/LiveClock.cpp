#include "host/live/LiveClock.h"

#include <utility>

namespace host {
namespace {

constexpr std::int64_t kSecond = 1000;
// A smaller change is drift between the two clocks, not a setting.
constexpr std::int64_t kLeastSetting = 2 * kSecond;

std::int64_t WholeSeconds(std::int64_t milliseconds) {
  return milliseconds - milliseconds % kSecond;
}

}  // namespace

LiveClock::LiveClock(std::function<Moment()> now)
    : now_(std::move(now)), start_(now_()), clock_(start_.wall / kSecond) {
  // The agent clock's seconds begin with those of the wall clock.
  start_.steady -= start_.wall % kSecond;
  start_.wall = WholeSeconds(start_.wall);
}

std::int64_t LiveClock::GetReached() const {
  return WholeSeconds(now_().steady - start_.steady) + moved_;
}

bool LiveClock::FollowWall() {
  const Moment now = now_();
  const std::int64_t expected = start_.wall + WholeSeconds(now.steady - start_.steady) + wallSet_;
  const std::int64_t change = WholeSeconds(now.wall) - expected;
  if (change > -kLeastSetting && change < kLeastSetting) return false;
  wallSet_ += change;
  clock_.SetWall(clock_.Wall() + change);
  return true;
}

}  // namespace host

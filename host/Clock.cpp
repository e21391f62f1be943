#include "host/Clock.h"

#include <chrono>

namespace host {
namespace {

template <typename SomeClock>
std::int64_t MillisecondsOf() {
  using std::chrono::milliseconds;
  const auto sinceEpoch = SomeClock::now().time_since_epoch();
  return std::chrono::duration_cast<milliseconds>(sinceEpoch).count();
}

}  // namespace

std::int64_t SystemClock::BaseWall() const { return MillisecondsOf<std::chrono::system_clock>(); }

std::int64_t SystemClock::BaseMonotonic() const {
  return MillisecondsOf<std::chrono::steady_clock>();
}

}  // namespace host

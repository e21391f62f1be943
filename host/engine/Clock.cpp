// Built with the C library's 64-bit time functions on every machine: `std::chrono` on a 32-bit
// machine counts with its 32-bit `time_t`, which ends in 2038.
#include "host/engine/Clock.h"

#include <ctime>

static_assert(sizeof(std::time_t) == 8, "this file needs the C library's 64-bit time functions");

namespace host {
namespace {

std::int64_t MillisecondsOf(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);  // cannot fail for these clocks
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

}  // namespace

std::int64_t SystemClock::BaseWall() const { return MillisecondsOf(CLOCK_REALTIME); }

std::int64_t SystemClock::BaseMonotonic() const { return MillisecondsOf(CLOCK_MONOTONIC); }

}  // namespace host

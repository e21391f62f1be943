#pragma once

#include <cstdint>

#include "platform/Types.h"

/// A calendar time with second resolution, in the process's time zone. The fields are kept as
/// given, also where no calendar has them (month 13, second -1): the getters return them unchanged
/// and `GetTime` carries them over. [any time]
class PLATFORM_API QxTime {
 public:
  /// 1970-01-01 00:00:00.
  QxTime();
  QxTime(int year, int month, int day, int hour, int minute, int second);
  /// From seconds since 1970-01-01 00:00:00 UTC, 64 bits wide for any width of `long`.
  explicit QxTime(const long& seconds);
  explicit QxTime(const long long& seconds);
  /// The same from an `int`, which would be ambiguous between the two.
  explicit QxTime(int seconds);

  /// The current time by the host's clock, or by the system's clock when no host is attached.
  static QxTime GetCurrentTime();

  /// Seconds since 1970-01-01 00:00:00 UTC. A time that daylight saving time skips counts on from
  /// before the gap. A time that it repeats is the first of the two, unless the object was made
  /// from seconds.
  std::int64_t GetTime() const;

  int GetYear() const;
  int GetMonth() const;
  int GetDay() const;
  int GetHour() const;
  int GetMinute() const;
  int GetSecond() const;

 private:
  static constexpr std::int64_t kNotYetComputed = INT64_MIN;

  void SetFromSeconds(std::int64_t seconds);

  int year_ = 1970;
  int month_ = 1;
  int day_ = 1;
  int hour_ = 0;
  int minute_ = 0;
  int second_ = 0;
  // Reading the zone's rules is slow, and most times are never asked for their seconds.
  mutable std::int64_t seconds_ = kNotYetComputed;
};

namespace qx {

/// The offset of the process's time zone from UTC at a moment, daylight saving time included; both
/// in seconds. 0 where the C library has no calendar. Does not fail. [any time]
PLATFORM_API std::int64_t GetUtcOffset(std::int64_t seconds);

}  // namespace qx

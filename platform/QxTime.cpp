// Built with 64-bit time functions on every machine, so that 32-bit ones count past 2038.
#include "platform/QxTime.h"

#include <ctime>

#include "platform/IHost.h"

static_assert(sizeof(std::time_t) == 8, "this file needs the C library's 64-bit time functions");

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

/// Days from 1970-01-01 to the given day of the proleptic Gregorian calendar. Months and days
/// outside their usual ranges carry over.
std::int64_t DaysFromCivil(std::int64_t year, std::int64_t month, std::int64_t day) {
  std::int64_t months = year * 12 + (month - 1) - 2;  // counted from March: leap days come last
  std::int64_t marchYear = months >= 0 ? months / 12 : -((11 - months) / 12);
  std::int64_t marchMonth = months - marchYear * 12;
  std::int64_t era = marchYear >= 0 ? marchYear / 400 : -((399 - marchYear) / 400);
  std::int64_t yearOfEra = marchYear - era * 400;
  std::int64_t dayOfYear = (153 * marchMonth + 2) / 5;
  std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  constexpr std::int64_t kDaysPerEra = 146097;
  constexpr std::int64_t kDaysFromEraStartTo1970 = 719468;
  return era * kDaysPerEra + dayOfEra - kDaysFromEraStartTo1970 + (day - 1);
}

}  // namespace

std::int64_t qx::GetUtcOffset(std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm fields{};
  return localtime_r(&time, &fields) != nullptr ? fields.tm_gmtoff : 0;
}

QxTime::QxTime() = default;

QxTime::QxTime(int year, int month, int day, int hour, int minute, int second)
    : year_(year), month_(month), day_(day), hour_(hour), minute_(minute), second_(second) {}

QxTime::QxTime(const long& seconds) { SetFromSeconds(seconds); }

QxTime::QxTime(const long long& seconds) { SetFromSeconds(seconds); }

QxTime::QxTime(int seconds) { SetFromSeconds(seconds); }

QxTime QxTime::GetCurrentTime() {
  const qx::IHost* host = qx::GetCurrentHost();
  const std::int64_t now = host != nullptr ? host->CurrentTime() : std::time(nullptr);
  return QxTime(now);
}

std::int64_t QxTime::GetTime() const {
  if (seconds_ != kNotYetComputed) return seconds_;
  const std::int64_t asUtc = DaysFromCivil(year_, month_, day_) * kSecondsPerDay +
                             std::int64_t{hour_} * 3600 + std::int64_t{minute_} * 60 + second_;
  // The offsets a day before and a day after bracket any change of the hour. Of two moments with
  // the same fields the larger offset gives the first, which the one before the change has.
  const std::int64_t before = asUtc - qx::GetUtcOffset(asUtc - kSecondsPerDay);
  const std::int64_t after = asUtc - qx::GetUtcOffset(asUtc + kSecondsPerDay);
  const bool afterFits = after + qx::GetUtcOffset(after) == asUtc;
  const bool beforeFits = before + qx::GetUtcOffset(before) == asUtc;
  seconds_ = afterFits && !beforeFits ? after : before;
  return seconds_;
}

int QxTime::GetYear() const { return year_; }

int QxTime::GetMonth() const { return month_; }

int QxTime::GetDay() const { return day_; }

int QxTime::GetHour() const { return hour_; }

int QxTime::GetMinute() const { return minute_; }

int QxTime::GetSecond() const { return second_; }

void QxTime::SetFromSeconds(std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm fields{};
  if (localtime_r(&time, &fields) == nullptr) return;  // beyond the C library's calendar
  year_ = fields.tm_year + 1900;
  month_ = fields.tm_mon + 1;
  day_ = fields.tm_mday;
  hour_ = fields.tm_hour;
  minute_ = fields.tm_min;
  second_ = fields.tm_sec;
  seconds_ = seconds;
}

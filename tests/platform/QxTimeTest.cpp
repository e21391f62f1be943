#include <gtest/gtest.h>

#include <array>
#include <ctime>

#include "platform/QxTime.h"
#include "tests/support/Zone.h"

namespace {

using Fields = std::array<int, 6>;

constexpr int kMost = 2147483647;

QxTime MakeTime(const Fields& f) { return {f[0], f[1], f[2], f[3], f[4], f[5]}; }

Fields FieldsOf(const QxTime& time) {
  return {time.GetYear(), time.GetMonth(),  time.GetDay(),
          time.GetHour(), time.GetMinute(), time.GetSecond()};
}

TEST(QxTime, KeepsItsFieldsAndReadsThemByTheZonesRules) {
  const struct {
    const char* zone;
    Fields fields;
    std::int64_t seconds;
  } cases[] = {
      {"UTC", {2100, 2, 29, 0, 0, 0}, 4107542400},
      {"UTC", {1600, 2, 29, 0, 0, 0}, -11670998400},
      {"UTC", {0, 3, 1, 0, 0, 0}, -62162035200},
      {"UTC", {-1, 12, 31, 0, 0, 0}, -62167305600},
      {"UTC", {2024, -11, -30, -1, -1, -1}, 1669849139},
      {"UTC", {2024, 3, 1, kMost, kMost, kMost}, 7863646882867},
      {"UTC", {kMost, 12, 31, 23, 59, 59}, 67767976233532799},
      {"UTC", {-kMost - 1, 1, 1, 0, 0, 0}, -67768100567971200},
      {"Europe/Berlin", {2024, 3, 31, 2, 30, 0}, 1711848600},        // skipped: counts on
      {"Europe/Berlin", {2024, 10, 27, 2, 30, 0}, 1729989000},       // repeated: the first
      {"Australia/Lord_Howe", {2024, 4, 7, 1, 30, 0}, 1712413800},   // half an hour, repeated
      {"Australia/Lord_Howe", {2024, 10, 6, 2, 15, 0}, 1728143100},  // and skipped
      {"Africa/Casablanca", {2024, 4, 14, 2, 30, 0}, 1713061800},
      {"Pacific/Apia", {2011, 12, 30, 12, 0, 0}, 1325282400},
  };
  for (const auto& [zone, fields, seconds] : cases) {
    const test::Zone here(zone);
    const QxTime time = MakeTime(fields);
    EXPECT_EQ(time.GetTime(), seconds) << zone << ' ' << testing::PrintToString(fields);
    EXPECT_EQ(FieldsOf(time), fields);
  }
}

TEST(QxTime, ComesBackFromSeconds) {
  for (const char* const zone :
       {"UTC", "Europe/Berlin", "Etc/GMT+12", "Pacific/Chatham", "Australia/Lord_Howe",
        "Africa/Casablanca", "Asia/Kathmandu", "Pacific/Apia"}) {
    const test::Zone here(zone);
    for (const long long seconds :
         {-62135596800LL, -2147483649LL, -1LL,         0LL,           504901799LL,  504901800LL,
          1325239199LL,   1325239200LL,  1709251199LL, 1710032400LL,  1711846799LL, 1711846800LL,
          1728142199LL,   1728142200LL,  1729987199LL, 1729987200LL,  1729990799LL, 1729994400LL,
          2147483648LL,   2153350799LL,  2153350800LL, 253402300799LL}) {
      const QxTime time(seconds);
      EXPECT_EQ(time.GetTime(), seconds) << zone;
      EXPECT_EQ(MakeTime(FieldsOf(time)).GetTime(), seconds) << zone;
    }
  }
  const test::Zone berlin("Europe/Berlin");
  EXPECT_EQ(FieldsOf(QxTime()), (Fields{1970, 1, 1, 0, 0, 0}));
  EXPECT_EQ(FieldsOf(QxTime(-3600)), FieldsOf(QxTime()));
  // The second of two has its own count, and the fields of the first.
  EXPECT_EQ(QxTime(1729992600LL).GetTime(), 1729992600);
  EXPECT_EQ(FieldsOf(QxTime(1729992600LL)), (Fields{2024, 10, 27, 2, 30, 0}));
}

TEST(QxTime, IsTheSystemsWithoutAHost) {
  const time_t before = time(nullptr);
  const std::int64_t now = QxTime::GetCurrentTime().GetTime();
  EXPECT_GE(now, before);
  EXPECT_LE(now, time(nullptr));
}

}  // namespace

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "platform/QxTime.h"

namespace {

constexpr int kMost = 2147483647;
constexpr const char* kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";

/// Puts the process into a time zone.
class Zone {
 public:
  explicit Zone(const char* rules) { Set(rules); }
  ~Zone() { Set("UTC"); }

 private:
  static void Set(const char* rules) {
    setenv("TZ", rules, 1);
    tzset();
  }
};

std::string Fields(const QxTime& time) {
  std::string text;
  for (const int field : {time.GetYear(), time.GetMonth(), time.GetDay(), time.GetHour(),
                          time.GetMinute(), time.GetSecond()}) {
    text += (text.empty() ? "" : " ") + std::to_string(field);
  }
  return text;
}

TEST(QxTime, KeepsItsFieldsAndCarriesThemOver) {
  const Zone utc("UTC");
  const struct {
    int year, month, day, hour, minute, second;
    const char* fields;
    std::int64_t seconds;
  } cases[] = {
      {1970, 1, 1, 0, 0, 0, "1970 1 1 0 0 0", 0},
      {2024, 2, 29, 23, 59, 59, "2024 2 29 23 59 59", 1709251199},
      {2024, 2, 30, 0, 0, 0, "2024 2 30 0 0 0", 1709251200},
      {2100, 2, 29, 0, 0, 0, "2100 2 29 0 0 0", 4107542400},
      {2038, 1, 19, 3, 14, 8, "2038 1 19 3 14 8", 2147483648},
      {1600, 2, 29, 0, 0, 0, "1600 2 29 0 0 0", -11670998400},
      {0, 3, 1, 0, 0, 0, "0 3 1 0 0 0", -62162035200},
      {-1, 12, 31, 0, 0, 0, "-1 12 31 0 0 0", -62167305600},
      {2024, 14, 29, 23, 58, 60, "2024 14 29 23 58 60", 1740873540},
      {2024, 0, 0, 0, 0, -1, "2024 0 0 0 0 -1", 1701302399},
      {2024, -11, -30, -1, -1, -1, "2024 -11 -30 -1 -1 -1", 1669849139},
      {2024, 3, 1, kMost, kMost, kMost, "2024 3 1 2147483647 2147483647 2147483647", 7863646882867},
      {kMost, 12, 31, 23, 59, 59, "2147483647 12 31 23 59 59", 67767976233532799},
      {-kMost - 1, 1, 1, 0, 0, 0, "-2147483648 1 1 0 0 0", -67768100567971200},
  };
  for (const auto& c : cases) {
    const QxTime time(c.year, c.month, c.day, c.hour, c.minute, c.second);
    EXPECT_EQ(time.GetTime(), c.seconds) << c.fields;
    EXPECT_EQ(Fields(time), c.fields);
  }
}

TEST(QxTime, ComesBackFromSeconds) {
  for (const char* const zone : {"UTC", kBerlin, "<-12>12", "<+1245>-12:45"}) {
    const Zone here(zone);
    for (const long long seconds :
         {-62135596800LL, -2147483649LL, -1LL, 0LL, 1709251199LL, 1711846799LL, 1711846800LL,
          1729990799LL, 1729990800LL, 1729994399LL, 2147483648LL, 253402300799LL}) {
      const QxTime time(seconds);
      EXPECT_EQ(time.GetTime(), seconds) << zone;
      EXPECT_EQ(QxTime(time.GetTime()).GetTime(), seconds) << zone;
    }
  }
}

TEST(QxTime, GoesByTheZone) {
  const Zone berlin(kBerlin);
  EXPECT_EQ(Fields(QxTime()), "1970 1 1 0 0 0");
  EXPECT_EQ(QxTime().GetTime(), -3600);
  EXPECT_EQ(Fields(QxTime(1709283600LL)), "2024 3 1 10 0 0");
  EXPECT_EQ(QxTime(2024, 7, 1, 12, 0, 0).GetTime(), 1719828000);
  // A time that is skipped counts on from before the gap; one that is repeated is the first.
  EXPECT_EQ(QxTime(2024, 3, 31, 2, 30, 0).GetTime(), 1711848600);
  EXPECT_EQ(QxTime(2024, 10, 27, 2, 30, 0).GetTime(), 1729989000);
  EXPECT_EQ(Fields(QxTime(1729992600LL)), "2024 10 27 2 30 0");
}

TEST(QxTime, IsTheSystemsWithoutAHost) {
  const time_t before = time(nullptr);
  const std::int64_t now = QxTime::GetCurrentTime().GetTime();
  EXPECT_GE(now, before);
  EXPECT_LE(now, time(nullptr));
}

}  // namespace

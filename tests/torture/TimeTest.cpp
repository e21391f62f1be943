// Requests over changes of the hour and past the end of 32-bit time, without and with a restart.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/QxTime.h"
#include "tests/support/Player.h"

namespace test {
namespace {

/// Sets the process's time zone, and puts the one before back in the end.
class Zone {
 public:
  explicit Zone(const std::string& name) {
    EXPECT_TRUE(std::filesystem::exists("/usr/share/zoneinfo/" + name))
        << "the time zone " << name << " is not installed: package tzdata";
    if (const char* const before = std::getenv("TZ")) before_ = before;
    Set(name.c_str());
  }
  ~Zone() { Set(before_ ? before_->c_str() : nullptr); }
  Zone(const Zone&) = delete;
  Zone& operator=(const Zone&) = delete;

 private:
  static void Set(const char* name) {
    if (name != nullptr) {
      setenv("TZ", name, 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

  std::optional<std::string> before_;
};

/// An agent with one service, and its wall clock. Moments are in seconds of UTC.
class Hotel {
 public:
  Hotel(std::int64_t now, int delay) {
    player_.GetClock().SetWall(now * 1000);
    player_.Play("ADD_SERVICE delay=" + std::to_string(delay));
  }

  void Request() { player_.Play("SEND_REQUEST_EVENT id=1"); }
  void Restart() { player_.Play("restart"); }

  /// Goes to a moment at which the timer expires. Returns whether the request is open then.
  bool SweepAt(std::int64_t moment) {
    constexpr std::int64_t kTimerPeriod = 30000;
    player_.GetClock().Advance(kTimerPeriod);
    player_.GetClock().SetWall(moment * 1000);
    player_.GetSession().AdvanceTo(player_.GetClock().Monotonic());
    return player_.Play("GET_SERVICE id=1").find("state=\"1\"") != std::string::npos;
  }

 private:
  Player player_;
};

constexpr std::int64_t kEndOf32Bits = 2147483647;    // 2038-01-19 03:14:07
constexpr std::int64_t kEndOfUnsigned = 4294967295;  // 2106-02-07 06:28:15
constexpr int kNever = 0;

struct Case {
  const char* zone;
  std::int64_t change;  // what the next three count from, in seconds
  int requested;
  int restarted;  // 0: not at all
  int lapses;
  int delay;  // minutes
};

// The hour that is repeated begins at the change, and for the first time as long before it.
constexpr Case kCases[] = {
    {"UTC", kEndOf32Bits, -1, kNever, 899, 15},
    {"UTC", kEndOf32Bits, 0, kNever, 900, 15},
    {"UTC", kEndOf32Bits, 1, kNever, 901, 15},
    {"UTC", kEndOf32Bits, -1, 1, 899, 15},
    {"UTC", kEndOf32Bits, 0, 1, 900, 15},
    {"UTC", kEndOf32Bits, 1, 2, 901, 15},
    {"UTC", kEndOf32Bits, -899, -1, 1, 15},
    {"UTC", kEndOf32Bits, 0, 86400, 2147483647 - 7, 35791394},
    {"UTC", kEndOfUnsigned, -1, kNever, 899, 15},
    {"UTC", kEndOfUnsigned, 1, 2, 901, 15},
    {"Europe/Berlin", kEndOf32Bits, -1, 1, 899, 15},
    {"Europe/Berlin", 2153350800, -600, 300, 1200, 30},   // March 2038
    {"Europe/Berlin", 2172099600, -1800, 600, 3600, 90},  // October 2038

    {"Europe/Berlin", 1711846800, -600, kNever, 1200, 30},  // an hour skipped
    {"Europe/Berlin", 1711846800, -600, -300, 1200, 30},
    {"Europe/Berlin", 1711846800, -1, 1, 1799, 30},
    {"Europe/Berlin", 1711846800, 0, 1, 1800, 30},
    {"Europe/Berlin", 1729990800, -1800, kNever, 3600, 90},  // an hour repeated
    {"Europe/Berlin", 1729990800, 1800, kNever, 7200, 90},
    {"Europe/Berlin", 1729990800, -3601, 600, 1799, 90},
    {"Europe/Berlin", 1729990800, -3600, 600, 1800, 90},
    {"Europe/Berlin", 1729990800, -1, 600, 5399, 90},
    {"Europe/Berlin", 1729990800, 0, 600, 1800, 90},  // taken for the first: an hour early
    {"Europe/Berlin", 1729990800, 1800, 2400, 3600, 90},
    {"Europe/Berlin", 1729990800, 3599, 3600, 5399, 90},
    {"Europe/Berlin", 1729990800, 3599, 3600, 3600, 30},  // earlier still, were it not down then
    {"Europe/Berlin", 1729990800, 3600, 3601, 9000, 90},

    {"America/New_York", 1710054000, -600, 300, 1200, 30},
    {"America/New_York", 1730613600, -1, 600, 5399, 90},
    {"America/New_York", 1730613600, 0, 600, 1800, 90},
    {"America/New_York", 1730613600, 3600, 3601, 9000, 90},
    {"Australia/Lord_Howe", 1728142200, -600, 300, 1200, 30},  // half an hour
    {"Australia/Lord_Howe", 1712415600, -1800, 60, 3600, 90},
    {"Australia/Lord_Howe", 1712415600, 0, 60, 3600, 90},
    {"Australia/Lord_Howe", 1712415600, 1800, 1860, 7200, 90},
    {"Africa/Casablanca", 1710036000, -1, 600, 5399, 90},  // summer time is the standard
    {"Africa/Casablanca", 1710036000, 0, 600, 1800, 90},
    {"Africa/Casablanca", 1713060000, -600, 300, 1200, 30},
    {"Asia/Kathmandu", 504901800, -600, 300, 1200, 30},   // 15 minutes, for good
    {"Pacific/Apia", 1325239200, -3600, 300, 3600, 120},  // a day
};

TEST(Time, RequestsLapseWhenTheirDelayIsOver) {
  for (const auto& [name, change, requested, restarted, lapses, delay] : kCases) {
    SCOPED_TRACE(std::string(name) + ", requested " + std::to_string(requested) +
                 " s and restarted " + std::to_string(restarted) + " s from " +
                 std::to_string(change));
    const Zone zone(name);
    Hotel hotel(change + requested, delay);
    hotel.Request();
    EXPECT_TRUE(hotel.SweepAt(change + requested));
    if (restarted != kNever) {
      EXPECT_TRUE(hotel.SweepAt(change + restarted - 1));
      hotel.Restart();
    }
    EXPECT_TRUE(lapses == restarted || hotel.SweepAt(change + lapses - 1)) << "too early";
    EXPECT_FALSE(hotel.SweepAt(change + lapses)) << "too late";
  }
}

TEST(Time, OfDayIsReadByTheZonesRules) {
  const struct {
    const char* zone;
    int year, month, day, hour, minute;
    std::int64_t moment;
  } cases[] = {
      {"Australia/Lord_Howe", 2024, 4, 7, 1, 30, 1712413800},   // repeated: the first
      {"Australia/Lord_Howe", 2024, 10, 6, 2, 15, 1728143100},  // skipped: counts on
      {"Africa/Casablanca", 2024, 3, 10, 2, 30, 1710034200},
      {"Africa/Casablanca", 2024, 4, 14, 2, 30, 1713061800},
      {"Asia/Kathmandu", 1986, 1, 1, 0, 5, 504902100},
      {"Asia/Kathmandu", 1986, 1, 1, 0, 15, 504901800},
      {"Pacific/Apia", 2011, 12, 30, 12, 0, 1325282400},
      {"Pacific/Apia", 2011, 12, 31, 0, 0, 1325239200},
  };
  for (const auto& [name, year, month, day, hour, minute, moment] : cases) {
    const Zone zone(name);
    EXPECT_EQ(QxTime(year, month, day, hour, minute, 0).GetTime(), moment)
        << name << ' ' << year << '-' << month << '-' << day << ' ' << hour << ':' << minute;
  }
}

}  // namespace
}  // namespace test

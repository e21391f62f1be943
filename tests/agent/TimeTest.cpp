// Requests over changes of the hour and past the end of 32-bit time, without and with a restart.
// QxTimeTest.cpp has the rules of other zones, year-2038.txt the night of 2038 in sweeps.
#include <gtest/gtest.h>

#include <string>

#include "host/engine/Clock.h"
#include "host/session/StepTable.h"
#include "tests/support/Plugin.h"
#include "tests/support/Zone.h"

namespace test {
namespace {

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
    {"UTC", kEndOf32Bits, 0, 86400, 2147483647 - 7, 35791394},
    {"UTC", kEndOfUnsigned, 1, 2, 901, 15},
    {"Europe/Berlin", 2172099600, -1800, 600, 3600, 90},  // an hour repeated, in 2038
    {"Europe/Berlin", 1729990800, 1800, kNever, 7200, 90},
    {"Europe/Berlin", 1729990800, 0, 600, 1800, 90},      // taken for the first: an hour early
    {"Europe/Berlin", 1729990800, 3599, 3600, 3600, 30},  // earlier still, were it not down then
    {"Europe/Berlin", 1711846800, -1, 1, 1799, 30},       // an hour skipped
};

TEST(Time, RequestsLapseWhenTheirDelayIsOver) {
  for (const auto& [name, change, requested, restarted, lapses, delay] : kCases) {
    SCOPED_TRACE(std::string(name) + ", requested " + std::to_string(requested) +
                 " s and restarted " + std::to_string(restarted) + " s from " +
                 std::to_string(change));
    const Zone zone(name);
    host::ManualClock clock(change + requested);
    std::string answer;
    host::Session session(GetPlugin(), clock, [&](const std::string& line) { answer = line; });
    // Goes to a moment at which the timer expires; returns whether the request is open then.
    const auto sweepAt = [&](std::int64_t moment) {
      constexpr std::int64_t kTimerPeriod = 30000;
      clock.Advance(kTimerPeriod);
      clock.SetWall(moment * 1000);
      session.AdvanceTo(clock.Monotonic());
      host::RunScenarioLine(session, "GET_SERVICE id=1");
      return answer.find("state=\"1\"") != std::string::npos;
    };
    session.Start();
    host::RunScenarioLine(session, "ADD_SERVICE delay=" + std::to_string(delay));
    host::RunScenarioLine(session, "SEND_REQUEST_EVENT id=1");
    EXPECT_TRUE(sweepAt(change + requested));
    if (restarted != kNever) {
      EXPECT_TRUE(sweepAt(change + restarted - 1));
      host::RunScenarioLine(session, "restart");
    }
    EXPECT_TRUE(lapses == restarted || sweepAt(change + lapses - 1)) << "too early";
    EXPECT_FALSE(sweepAt(change + lapses)) << "too late";
  }
}

}  // namespace
}  // namespace test

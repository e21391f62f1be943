#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "host/console/Journal.h"

namespace host {
namespace {

TEST(Journal, GetsRecordsFailuresAndStatusLinesWithTheirLevels) {
  const std::pair<std::string, std::string> cases[] = {
      {"log TRACE \"a\"", "<7>log TRACE \"a\""},
      {"log DEBUG \"a\"", "<7>log DEBUG \"a\""},
      {"log INFO \"a\"", "<6>log INFO \"a\""},
      {"log WARN \"a\"", "<4>log WARN \"a\""},
      {"log ERROR \"a\"", "<3>log ERROR \"a\""},
      {"log FATAL \"a\"", "<2>log FATAL \"a\""},
      {"assert \"a\"", "<3>assert \"a\""},
      {"error a\n<0>b", "<3>error a\\n<0>b"},
      {"error: a", "<3>error: a"},
      {"! health state=\"failed: full\"", "<3>! health state=\"failed: full\""},
      {"! health state=\"ok\"", "<5>! health state=\"ok\""},
      {"! notice \"a\"", "<4>! notice \"a\""},
      {"! dropped 3 lines", "<4>! dropped 3 lines"},
      {"! page http://127.0.0.1:8080/", "<6>! page http://127.0.0.1:8080/"},
      {"> SEND_REQUEST_EVENT id=1", "nothing"},
      {"push <service_removed/>", "nothing"},
      {"bound 100 SERVICE_REMOVED id:INT=1", "nothing"},
      {"fire 7", "nothing"},
      {"answer <guest_services/>", "nothing"},
  };
  for (const auto& [line, entry] : cases) {
    EXPECT_EQ(ToServiceLog(line, true).value_or("nothing"), entry);
  }
  EXPECT_EQ(ToServiceLog("error a", false), "error a");
}

}  // namespace
}  // namespace host

// Which names and addresses the server answers to.
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "host/web/Access.h"

namespace {

TEST(Access, LetsInOnlyTheNamesThatItKnows) {
  const web::Access access({"Hotel.example"});
  const struct {
    const char* host;
    const char* origin;
    bool isHostAllowed, isOriginAllowed;
  } cases[] = {
      {"127.0.0.1:8080", "http://127.0.0.1:8080", true, true},
      {"LocalHost", "http://localhost", true, true},
      {"[::1]:8080", "http://[::1]:8080", true, true},
      {"hotel.EXAMPLE", "https://hotel.example", true, true},
      {"127.0.0.1:8080", "https://hotel.example", true, true},
      {"127.0.0.1:8080", "", true, true},
      {"127.0.0.1:8080", "null", true, false},
      {"127.0.0.1:8080", "http://127.0.0.1:8081", true, false},
      {"127.0.0.1:8080", "http://evil.example", true, false},
      {"127.0.0.1:8080", "http://127.0.0.1:8080.evil.example", true, false},
      {"evil.example", "http://evil.example", false, true},
      {"hotel.example.evil.example", "", false, true},
      {"127.0.0.1:80@evil.example", "", false, true},
      {"[::1]evil.example", "", false, true},
      {"[::1", "", false, true},
      {"", "", false, true},
  };
  for (const auto& [host, origin, isHostAllowed, isOriginAllowed] : cases) {
    EXPECT_EQ(access.IsHostAllowed(host), isHostAllowed) << host;
    EXPECT_EQ(access.IsOriginAllowed(origin, host), isOriginAllowed) << origin << " at " << host;
  }
  for (const char* const name : {"", "a:80", "http://a", "a b"}) {
    EXPECT_THROW(web::Access({name}), std::invalid_argument) << name;
  }
}

TEST(Access, ListensOnTheLoopbackOnly) {
  for (const char* const good : {"127.0.0.1:8080", "127.1.2.3:0", "[::1]:65535"}) {
    std::ostringstream text;
    text << web::ParseListen(good);
    EXPECT_EQ(text.str(), good);
  }
  for (const char* const bad : {"0.0.0.0:80", "[::]:80", "192.168.0.1:80", "[::ffff:10.0.0.1]:80",
                                "localhost:80", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", ""}) {
    EXPECT_THROW(web::ParseListen(bad), std::invalid_argument) << bad;
  }
}

}  // namespace

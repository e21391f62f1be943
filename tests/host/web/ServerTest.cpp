// The server as its peers see it.
#include <utility>

#include "tests/host/web/WebServer.h"

namespace {

using namespace std::string_literals;
using test::Get;
using test::Peer;
using test::WebServer;

constexpr const char* kUnknown = "this host is not known by that name; ask the porter\n";
constexpr const char* kUpgrade =
    "Upgrade: websocket\r\nConnection: upgrade\r\nSec-WebSocket-Version: 13\r\n"
    "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";

std::string Repeat(const std::string& text, int count) {
  std::string all;
  for (; count > 0; --count) all += text;
  return all;
}

TEST_F(WebServer, AnswersEachRequestWithAStatusAndAText) {
  Start();
  const std::string slow = Get("/", "localhost");
  const struct {
    std::string request, status, type, text;
  } cases[] = {
      {Get("/", "localhost"), "200 OK", "text/html", "<p>Home"},
      {Get("/?x", "proxy.example"), "200 OK", "text/html", "<p>Home"},
      {Get("/logo.svg", "127.0.0.1:80"), "200 OK", "image/svg+xml", "<svg/>"},
      {Get("/now.txt?x", "localhost"), "200 OK", "text/x-now", "made now"},
      {Get("/", "evil.example"), "403 Forbidden", "", kUnknown},
      {Get("/", "localhost\r\nHost: localhost"), "403 Forbidden", "", kUnknown},
      {"GET / HTTP/1.0\r\n\r\n", "403 Forbidden", "", kUnknown},
      {Get("/../etc/passwd", "localhost"), "404 Not Found", "", "there is nothing here\n"},
      {Get("", "localhost"), "400 Bad Request", "", "not an HTTP request: bad target\n"},
      {"POST / HTTP/1.1\r\nHost: localhost\r\n\r\n", "405 Method Not Allowed", "",
       "only GET and HEAD are answered\n"},
      {Get("/ws/two", "localhost"), "426 Upgrade Required", "", "this is a WebSocket\n"},
      {Get("/", "localhost", "X: " + std::string(9000, 'x') + "\r\n"),
       "431 Request Header Fields Too Large", "", "the header is too large\n"},
      {Get("/", "localhost", "Content-Length: 1\r\n") + "x", "413 Payload Too Large", "",
       "a request has no body here\n"},
      {Get("/", "localhost", "Content-Length: 0\r\n"), "200 OK", "text/html", "<p>Home"},
      {Get("/", "localhost", "Transfer-Encoding: chunked\r\n") + "0\r\n\r\n", "400 Bad Request", "",
       "a request has no body here\n"},
      {Get("/", "localhost", Repeat("A:\r\n", 63)), "200 OK", "text/html", "<p>Home"},
      {Get("/", "localhost", Repeat("A:\r\n", 64)), "431 Request Header Fields Too Large", "",
       "too many header lines\n"},
      {Get("/ws/one", "localhost", kUpgrade) + "\x81", "400 Bad Request", "",
       "messages come after the answer\n"},
      {Get("/ws/one", "localhost", "Upgrade: websocket\r\nConnection: upgrade\r\n"),
       "400 Bad Request", "", "The WebSocket handshake Sec-WebSocket-Key field is missing"},
      {Get("/ws/one", "localhost", kUpgrade + "Origin: http://evil.example\r\n"s), "403 Forbidden",
       "", "not for another site's pages\n"},
      {Get("/bad.txt", "localhost"), "500 Internal Server Error", "",
       "the host cannot answer now\n"},
      {Get("/now.txt", "localhost"), "200 OK", "text/x-now", "made now"},
      {"\x16\x03\x01\r\n\r\n", "400 Bad Request", "", "not an HTTP request: bad method\n"},
      {slow.substr(0, slow.size() - 2), "408 Request Timeout", "", "the request came too slowly\n"},
  };
  for (const auto& [request, status, type, text] : cases) {
    const std::string answer = Ask(request);
    const std::size_t end = answer.find("\r\n\r\n");
    ASSERT_NE(end, std::string::npos) << request;
    const std::string header = answer.substr(0, end) + "\r\n";
    EXPECT_EQ(header.substr(0, header.find("\r\n")), "HTTP/1.1 " + status) << request;
    EXPECT_EQ(answer.substr(end + 4), text) << request;
    for (const std::string& line :
         {"Content-Type: " + (type.empty() ? "text/plain; charset=utf-8" : type),
          std::string("Cache-Control: no-store"), std::string("X-Frame-Options: DENY"),
          std::string("Cross-Origin-Opener-Policy: same-origin"),
          std::string("Permissions-Policy: bluetooth=(), camera=(), display-capture=(), "
                      "geolocation=(), hid=(), microphone=(), midi=(), payment=(), serial=(), "
                      "usb=()"),
          std::string("Content-Security-Policy: default-src 'none'; script-src 'self'; style-src "
                      "'self'; img-src 'self' data:; connect-src 'self'; frame-ancestors 'none'; "
                      "base-uri 'none'; form-action 'none'")}) {
      EXPECT_NE(header.find("\r\n" + line + "\r\n"), std::string::npos) << request << line;
    }
  }
}

TEST_F(WebServer, AnswersHeadAsGetWithoutTheBody) {
  Start();
  for (const char* const path : {"/", "/now.txt", "/none", "/ws/one"}) {
    const std::string get = Ask(Get(path, "localhost"));
    EXPECT_EQ(Ask("HEAD" + Get(path, "localhost").substr(3)),
              get.substr(0, get.find("\r\n\r\n") + 4));
  }
}

TEST_F(WebServer, AnswersUnderTheAddressThatItListensOn) {
  Start("127.0.0.2:0");
  EXPECT_EQ(Ask(Get("/", "127.0.0.2:80")).substr(0, 15), "HTTP/1.1 200 OK");
  EXPECT_EQ(Ask(Get("/", "127.0.0.3:80")).substr(0, 12), "HTTP/1.1 403");
}

TEST_F(WebServer, CarriesLines) {
  Start();
  Peer one(io_), two(io_);
  EXPECT_EQ(Open(one, "/ws/one?x"), 101);
  EXPECT_EQ(Read(one, 2), "welcome to /ws/one\na client came\n");
  EXPECT_EQ(Open(two, "/ws/two"), 101);
  Write(two, "");
  Write(two, "x\ny");
  EXPECT_EQ(Read(one, 3), "a client came\nto all: \nto all: x\ny\n");
  EXPECT_EQ(Read(two, 6),
            "welcome to /ws/two\na client came\nto you: \nto all: \nto you: x\ny\nto all: x\ny\n");
  Write(two, "close");
  EXPECT_EQ(Read(two, 1), "End of file");
  EXPECT_EQ(server_->GetClients().GetCount(), 1);
  auto plain = Connect("GET");
  Write(one, "close all");
  EXPECT_EQ(Read(one, 1), "End of file");
  EXPECT_EQ(ReadAll(plain), "");
  EXPECT_EQ(server_->GetEndpoint().port(), 0);
  server_.reset();
  io_.run_for(std::chrono::seconds(10));
  EXPECT_TRUE(io_.stopped()) << "something goes on after the close";
}

TEST_F(WebServer, ClosesWhoSendsWhatIsNoLine) {
  Start();
  const struct {
    std::string message;
    bool isText;
    int code;
  } cases[] = {{"binary", false, 1003}, {std::string(101, 'x'), true, 1009}, {"\xff", true, 1007}};
  for (const auto& [message, isText, code] : cases) {
    Peer peer(io_);
    Open(peer, "/ws/one");
    Read(peer, 2);
    peer.text(isText);
    Write(peer, message);
    Read(peer, 1);
    EXPECT_EQ(peer.reason().code, code) << message;
  }
}

}  // namespace

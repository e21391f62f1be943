// The server as its peers see it.
#include <boost/algorithm/string/trim.hpp>
#include <string>

#include "tests/host/web/WebServer.h"

namespace {

using namespace std::string_literals;
using test::Get;
using test::Peer;
using test::WebServer;

constexpr const char* kUpgrade =
    "Upgrade: websocket\r\nConnection: upgrade\r\nSec-WebSocket-Version: 13\r\n"
    "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";

constexpr const char* kCommonHeaders =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; img-src "
    "'self' data:; connect-src 'self'; frame-ancestors 'none'; base-uri 'none'; form-action "
    "'none'\r\nCross-Origin-Opener-Policy: same-origin\r\nCross-Origin-Resource-Policy: "
    "same-origin\r\nPermissions-Policy: bluetooth=(), camera=(), display-capture=(), "
    "geolocation=(), hid=(), microphone=(), midi=(), payment=(), serial=(), usb=()\r\n"
    "Referrer-Policy: no-referrer\r\nX-Content-Type-Options: nosniff\r\nX-Frame-Options: DENY\r\n"
    "Cache-Control: no-store\r\n";

/// The status, the type if it is not plain text, and the body in one line.
std::string Summarize(const std::string& answer) {
  if (answer.find(kCommonHeaders) == std::string::npos) return "without the headers: " + answer;
  const std::size_t type = answer.find("Content-Type: ") + 14, end = answer.find("\r\n\r\n");
  const std::string name = answer.substr(type, answer.find("\r\n", type) - type) + ' ';
  return answer.substr(9, 4) + (name == "text/plain; charset=utf-8 " ? "" : name) +
         boost::algorithm::trim_right_copy(answer.substr(end + 4));
}

TEST_F(WebServer, AnswersEachRequestWithAStatusAndAText) {
  Start();
  std::string manyLines;
  for (int i = 0; i < 63; ++i) manyLines += "A:\r\n";
  const struct {
    std::string request, answer;
  } cases[] = {
      {Get("/", "localhost"), "200 text/html <p>Home"},
      {Get("/?x", "proxy.example"), "200 text/html <p>Home"},
      {Get("/", "localhost", "Content-Length: 0\r\n"), "200 text/html <p>Home"},
      {Get("/", "localhost", manyLines), "200 text/html <p>Home"},
      {Get("/logo.svg", "127.0.0.1:80"), "200 image/svg+xml <svg/>"},
      {Get("/now.txt?x", "localhost"), "200 text/x-now made now"},
      {Get("/", "evil.example"), "403 this host is not known by that name; ask the porter"},
      {Get("/", "a\r\nHost: a"), "403 this host is not known by that name; ask the porter"},
      {"GET / HTTP/1.0\r\n\r\n", "403 this host is not known by that name; ask the porter"},
      {Get("/../etc/passwd", "localhost"), "404 there is nothing here"},
      {Get("", "localhost"), "400 not an HTTP request: bad target"},
      {"\x16\x03\x01\r\n\r\n", "400 not an HTTP request: bad method"},
      {"POST / HTTP/1.1\r\nHost: localhost\r\n\r\n", "405 only GET and HEAD are answered"},
      {Get("/", "localhost").substr(0, 30), "408 the request came too slowly"},
      {Get("/", "localhost", std::string(9000, 'x')), "431 the header is too large"},
      {Get("/", "localhost", manyLines + "A:\r\n"), "431 too many header lines"},
      {Get("/", "localhost", "Content-Length: 1\r\n"), "413 a request has no body here"},
      {Get("/", "localhost", "Transfer-Encoding: chunked\r\n"), "400 a request has no body here"},
      {Get("/bad.txt", "localhost"), "500 the host cannot answer now"},
      {Get("/ws/two", "localhost"), "426 this is a WebSocket"},
      {Get("/ws/one", "localhost", kUpgrade) + "\x81", "400 messages come after the answer"},
      {Get("/ws/one", "localhost", kUpgrade + "Origin: http://evil.example\r\n"s),
       "403 not for another site's pages"},
      {Get("/ws/one", "localhost", "Upgrade: websocket\r\nConnection: upgrade\r\n"),
       "400 The WebSocket handshake Sec-WebSocket-Key field is missing"},
  };
  for (const auto& [request, answer] : cases) EXPECT_EQ(Summarize(Ask(request)), answer) << request;
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
  EXPECT_EQ(Read(one, 4), "a client came\nto all: \nto all: x\ny\n");
  EXPECT_EQ(Read(two, 8),
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
  // What it sent before is a line.
  Peer peer(io_);
  Open(peer, "/ws/one");
  Read(peer, 2);
  peer.write(test::asio::buffer("x", 1));
  peer.text(false);
  peer.write(test::asio::buffer("y", 1));
  EXPECT_EQ(Read(peer, 2), "to you: x\nto all: x\n");
  Read(peer, 1);
  EXPECT_EQ(peer.reason().code, 1003);
}

}  // namespace

// The server as its peers see it: each test is one thread, on which the server's and its peers'
// operations take turns.
#include <gtest/gtest.h>

#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <list>
#include <optional>
#include <stdexcept>

#include "host/web/Server.h"

namespace {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;
using std::chrono::milliseconds;

using Peer = websocket::stream<asio::ip::tcp::socket>;

class WebServer : public testing::Test {
 protected:
  WebServer() {
    site_.access = web::Access({"proxy.example"});
    site_.otherHostHint = "; ask the porter";
    site_.files = {{"/", "text/html", "<p>Home"}, {"/logo.svg", "image/svg+xml", "<svg/>"}};
    site_.texts["/now.txt"] = [] { return web::Text{"text/x-now", "made now"}; };
    site_.webSocketPaths = {"/ws/one", "/ws/two"};
    site_.handlers.onClient = [this](web::Client& client) {
      client.Send("welcome to " + client.GetPath());
      server_->GetClients().Broadcast("a client came");
    };
    site_.handlers.onLine = [this](web::Client& client, const std::string& line) {
      if (line == "close") return client.Close();
      if (line == "close all") return server_->Close();
      client.Send("to you: " + line);
      server_->GetClients().Broadcast("to all: " + line);
    };
    site_.limits.requestTime = milliseconds(500);
    site_.limits.messageSize = 100;
  }

  void Start() {
    server_ = std::make_shared<web::Server>(io_, web::ParseListen("127.0.0.1:0"), site_);
    server_->Start();
  }

  /// Runs until the operation that `start` begins, with the handler that it is given, has ended.
  template <class Start>
  error_code Await(Start start) {
    std::optional<error_code> result;
    start([&](const error_code& error, auto...) { result = error; });
    while (!result) {
      if (io_.run_one_for(std::chrono::seconds(10)) == 0) throw std::runtime_error("it hangs");
    }
    return *result;
  }

  asio::ip::tcp::socket Connect(const std::string& data) {
    asio::ip::tcp::socket socket(io_);
    socket.connect(server_->GetEndpoint());
    asio::write(socket, asio::buffer(data));
    return socket;
  }

  std::string ReadAll(asio::ip::tcp::socket& socket) {
    std::string answer;
    Await([&](auto done) { asio::async_read(socket, asio::dynamic_buffer(answer), done); });
    return answer;
  }

  std::string Ask(const std::string& data) {
    auto socket = Connect(data);
    return ReadAll(socket);
  }

  /// Opens a WebSocket. Returns the answer's status, of which 101 means that it is open.
  unsigned Open(Peer& peer, const std::string& path, const std::string& origin = "") {
    peer.next_layer().connect(server_->GetEndpoint());
    peer.set_option(websocket::stream_base::decorator([&](websocket::request_type& request) {
      if (!origin.empty()) request.set("Origin", origin);
    }));
    websocket::response_type response;
    Await([&](auto done) { peer.async_handshake(response, "localhost", path, done); });
    return response.result_int();
  }

  void Write(Peer& peer, const std::string& line) {
    Await([&](auto done) { peer.async_write(asio::buffer(line), done); });
  }

  /// The next lines, one below the other, or the error that came instead.
  std::string Read(Peer& peer, int count) {
    std::string lines;
    for (; count > 0; --count) {
      boost::beast::flat_buffer line;
      const error_code error = Await([&](auto done) { peer.async_read(line, done); });
      if (error) return lines + error.message();
      lines += boost::beast::buffers_to_string(line.data()) + '\n';
    }
    return lines;
  }

  asio::io_context io_;
  web::Site site_;
  std::shared_ptr<web::Server> server_;
};

std::string Get(const std::string& path, const std::string& host, const std::string& more = "") {
  return "GET " + path + " HTTP/1.1\r\nHost: " + host + "\r\n" + more + "\r\n";
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
      {Get("/", "evil.example"), "403 Forbidden", "",
       "this host is not known by that name; ask the porter\n"},
      {Get("/", "localhost\r\nHost: localhost"), "403 Forbidden", "",
       "this host is not known by that name; ask the porter\n"},
      {"GET / HTTP/1.0\r\n\r\n", "403 Forbidden", "",
       "this host is not known by that name; ask the porter\n"},
      {Get("/../etc/passwd", "localhost"), "404 Not Found", "", "there is nothing here\n"},
      {Get("", "localhost"), "400 Bad Request", "", "not an HTTP request: bad target\n"},
      {"POST / HTTP/1.1\r\nHost: localhost\r\n\r\n", "405 Method Not Allowed", "",
       "only GET is answered\n"},
      {Get("/ws/two", "localhost"), "426 Upgrade Required", "", "this is a WebSocket\n"},
      {Get("/", "localhost", "X: " + std::string(9000, 'x') + "\r\n"),
       "431 Request Header Fields Too Large", "", "the header is too large\n"},
      {Get("/", "localhost", "Content-Length: 5000\r\n"), "413 Payload Too Large", "",
       "the body is too large\n"},
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
          std::string("Content-Security-Policy: default-src 'none'; script-src 'self'; style-src "
                      "'self'; img-src 'self' data:; connect-src 'self'; frame-ancestors 'none'; "
                      "base-uri 'none'; form-action 'none'")}) {
      EXPECT_NE(header.find("\r\n" + line + "\r\n"), std::string::npos) << request << line;
    }
  }
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
  Write(one, "close all");
  EXPECT_EQ(Read(one, 1), "End of file");
  server_.reset();
  io_.run_for(std::chrono::seconds(10));
  EXPECT_TRUE(io_.stopped()) << "something goes on after the close";
}

TEST_F(WebServer, OpensNoWebSocketForAnotherSite) {
  Start();
  const std::string own = "http://localhost";
  for (const auto& [origin, status] :
       {std::pair("http://evil.example", 403U), {"https://proxy.example", 101U}, {"", 101U}}) {
    Peer peer(io_);
    EXPECT_EQ(Open(peer, "/ws/one", origin), status) << origin;
  }
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

TEST_F(WebServer, ClosesASlowClientAlone) {
  site_.limits.waitingSize = 1000;
  Start();
  Peer slow(io_), good(io_);
  Open(slow, "/ws/one");
  Open(good, "/ws/one");
  Read(good, 2);
  const std::string line(100'000, 'x');
  for (int i = 0; i < 1000 && server_->GetClients().GetCount() == 2; ++i) {
    server_->GetClients().Broadcast(line);
    ASSERT_EQ(Read(good, 1), line + '\n');
  }
  EXPECT_EQ(server_->GetClients().GetCount(), 1);
}

TEST_F(WebServer, RefusesMoreThanItHasRoomFor) {
  site_.limits.clients = 1;
  site_.limits.connections = 3;
  site_.limits.refusals = 1;
  site_.limits.requestTime = std::chrono::minutes(1);
  Start();
  std::list<Peer> peers;
  EXPECT_EQ(Open(peers.emplace_back(io_), "/ws/one"), 101);
  EXPECT_EQ(Open(peers.emplace_back(io_), "/ws/one"), 503);
  peers.pop_back();
  while (io_.poll() > 0) {
  }

  std::list<asio::ip::tcp::socket> sockets;
  sockets.push_back(Connect(""));
  sockets.push_back(Connect(""));
  sockets.push_back(Connect(""));
  const std::string refusal = ReadAll(sockets.back());
  EXPECT_NE(refusal.find("503 Service Unavailable"), std::string::npos) << refusal;
  EXPECT_NE(refusal.find("\r\n\r\ntoo many connections\n"), std::string::npos) << refusal;
  EXPECT_EQ(Ask(""), "");
  sockets.clear();
  peers.clear();
  while (io_.poll() > 0) {
  }
  EXPECT_EQ(Open(peers.emplace_back(io_), "/ws/one"), 101);
}

}  // namespace

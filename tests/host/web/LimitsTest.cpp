// What a server's peers cannot make it do, however they behave.
#include <malloc.h>
#include <sys/resource.h>

#include <functional>
#include <list>
#include <thread>
#include <utility>

#include "tests/host/web/WebServer.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::minutes;
using test::error_code;
using test::Get;
using test::Peer;
using test::asio::buffer;
using test::asio::ip::tcp;

using WebLimits = test::WebServer;

/// Makes a peer send lines and drop what it gets, without an end.
struct Flood {
  explicit Flood(Peer& peer)
      : write([&](error_code error) {
          if (!error) peer.async_write(buffer("x", 1), std::bind(write, std::placeholders::_1));
        }),
        read([&](error_code error) {
          dropped.clear();
          if (!error) peer.async_read(dropped, std::bind(read, std::placeholders::_1));
        }) {
    write({});
    read({});
  }
  boost::beast::flat_buffer dropped;
  std::function<void(error_code)> write, read;
};

TEST_F(WebLimits, CostTheClientWhoseHandlerFailsAndNoOther) {
  Start();
  Peer good(io_);
  Open(good, "/ws/one");
  Read(good, 2);
  for (int i = 0; i < 3; ++i) {
    Peer bad(io_);
    Open(bad, "/ws/two");
    Read(good, 1);
    Read(bad, 2);
    Write(bad, "throw");
    EXPECT_EQ(Read(bad, 1), "End of file");
  }
  Write(good, "x");
  EXPECT_EQ(Read(good, 2), "to you: x\nto all: x\n");
  EXPECT_EQ(problems_, "a WebSocket was closed: std::bad_alloc\n") << "reported once";
}

TEST_F(WebLimits, NeverCloseAClientThatReads) {
  site_.handlers.onLine = [](web::Client& client, const std::string&) {
    for (int i = 0; i < 150; ++i) client.Send(std::string(20'000, 'x'));
    client.Send(std::string(3'000'000, 'y'));
    return true;
  };
  site_.limits.stallTime = milliseconds(200);
  Start();
  Peer peer(io_);
  Open(peer, "/ws/one");
  Read(peer, 2);
  for (int i = 0; i < 3; ++i) Write(peer, "all");
  for (int i = 0; i < 3; ++i) {
    const std::string lines = Read(peer, 151);
    ASSERT_EQ(lines.size(), 150 * 20'001 + 3'000'001) << lines.substr(lines.size() - 40);
  }
}

TEST_F(WebLimits, GatherTheLinesThatWaitInFewMessages) {
  site_.handlers.onClient = [](web::Client& client) {
    for (int i = 0; i < 1000; ++i) client.Send(std::to_string(i));
  };
  Start();
  Peer peer(io_);
  Open(peer, "/ws/one");
  std::string all;
  for (int i = 0; i < 1000; ++i) all += std::to_string(i) + '\n';
  EXPECT_EQ(Read(peer, 1000), all);
  EXPECT_LT(messages_, 20);
}

TEST_F(WebLimits, HoldBackTheSenderThatFillsAQueueAndNoOther) {
  site_.limits.socketSize = 1;  // the least that the kernel grants
  site_.limits.queueSize = 10'000;
  site_.limits.stallTime = minutes(1);
  std::weak_ptr<web::Client> slow;
  int lines = 0;
  site_.handlers.onClient = [&](web::Client& client) {
    if (slow.expired()) slow = client.weak_from_this();
  };
  site_.handlers.onLine = [&](web::Client& client, const std::string& line) {
    ++lines;
    line == "hello" ? client.Send(line) : slow.lock()->Send(std::string(1000, 'x'));
    return true;
  };
  // Its own limit, and its share of what its path may fill.
  for (const auto& [own, ofPath] : {std::pair{20'000, 1'000'000}, {1'000'000, 1000}}) {
    lines = 0;
    site_.limits.sentSize = own;
    site_.limits.pathSize = ofPath;
    site_.limits.shareSize = 20'000;
    Start();
    Peer reader(io_), flood(io_), quiet(io_);
    for (Peer* const peer : {&reader, &flood, &quiet}) Open(*peer, "/ws/one");
    const Flood flooding(flood);
    io_.run_for(milliseconds(500));
    Write(quiet, "hello");
    EXPECT_EQ(Read(quiet, 1), "hello\n");
    const int linesBefore = lines;
    EXPECT_LT(linesBefore, 500);
    Read(reader, linesBefore);
    EXPECT_TRUE(RunUntil([&] { return lines > linesBefore + 50; }));
    server_->Close();
    io_.run_for(milliseconds(20));
    io_.restart();
  }
}

TEST_F(WebLimits, OfferALineUntilItIsTakenToAClientThatStays) {
  site_.limits.idleTime = milliseconds(100);
  site_.limits.messageSize = 10'000;
  bool takesAll = false;
  std::string taken;
  site_.handlers.onClient = [](web::Client&) {};
  site_.handlers.onLine = [&](web::Client& client, const std::string& line) {
    if (!takesAll && line == "wait") return false;
    taken += line + ' ';
    client.Send(line);
    return true;
  };
  Start();
  Peer waiting(io_), other(io_);
  for (Peer* const each : {&waiting, &other}) Open(*each, "/ws/one");
  for (const char* const line : {"wait", "next"}) Write(waiting, line);
  // It answers the server's pings meanwhile.
  boost::beast::flat_buffer answer;
  std::string result;
  waiting.async_read(answer, [&](error_code error, std::size_t) {
    result = error ? error.message() : boost::beast::buffers_to_string(answer.data());
  });
  Write(other, "hello");
  EXPECT_EQ(Read(other, 1), "hello\n");
  io_.run_for(milliseconds(500));
  EXPECT_EQ(taken, "hello ");
  takesAll = true;
  EXPECT_TRUE(RunUntil([&] { return taken == "hello wait next "; })) << taken;
  EXPECT_TRUE(RunUntil([&] { return !result.empty(); }));
  EXPECT_EQ(result, "wait");
}

TEST_F(WebLimits, PassOnTheLineOfAClientThatHasGone) {
  std::string taken;
  site_.handlers.onClient = [](web::Client&) {};
  site_.handlers.onLine = [&](web::Client&, const std::string& line) {
    std::this_thread::sleep_for(milliseconds(20));
    taken += line;
    return true;
  };
  Start();
  std::list<Peer> peers;
  for (int i = 0; i < 4; ++i) Open(peers.emplace_back(io_), "/ws/one");
  // All come at once, and the last one's end before its turn.
  for (Peer& peer : peers) peer.write(buffer("x", 1));
  peers.back().next_layer().close();
  EXPECT_TRUE(RunUntil([&] { return taken == "xxxx"; })) << taken;
}

TEST_F(WebLimits, KeepNoMoreThanOneAnswerForAClientThatFloodsWithPings) {
  site_.limits.socketSize = 1;
  Start();
  Peer flood(io_), quiet(io_);
  Open(flood, "/ws/one");
  Open(quiet, "/ws/two");
  Read(quiet, 2);
  // Pings with a mask of 0; the answers are not read.
  std::string pings;
  for (int i = 0; i < 10'000; ++i) pings += "\x89\xfd" + std::string(4 + 125, '\0');
  async_write(flood.next_layer(), buffer(pings), [](error_code, std::size_t) {});
  const std::size_t before = mallinfo2().uordblks;
  io_.run_for(milliseconds(300));
  EXPECT_LT(mallinfo2().uordblks, before + 100'000);
  Write(quiet, "x");
  EXPECT_EQ(Read(quiet, 2), "to you: x\nto all: x\n");
}

TEST_F(WebLimits, AnswerOneClientBesideTheFloodOfAnother) {
  int lines = 0;
  site_.handlers.onClient = [](web::Client&) {};
  site_.handlers.onLine = [&](web::Client& client, const std::string& line) {
    ++lines;
    if (line == "hello") client.Send(line);
    for (int i = 0; line != "hello" && i < 10; ++i) server_->GetClients().Broadcast("flood");
    return true;
  };
  Start();
  Peer flood(io_), quiet(io_);
  for (Peer* const peer : {&flood, &quiet}) Open(*peer, "/ws/one");
  const Flood flooding(flood);
  Read(quiet, 1000);
  const int linesBefore = lines;
  Write(quiet, "hello");
  while (Read(quiet, 1) == "flood\n") {
  }
  EXPECT_LT(lines - linesBefore, 100);
}

TEST_F(WebLimits, PassOnTheLineOfAnIdleClientFirst) {
  int lines = 0;
  site_.handlers.onClient = [](web::Client&) {};
  site_.handlers.onLine = [&](web::Client& client, const std::string& line) {
    ++lines;
    if (line != "hello") std::this_thread::sleep_for(milliseconds(10));
    client.Send(line);
    return true;
  };
  Start();
  std::list<Peer> peers;
  std::list<Flood> floods;
  for (int i = 0; i < 9; ++i) Open(peers.emplace_back(io_), "/ws/one");
  Peer& quiet = peers.back();
  for (Peer& peer : peers) {
    if (&peer != &quiet) floods.emplace_back(peer);
  }
  io_.run_for(milliseconds(300));
  const int linesBefore = lines;
  Write(quiet, "hello");
  EXPECT_EQ(Read(quiet, 1), "hello\n");
  EXPECT_LE(lines - linesBefore, 4);
}

TEST_F(WebLimits, EndAConnectionThatTakesTooLong) {
  using Times = std::chrono::milliseconds web::Limits::*;
  const struct {
    const char* what;
    Times limit;
    std::function<void(Peer&)> act;
  } cases[] = {
      {"half a message", &web::Limits::messageTime,
       [this](Peer& peer) {
         Await([&](auto done) { peer.async_write_some(false, buffer("x", 1), done); });
       }},
      {"no answer to a ping", &web::Limits::idleTime, [](Peer&) {}},
      {"no answer to a close", &web::Limits::handshakeTime,
       [this](Peer& peer) {
         peer.binary(true);
         Write(peer, "x");
       }},
  };
  for (const auto& [what, limit, act] : cases) {
    for (const Times time :
         {&web::Limits::messageTime, &web::Limits::idleTime, &web::Limits::handshakeTime}) {
      site_.limits.*time = time == limit ? milliseconds(200) : minutes(1);
    }
    Start();
    Peer peer(io_);
    Open(peer, "/ws/one");
    act(peer);
    io_.run_for(milliseconds(20));
    EXPECT_EQ(server_->GetClients().GetCount(), 1) << what;
    const auto line = std::make_shared<const std::string>("late");
    server_->GetClients().Broadcast(line);
    EXPECT_EQ(line.use_count() > 1, limit != &web::Limits::handshakeTime) << what;
    EXPECT_TRUE(RunUntil([this] { return server_->GetClients().GetCount() == 0; })) << what;
  }
}

TEST_F(WebLimits, ShareALongTextAmongFewReaders) {
  const auto text = std::make_shared<const std::string>(20'000'000, 'x');
  site_.texts["/long.txt"] = [&] { return web::Text{"text/plain", text}; };
  site_.limits.texts = 2;
  site_.limits.replyTime = milliseconds(500);
  Start();
  const std::string request = Get("/long.txt", "localhost");
  auto stalled = Connect(request), reading = Connect(request);
  io_.run_for(milliseconds(20));
  EXPECT_NE(Ask(request).find("\r\n\r\ntoo many are reading this\n"), std::string::npos);
  const std::string answer = ReadAll(reading);
  EXPECT_EQ(answer.size(), answer.find("\r\n\r\n") + 4 + text->size());
  EXPECT_EQ(text.use_count(), 2);
  EXPECT_TRUE(RunUntil([&] { return text.use_count() == 1; })) << "the stalled one goes on";
}

TEST_F(WebLimits, EndAConnectionThatStaysAfterItsReply) {
  site_.limits.connections = 1;
  site_.limits.replyTime = minutes(1);
  site_.limits.drainTime = milliseconds(200);
  Start();
  auto staying = Connect(Get("/", "localhost"));
  ReadAll(staying);
  const auto ask = [this] { return Ask(Get("/", "localhost")).substr(9, 3); };
  EXPECT_EQ(ask(), "503");
  EXPECT_TRUE(RunUntil([&] { return ask() == "200"; }));
}

TEST_F(WebLimits, WaitForDescriptorsWithoutSpinning) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "UBSan opens a pipe to check a virtual table, and fails without descriptors";
#endif
  site_.limits.requestTime = minutes(1);
  Start();
  std::list<tcp::socket> sockets;
  rlimit normal{};
  getrlimit(RLIMIT_NOFILE, &normal);
  for (int round = 0; round < 2; ++round) {
    sockets.emplace_back(io_, tcp::v4()).connect(server_->GetEndpoint());
    sockets.emplace_back(io_, tcp::v4()).connect(server_->GetEndpoint());
    // The server's side of the second connection lacks a descriptor.
    rlimit limit = normal;
    limit.rlim_cur = static_cast<rlim_t>(sockets.back().native_handle()) + 2;
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_LT(io_.run_for(milliseconds(500)), 20);
    setrlimit(RLIMIT_NOFILE, &normal);
    EXPECT_EQ(problems_, "new connections have to wait: Too many open files\n");
    write(sockets.back(), buffer(Get("/", "localhost")));
    EXPECT_EQ(ReadAll(sockets.back()).substr(0, 15), "HTTP/1.1 200 OK");
  }
}

TEST_F(WebLimits, CloseASlowClientAlone) {
  site_.limits.queueSize = 1000;
  site_.limits.stallTime = milliseconds(200);
  Start();
  Peer slow(io_), good(io_);
  Open(slow, "/ws/one");
  Open(good, "/ws/one");
  Read(good, 2);
  const std::string line(10'000, 'x');
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (server_->GetClients().GetCount() == 2 && std::chrono::steady_clock::now() < end) {
    server_->GetClients().Broadcast(line);
    ASSERT_EQ(Read(good, 1), line + '\n');
  }
  EXPECT_EQ(server_->GetClients().GetCount(), 1);
}

TEST_F(WebLimits, RefuseMoreThanThereIsRoomFor) {
  site_.limits.clients = 1;
  site_.limits.connections = 4;
  site_.limits.refusals = 1;
  site_.limits.requestTime = minutes(1);
  Start();
  std::list<Peer> peers;
  EXPECT_EQ(Open(peers.emplace_back(io_), "/ws/one"), 101);
  EXPECT_EQ(Open(peers.emplace_back(io_), "/ws/one"), 503);
  EXPECT_EQ(Ask(Get("/ws/one", "localhost")).substr(0, 12), "HTTP/1.1 503");
  peers.pop_back();
  EXPECT_EQ(Open(peers.emplace_back(io_), "/ws/two"), 101) << "another path has places of its own";

  std::list<tcp::socket> sockets;
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

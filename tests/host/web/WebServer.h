// A server and its peers on one thread, on which their operations take turns.
#pragma once

#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "host/web/Server.h"

namespace test {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;
using std::chrono::milliseconds;

// Without compression, whose code does not build for ARM without warnings.
using Peer = websocket::stream<asio::ip::tcp::socket, false>;

/// A site with files, a text and two WebSockets, which echo to the sender and to all.
class WebServer : public testing::Test {
 protected:
  WebServer() {
    site_.access = web::Access({"proxy.example"});
    site_.otherHostHint = "; ask the porter";
    site_.files = {{"/", "text/html", "<p>Home"}, {"/logo.svg", "image/svg+xml", "<svg/>"}};
    site_.texts["/now.txt"] = [] {
      return web::Text{"text/x-now", std::make_shared<std::string>("made now")};
    };
    site_.texts["/bad.txt"] = []() -> web::Text { throw std::runtime_error("no text"); };
    site_.webSocketPaths = {"/ws/one", "/ws/two"};
    site_.handlers.onClient = [this](web::Client& client) {
      client.Send("welcome to " + client.GetPath());
      server_->GetClients().Broadcast("a client came");
    };
    site_.handlers.onLine = [this](web::Client& client, const std::string& line) {
      if (line == "throw") throw std::bad_alloc();
      if (line == "close") {
        client.Close();
      } else if (line == "close all") {
        server_->Close();
      } else {
        client.Send("to you: " + line);
        server_->GetClients().Broadcast("to all: " + line);
      }
      return true;
    };
    site_.onProblem = [this](const std::string& problem) { problems_ += problem + '\n'; };
    site_.limits.requestTime = milliseconds(500);
    site_.limits.messageSize = 100;
  }

  void Start(const std::string& listen = "127.0.0.1:0") {
    server_ = std::make_shared<web::Server>(io_, web::ParseListen(listen), site_);
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
  unsigned Open(Peer& peer, const std::string& path) {
    peer.next_layer().connect(server_->GetEndpoint());
    websocket::response_type response;
    Await([&](auto done) { peer.async_handshake(response, "localhost", path, done); });
    return response.result_int();
  }

  void Write(Peer& peer, const std::string& line) {
    Await([&](auto done) { peer.async_write(asio::buffer(line), done); });
  }

  /// The next lines, one below the other, or the error that came instead.
  std::string Read(Peer& peer, int count) {
    std::string& unread = unread_[&peer];
    std::size_t end = 0;
    for (; count > 0; --count) {
      if (end == unread.size()) {
        boost::beast::flat_buffer message;
        const error_code error = Await([&](auto done) { peer.async_read(message, done); });
        if (error) return std::exchange(unread, {}) + error.message();
        ++messages_;
        unread += boost::beast::buffers_to_string(message.data()) + '\n';
      }
      end = unread.find('\n', end) + 1;
    }
    const std::string lines = unread.substr(0, end);
    unread.erase(0, end);
    return lines;
  }

  /// Runs until `holds` does, for 10 seconds at most. Returns whether it does.
  template <class Condition>
  bool RunUntil(Condition holds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!holds() && std::chrono::steady_clock::now() < end) io_.run_one_for(milliseconds(20));
    return holds();
  }

  asio::io_context io_;
  web::Site site_;
  std::shared_ptr<web::Server> server_;
  std::string problems_;
  int messages_ = 0;  // that `Read` has read

 private:
  std::map<const Peer*, std::string> unread_;  // lines of messages
};

/// A request.
inline std::string Get(const std::string& path, const std::string& host,
                       const std::string& more = "") {
  return "GET " + path + " HTTP/1.1\r\nHost: " + host + "\r\n" + more + "\r\n";
}

}  // namespace test

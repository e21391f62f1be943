// Any bytes as what a connection sends, up to the first empty line as a request, the rest when that
// is answered: the server answers or opens a WebSocket, and nothing goes on when the sender has
// gone.
#include "host/web/Connection.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/connect_pair.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/write.hpp>
#include <cstdint>
#include <memory>
#include <string>

#include "fuzz/Support.h"

namespace {

namespace asio = boost::asio;
using Peer = asio::local::stream_protocol::socket;

web::Site MakeSite() {
  web::Site site;
  site.files = {{"/", "text/html", "<p>Home"}};
  site.texts["/now.txt"] = [] { return web::Text{"text/x-now", std::make_shared<std::string>()}; };
  site.webSocketPaths = {"/ws/guest"};
  site.handlers.onClient = [](web::Client& client) { client.Send("welcome"); };
  site.handlers.onLine = [](web::Client& client, const std::string& line) {
    fuzz::Require(line.size() <= web::Limits().messageSize, "a line over the limit");
    client.Send(line);
    return true;
  };
  return site;
}

/// Sends the bytes, and returns what the server sends meanwhile.
std::string Exchange(asio::io_context& io, Peer& peer, const std::string& bytes) {
  constexpr std::size_t kPacket = 1000;
  std::string all, piece(std::size_t{64} << 10, '\0');
  for (std::size_t at = 0; at < bytes.size(); at += kPacket) {
    boost::system::error_code ignored;
    asio::write(peer, asio::buffer(bytes.substr(at, kPacket)), ignored);
    io.restart();
    io.poll();
    all.append(piece, 0, peer.read_some(asio::buffer(piece), ignored));
  }
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const std::size_t end = bytes.find("\r\n\r\n");
  const std::size_t request = end == std::string::npos ? size : end + 4;
  asio::io_context io;
  const auto state = std::make_shared<web::State>(MakeSite());
  Peer server(io), peer(io);
  asio::local::connect_pair(server, peer);
  peer.non_blocking(true);
  std::make_shared<web::Connection>(web::Socket(std::move(server)), state)->Start(true);
  const std::string answer = Exchange(io, peer, bytes.substr(0, request));
  fuzz::Require(end == std::string::npos || answer.rfind("HTTP/1.1 ", 0) == 0, "no answer");
  Exchange(io, peer, bytes.substr(request));
  peer.close();
  io.restart();
  io.poll();
  fuzz::Require(io.stopped() && state.use_count() == 1, "the connection goes on");
  return 0;
}

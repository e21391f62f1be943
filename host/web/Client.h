#pragma once

#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "host/web/Line.h"
#include "host/web/Places.h"
#include "host/web/Problem.h"
#include "host/web/Request.h"
#include "host/web/Turns.h"

namespace web {

/// A connection's socket: TCP, or a pair of connected sockets.
using Socket = boost::asio::generic::stream_protocol::socket;

/// One WebSocket, which carries lines both ways. A text message from the client is a line; one to
/// the client is a line, or several that waited together, with a line feed between them. The client
/// keeps itself alive until the connection ends.
class Client : public std::enable_shared_from_this<Client> {
 public:
  /// What clients tell the program. The client lives at least until the handler returns; a program
  /// that keeps it longer keeps `weak_from_this()`. Handlers may send, broadcast, and close this
  /// client, others or the server. A client whose handler throws is closed.
  struct Handlers {
    /// The WebSocket is open. What is sent from here arrives before any broadcast that follows.
    std::function<void(Client&)> onClient;
    /// The client sent a line: UTF-8 that may have line ends in it, and may be empty. Returns
    /// whether the line was taken. If not, it comes again after `Limits::pauseTime`, and the next
    /// one waits meanwhile. A line comes also when its client has closed the WebSocket, by a
    /// handshake, behind it.
    std::function<bool(Client&, const std::string& line)> onLine;
  };

  /// What the clients of one path share.
  struct Path {
    /// A client keeps its place until its backlog is empty.
    Places places;
    /// The backlogs of its clients together, bytes.
    std::shared_ptr<std::size_t> size = std::make_shared<std::size_t>(0);
  };

  /// What the clients of a server share.
  struct Shared {
    const Handlers handlers;
    const Limits limits;
    const std::shared_ptr<Problems> problems;
    std::map<std::string, Path> paths;
    /// The client whose handler runs, or null: lines count as caused by it.
    std::shared_ptr<Backlog> cause;
    Turns turns{};
  };

  /// Takes over the socket and the place of the HTTP connection. `path` is the request's, without
  /// its query.
  Client(Socket socket, std::string path, std::shared_ptr<Shared> shared,
         std::shared_ptr<const void> place);
  /// Accepts the WebSocket that `request` asks for, and reads from it then.
  void Start(Request request);

  /// The path that the WebSocket was opened under.
  const std::string& GetPath() const { return path_; }
  /// Whether the backlogs of the clients of its path are more than `Limits::pathSize` together.
  bool IsPathFull() const { return *backlog_->pathSize > shared_->limits.pathSize; }

  /// Queues a line, which has no line end; does nothing when the client is closed or not open yet.
  /// A slow client, with more than `Limits::queueSize` queued, is closed after `Limits::stallTime`
  /// unless it takes an eighth of that. Inside a handler, the line counts as caused by the
  /// handler's client.
  void Send(const SharedLine& line);
  void Send(std::string line) { Send(std::make_shared<const std::string>(std::move(line))); }

  /// Ends the connection at once, without a closing handshake. Queued lines are lost.
  void Close();

 private:
  friend class Clients;

  /// Closes the client when memory runs out.
  void Queue(const std::shared_ptr<const QueuedLine>& line) noexcept;
  /// Drops the lines that are not being written.
  void DropQueue();
  void Write();
  void OnWritten(const boost::system::error_code& error, std::size_t size);
  /// How much may be queued for a client that takes nothing.
  std::size_t GetQueueLimit() const;
  /// Closes the client at the end of each `stallTime` in which it took too little.
  void WatchQueue();

  void Read();
  void OnRead(const boost::system::error_code& error);
  /// Reads unless more than `messageSize` waits: pings, pongs and a close are heard while lines
  /// wait.
  void ReadOn();
  /// Passes the first of its lines on when it is the client's turn.
  void AskForTurn() noexcept;
  void OfferLine();
  /// Calls a function after `pauseTime`.
  void Pause(void (Client::*next)()) noexcept;
  /// Passes the next line on when the client has been sent what its last one caused, and at most
  /// `sentSize` is queued for others, or `shareSize` while its path is full.
  void GoOn();
  void RefuseBinary();
  /// Closes the connection, and the client when its lines are passed on.
  void EndAfterLines();
  /// Runs a handler. Returns whether the client is open then.
  template <class Handler>
  bool Handle(const Handler& handler);
  /// Closes the client after that time, unless its message ends before or the timer is set again.
  void SetDeadline(std::chrono::milliseconds time);

  const std::string path_;
  const std::shared_ptr<Shared> shared_;
  const std::shared_ptr<Backlog> backlog_;
  // Without compression, which one machine has no use for.
  boost::beast::websocket::stream<Socket, false> stream_;
  bool isOpen_ = false;

  boost::beast::flat_buffer received_;
  boost::asio::steady_timer readTimer_;  // for the rest of a message, or a close
  bool isInMessage_ = false;
  bool isReading_ = false;
  bool isBinaryRead_ = false;  // to be refused after the lines that wait

  std::deque<std::string> lines_;  // that the handler has not taken
  std::size_t linesSize_ = 0;      // bytes, with `kLineOverhead` for each
  bool isBusy_ = true;             // until `GoOn` has found that the next line may pass
  bool hasEnded_ = false;          // see `EndAfterLines`
  Turns::History turns_;
  boost::asio::steady_timer pauseTimer_;

  std::deque<std::shared_ptr<const QueuedLine>> queue_;  // the first ones are being written
  std::size_t queueSize_ = 0;                            // bytes
  std::size_t ownLines_ = 0;                             // in the queue, caused by this client
  bool isHeldBack_ = false;                              // goes on when there are no such lines
  std::size_t written_ = 0;                              // of the first, bytes
  std::size_t ending_ = 0;                               // lines that the present write ends
  std::size_t taken_ = 0;                                // since the watch began, bytes
  bool isWatched_ = false;
  boost::asio::steady_timer writeTimer_;
};

}  // namespace web

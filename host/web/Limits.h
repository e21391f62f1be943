#pragma once

#include <chrono>
#include <cstddef>

namespace web {

/// What the other sides of a server's connections can make it keep, and how long it waits for them.
struct Limits {
  // How many there may be at the same time.
  std::size_t clients = 32;       // of each WebSocket's path; one more is refused with 503
  std::size_t connections = 192;  // the clients among them; one more is refused with 503
  std::size_t refusals = 128;     // above `connections`; one more is closed without an answer
  std::size_t texts = 4;          // replies with a `Text`; one more is refused with 503

  // Of a request. It has no body: 413, or 400 for one of unknown length.
  std::size_t requestSize = 8 << 10;  // bytes, to the empty line; 431
  std::size_t requestLines = 64;      // header lines; 431

  // Bytes.
  std::size_t messageSize = 64 << 10;  // from a client; it is closed with 1009
  /// Queued for a client, `kLineOverhead` for each line among them: the high-water mark, above
  /// which a client must take an eighth of its queue in each `stallTime`.
  std::size_t queueSize = 1024 << 10;
  /// Still queued, for any clients, of the lines that one client's messages caused: the high-water
  /// mark, above which no more of its messages are passed on. It is higher than `queueSize`, so
  /// that a slow client is closed before it can hold back one that sends little.
  std::size_t sentSize = 2048 << 10;
  /// Likewise, of the lines that the messages of all clients of one path caused: the high-water
  /// mark, above which `shareSize` takes the place of `sentSize` and `queueSize` for its clients.
  std::size_t pathSize = 8192 << 10;
  std::size_t shareSize = 64 << 10;
  std::size_t socketSize = 256 << 10;  // the kernel's buffer of a connection, in each direction

  // Times.
  std::chrono::milliseconds requestTime{5000};    // to send the whole request; 408
  std::chrono::milliseconds replyTime{10000};     // to read the reply
  std::chrono::milliseconds drainTime{1000};      // to close after the reply
  std::chrono::milliseconds handshakeTime{5000};  // to open or close a WebSocket
  std::chrono::milliseconds idleTime{30000};      // of silence; a ping is sent at half of it
  std::chrono::milliseconds messageTime{5000};    // to send the rest of a message
  std::chrono::milliseconds stallTime{2000};      // see `queueSize`
  std::chrono::milliseconds pauseTime{10};        // until a queue or the handler is asked again
  std::chrono::milliseconds reportTime{60000};    // without a problem, until it is reported again
  std::chrono::milliseconds acceptTime{200};  // until the next accept in a shortage of descriptors
};

/// What a queued line costs beside its text, with an entry in the queue of each client; bytes.
constexpr std::size_t kLineOverhead = 512;

}  // namespace web

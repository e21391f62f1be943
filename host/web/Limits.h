#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace web {

/// What the other sides of a server's connections can make it keep, and how long it waits for them.
struct Limits {
  // How many there may be at the same time.
  std::size_t clients = 32;       // one more is refused with 503
  std::size_t connections = 128;  // the clients among them; one more is refused with 503
  std::size_t refusals = 128;     // above `connections`; one more is closed without an answer

  // Bytes.
  std::uint32_t headerSize = 8 << 10;    // of a request; 431
  std::uint64_t bodySize = 1 << 10;      // of a request; 413
  std::size_t messageSize = 64 << 10;    // from a client; it is closed with 1009
  std::size_t waitingSize = 1024 << 10;  // queued for a client, its last line not counted

  // Times.
  std::chrono::milliseconds requestTime{5000};    // to send the whole request; 408
  std::chrono::milliseconds replyTime{10000};     // to read the reply
  std::chrono::milliseconds drainTime{1000};      // to close after the reply
  std::chrono::milliseconds handshakeTime{5000};  // to open or close a WebSocket
  std::chrono::milliseconds idleTime{30000};      // of silence; a ping is sent at half of it
};

}  // namespace web

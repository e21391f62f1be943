#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "bridge/core/Actions.h"

struct mosquitto;
struct mosquitto_message;
struct mqtt5__property;

namespace bridge {

class TlsContext;

/// One connection to a broker, from its first attempt to its end: the MQTT library on the program's
/// event loop. It is made anew for each attempt, so that nothing that waited in an old one is sent
/// by a new one. It keeps itself alive until it has failed or was closed.
class BrokerConnection : public std::enable_shared_from_this<BrokerConnection> {
 public:
  struct Options {
    std::string clientId;
    std::string user, password;  // "" for none
    std::string statusTopic;     // where the will publishes "offline", retained
    bool isVersion5 = true;      // of MQTT; else 3.1.1, which has no properties
    TlsContext* tls = nullptr;   // null for none; must outlive the connection
  };

  struct Failure {
    enum class Kind {
      kLost,      // the network, or the broker is down
      kRefused,   // the user, the certificate: lasts until a person changes something
      kVersion,   // the broker does not speak MQTT 5
      kTakenOver  // another client has the same id
    } kind = Kind::kLost;
    std::string reason;
  };

  /// Called from the event loop; `onRefused` and `onFailure` also from inside a `Send`. Nothing is
  /// called after `onFailure` or `Close`.
  struct Handlers {
    std::function<void()> onConnected;
    std::function<void(const Message&)> onMessage;
    std::function<void(Purpose, bool isGranted)> onSubscribed;
    std::function<void(const std::string& reason)> onRefused;  // a publication
    std::function<void(const Failure&)> onFailure;
  };

  BrokerConnection(boost::asio::io_context& io, Options options, Handlers handlers);
  ~BrokerConnection();

  /// Connects. It fails after 10 seconds without the broker's answer.
  void Start(const boost::asio::ip::tcp::endpoint& broker);

  // After `onConnected`. The connection fails if the broker leaves 32 MiB unacknowledged.
  void Send(const Publish& publish);
  void Send(const Subscribe& subscribe);
  void Send(const Unsubscribe& unsubscribe);
  /// Bytes of publications that the broker has not acknowledged.
  std::size_t GetOutstanding() const { return outstanding_; }

  /// Disconnects and ends. The broker does not publish the will.
  void Close();

 private:
  struct Free {
    void operator()(mosquitto* client) const;
  };

  void SetUp();
  static void OnConnect(mosquitto* client, void* self, int code, int flags,
                        const mqtt5__property* properties);
  static void OnDisconnect(mosquitto* client, void* self, int code,
                           const mqtt5__property* properties);
  static void OnMessage(mosquitto* client, void* self, const mosquitto_message* message,
                        const mqtt5__property* properties);
  static void OnSubscribe(mosquitto* client, void* self, int id, int count, const int* granted,
                          const mqtt5__property* properties);
  static void OnPublish(mosquitto* client, void* self, int id, int code,
                        const mqtt5__property* properties);

  /// What follows each call of the library: its socket may have changed, and handlers wait.
  void AfterCall(int result);
  void RunEvents();
  void FollowSocket();
  void Wait();
  void Read();
  void KeepAlive();
  bool IsShakingHands() const;
  void Fail(const Failure& failure);
  void End();

  boost::asio::io_context& io_;
  const Options options_;
  Handlers handlers_;
  std::unique_ptr<mosquitto, Free> client_;
  boost::asio::posix::stream_descriptor socket_;  // the library's, which closes it
  boost::asio::steady_timer keepAlive_;
  boost::asio::steady_timer deadline_;
  bool isReading_ = false, isWriting_ = false;  // whether it waits for the socket
  bool hasWritten_ = false;                     // once, while TLS shakes hands
  bool isRunningEvents_ = false;
  bool isEnded_ = false;
  Failure failure_;
  std::vector<std::function<void()>> events_;  // of callbacks, to be run outside of them
  std::unordered_map<int, Purpose> subscriptions_;
  std::unordered_map<int, std::size_t> publications_;  // sizes, until they are acknowledged
  std::size_t outstanding_ = 0;
};

}  // namespace bridge

#include "bridge/BrokerConnection.h"

#include <mosquitto.h>
#include <mqtt_protocol.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#include "bridge/TlsContext.h"

namespace bridge {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;

constexpr int kKeepAlive = 10;  // seconds of silence after which each side asks the other
constexpr std::chrono::seconds kTick(1);
constexpr std::chrono::seconds kConnectTime(10);
constexpr std::uint32_t kLargestPacket = 256 * 1024;  // that the broker may send
constexpr int kMostAtOnce = 64;                       // messages that the broker may send at once
constexpr std::size_t kMostOutstanding = std::size_t{32} << 20;  // bytes of publications
constexpr std::size_t kPublicationSize = 256;  // what the library keeps of one, besides the payload
constexpr int kQos = 1;
constexpr int kReadPackets = 16;
constexpr int kRefusal = 128;  // codes from here on are refusals

/// A list of properties, freed at its end.
class Properties {
 public:
  Properties() = default;
  Properties(const Properties&) = delete;
  Properties& operator=(const Properties&) = delete;
  ~Properties() { mosquitto_property_free_all(&list_); }

  mosquitto_property** Add() { return &list_; }
  const mosquitto_property* Get() const { return list_; }

 private:
  mosquitto_property* list_ = nullptr;
};

std::string ReadResponseTopic(const mosquitto_property* properties) {
  char* text = nullptr;
  if (mosquitto_property_read_string(properties, MQTT_PROP_RESPONSE_TOPIC, &text, false) == nullptr)
    return "";
  const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
  return text;
}

std::string ReadCorrelation(const mosquitto_property* properties) {
  void* data = nullptr;
  std::uint16_t size = 0;
  if (mosquitto_property_read_binary(properties, MQTT_PROP_CORRELATION_DATA, &data, &size, false) ==
      nullptr)
    return "";
  const std::unique_ptr<void, decltype(&std::free)> owner(data, &std::free);
  return {static_cast<const char*>(data), size};
}

/// A text of the library, which may end with a full stop.
std::string ToReason(std::string text) {
  if (!text.empty() && text.back() == '.') text.pop_back();
  return text;
}

bool IsRefusal(int code) {
  switch (code) {
    case CONNACK_REFUSED_IDENTIFIER_REJECTED:
    case CONNACK_REFUSED_BAD_USERNAME_PASSWORD:
    case CONNACK_REFUSED_NOT_AUTHORIZED:
    case MQTT_RC_CLIENTID_NOT_VALID:
    case MQTT_RC_BAD_USERNAME_OR_PASSWORD:
    case MQTT_RC_NOT_AUTHORIZED:
    case MQTT_RC_BANNED:
    case MQTT_RC_BAD_AUTHENTICATION_METHOD:
      return true;
    default:
      return false;
  }
}

std::vector<char*> ToPointers(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size());
  // The library does not write there.
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  return pointers;
}

}  // namespace

void BrokerConnection::Free::operator()(mosquitto* client) const { mosquitto_destroy(client); }

BrokerConnection::BrokerConnection(asio::io_context& io, Options options, Handlers handlers)
    : io_(io),
      options_(std::move(options)),
      handlers_(std::move(handlers)),
      client_(mosquitto_new(options_.clientId.c_str(), true, this)),
      socket_(io),
      keepAlive_(io),
      deadline_(io) {
  if (!client_) throw std::bad_alloc();
  SetUp();
}

BrokerConnection::~BrokerConnection() {
  if (socket_.is_open()) socket_.release();  // the library closes it
}

void BrokerConnection::SetUp() {
  mosquitto* const client = client_.get();
  const int version = options_.isVersion5 ? MQTT_PROTOCOL_V5 : MQTT_PROTOCOL_V311;
  mosquitto_int_option(client, MOSQ_OPT_PROTOCOL_VERSION, version);
  mosquitto_int_option(client, MOSQ_OPT_TCP_NODELAY, 1);
  mosquitto_int_option(client, MOSQ_OPT_RECEIVE_MAXIMUM, kMostAtOnce);
  if (options_.tls != nullptr) {
    options_.tls->ForgetFault();
    mosquitto_void_option(client, MOSQ_OPT_SSL_CTX, options_.tls->Get());
    mosquitto_int_option(client, MOSQ_OPT_SSL_CTX_WITH_DEFAULTS, 0);  // which overwrite the context
  }
  if (!options_.user.empty()) {
    const char* const password = options_.password.empty() ? nullptr : options_.password.c_str();
    mosquitto_username_pw_set(client, options_.user.c_str(), password);
  }
  constexpr const char* kOffline = "offline";
  mosquitto_will_set(client, options_.statusTopic.c_str(), static_cast<int>(std::strlen(kOffline)),
                     kOffline, kQos, true);
  mosquitto_connect_v5_callback_set(client, &OnConnect);
  mosquitto_disconnect_v5_callback_set(client, &OnDisconnect);
  mosquitto_message_v5_callback_set(client, &OnMessage);
  mosquitto_subscribe_v5_callback_set(client, &OnSubscribe);
  mosquitto_publish_v5_callback_set(client, &OnPublish);
  if (options_.isVersion5) {
    // The call fails for want of a host, but it keeps the properties, which the asynchronous one
    // does not take.
    Properties properties;
    mosquitto_property_add_int32(properties.Add(), MQTT_PROP_MAXIMUM_PACKET_SIZE, kLargestPacket);
    mosquitto_connect_bind_v5(client, nullptr, 0, kKeepAlive, nullptr, properties.Get());
  }
}

void BrokerConnection::Start(const asio::ip::tcp::endpoint& broker) {
  deadline_.expires_after(kConnectTime);
  deadline_.async_wait([self = shared_from_this()](error_code error) {
    if (!error) self->Fail({Failure::Kind::kLost, "no answer"});
  });
  KeepAlive();
  // A number, since the library would look a name up while the program waits.
  const std::string address = broker.address().to_string();
  AfterCall(mosquitto_connect_bind_async(client_.get(), address.c_str(), broker.port(), kKeepAlive,
                                         nullptr));
}

void BrokerConnection::Send(const Publish& publish) {
  if (isEnded_) return;
  Properties properties;
  if (options_.isVersion5 && !publish.correlation.empty()) {
    mosquitto_property_add_binary(properties.Add(), MQTT_PROP_CORRELATION_DATA,
                                  publish.correlation.data(),
                                  static_cast<std::uint16_t>(publish.correlation.size()));
  }
  int id = 0;
  const int result = mosquitto_publish_v5(
      client_.get(), &id, publish.topic.c_str(), static_cast<int>(publish.payload.size()),
      publish.payload.data(), kQos, publish.isRetained, properties.Get());
  if (result == MOSQ_ERR_OVERSIZE_PACKET || result == MOSQ_ERR_PAYLOAD_SIZE) {
    return handlers_.onRefused("the message to " + publish.topic + " is too long for it");
  }
  const std::size_t size = publish.payload.size() + kPublicationSize;
  publications_[id] = size;
  outstanding_ += size;
  AfterCall(result);
  if (outstanding_ > kMostOutstanding) {
    Fail({Failure::Kind::kLost, "it does not take what is published"});
  }
}

void BrokerConnection::Send(const Subscribe& subscribe) {
  if (isEnded_) return;
  // Live messages that are retained keep their mark, so that they can be told and refused.
  const bool isForRetained =
      subscribe.purpose == Purpose::kLook || subscribe.purpose == Purpose::kDiscovery;
  const int options = isForRetained ? MQTT_SUB_OPT_SEND_RETAIN_ALWAYS
                                    : MQTT_SUB_OPT_SEND_RETAIN_NEVER | MQTT_SUB_OPT_NO_LOCAL |
                                          MQTT_SUB_OPT_RETAIN_AS_PUBLISHED;
  const std::vector<char*> filters = ToPointers(subscribe.filters);
  int id = 0;
  const int result = mosquitto_subscribe_multiple(client_.get(), &id,
                                                  static_cast<int>(filters.size()), filters.data(),
                                                  kQos, options_.isVersion5 ? options : 0, nullptr);
  subscriptions_[id] = subscribe.purpose;
  AfterCall(result);
}

void BrokerConnection::Send(const Unsubscribe& unsubscribe) {
  if (isEnded_) return;
  const std::vector<char*> filters = ToPointers(unsubscribe.filters);
  AfterCall(mosquitto_unsubscribe_multiple(client_.get(), nullptr, static_cast<int>(filters.size()),
                                           filters.data(), nullptr));
}

void BrokerConnection::Close() {
  if (isEnded_) return;
  mosquitto_disconnect(client_.get());
  End();
}

void BrokerConnection::OnConnect(mosquitto* /*client*/, void* self, int code, int /*flags*/,
                                 const mqtt5__property* /*properties*/) {
  auto& me = *static_cast<BrokerConnection*>(self);
  if (code == CONNACK_ACCEPTED) {
    me.deadline_.cancel();
    me.events_.emplace_back([&me] { me.handlers_.onConnected(); });
    return;
  }
  const bool isVersion =
      code == CONNACK_REFUSED_PROTOCOL_VERSION || code == MQTT_RC_UNSUPPORTED_PROTOCOL_VERSION;
  const auto kind = isVersion && me.options_.isVersion5 ? Failure::Kind::kVersion
                    : IsRefusal(code)                   ? Failure::Kind::kRefused
                                                        : Failure::Kind::kLost;
  const char* const reason =
      code < kRefusal ? mosquitto_connack_string(code) : mosquitto_reason_string(code);
  me.events_.emplace_back([&me, failure = Failure{kind, ToReason(reason)}] { me.Fail(failure); });
}

void BrokerConnection::OnDisconnect(mosquitto* /*client*/, void* self, int code,
                                    const mqtt5__property* /*properties*/) {
  auto& me = *static_cast<BrokerConnection*>(self);
  if (code == MQTT_RC_SESSION_TAKEN_OVER) {
    me.failure_ = {Failure::Kind::kTakenOver, "another client has this site and room"};
  } else if (code >= kRefusal) {
    me.failure_.reason = ToReason(mosquitto_reason_string(code));
  }
}

void BrokerConnection::OnMessage(mosquitto* /*client*/, void* self,
                                 const mosquitto_message* message,
                                 const mqtt5__property* properties) {
  auto& me = *static_cast<BrokerConnection*>(self);
  const auto* const payload = static_cast<const char*>(message->payload);
  Message copy{message->topic,
               payload == nullptr
                   ? std::string()
                   : std::string(payload, static_cast<std::size_t>(message->payloadlen)),
               message->retain, ReadResponseTopic(properties), ReadCorrelation(properties)};
  me.events_.emplace_back([&me, copy = std::move(copy)] { me.handlers_.onMessage(copy); });
}

void BrokerConnection::OnSubscribe(mosquitto* /*client*/, void* self, int id, int count,
                                   const int* granted, const mqtt5__property* /*properties*/) {
  auto& me = *static_cast<BrokerConnection*>(self);
  const auto subscription = me.subscriptions_.find(id);
  if (subscription == me.subscriptions_.end()) return;
  const bool isGranted =
      std::all_of(granted, granted + count, [](int code) { return code < kRefusal; });
  me.events_.emplace_back([&me, purpose = subscription->second, isGranted] {
    me.handlers_.onSubscribed(purpose, isGranted);
  });
  me.subscriptions_.erase(subscription);
}

void BrokerConnection::OnPublish(mosquitto* /*client*/, void* self, int id, int code,
                                 const mqtt5__property* /*properties*/) {
  auto& me = *static_cast<BrokerConnection*>(self);
  const auto publication = me.publications_.find(id);
  if (publication != me.publications_.end()) {
    me.outstanding_ -= publication->second;
    me.publications_.erase(publication);
  }
  if (code < kRefusal) return;
  me.events_.emplace_back([&me, reason = ToReason(mosquitto_reason_string(code))] {
    me.handlers_.onRefused("it refuses a message: " + reason);
  });
}

void BrokerConnection::AfterCall(int result) {
  if (isEnded_) return;
  const bool isLost = result != MOSQ_ERR_SUCCESS || mosquitto_socket(client_.get()) < 0;
  if (isLost) {
    // Told in the same order as what came before.
    const int number = errno;
    events_.emplace_back([this, result, number] {
      Failure failure = failure_;
      if (failure.reason.empty()) {
        failure.reason =
            result == MOSQ_ERR_ERRNO ? std::strerror(number) : ToReason(mosquitto_strerror(result));
      }
      if (options_.tls != nullptr && !options_.tls->GetFault().empty()) {
        failure = {Failure::Kind::kRefused, "the certificate: " + options_.tls->GetFault()};
      }
      Fail(failure);
    });
  }
  FollowSocket();
  if (!events_.empty() && !isRunningEvents_) {
    isRunningEvents_ = true;
    asio::post(io_, [self = shared_from_this()] { self->RunEvents(); });
  }
  if (!isLost) Wait();
}

void BrokerConnection::RunEvents() {
  isRunningEvents_ = false;
  const auto events = std::exchange(events_, {});
  for (const auto& event : events) {
    if (!isEnded_) event();
  }
}

void BrokerConnection::FollowSocket() {
  const int number = mosquitto_socket(client_.get());
  const int known = socket_.is_open() ? socket_.native_handle() : -1;
  if (number == known) return;
  if (known >= 0) socket_.release();
  isReading_ = isWriting_ = false;
  error_code error;
  if (number >= 0) socket_.assign(number, error);
  if (error) Fail({Failure::Kind::kLost, error.message()});
}

bool BrokerConnection::IsShakingHands() const {
  auto* const connection = static_cast<const SSL*>(mosquitto_ssl_get(client_.get()));
  return connection != nullptr && SSL_is_init_finished(connection) == 0;
}

void BrokerConnection::Wait() {
  if (isEnded_ || !socket_.is_open()) return;
  using Descriptor = asio::posix::stream_descriptor;
  const bool isShaking = IsShakingHands();
  // While TLS shakes hands the library has always something to write, and cannot.
  const bool wantsWrite = isShaking ? !hasWritten_ : mosquitto_want_write(client_.get());
  if (wantsWrite && !isWriting_) {
    isWriting_ = true;
    socket_.async_wait(Descriptor::wait_write,
                       [self = shared_from_this(), isShaking](error_code error) {
                         if (error || self->isEnded_) return;
                         self->isWriting_ = false;
                         self->hasWritten_ = true;
                         if (isShaking) return self->Read();
                         self->AfterCall(mosquitto_loop_write(self->client_.get(), 1));
                       });
  }
  if (!isReading_ && (!isShaking || hasWritten_)) {
    isReading_ = true;
    socket_.async_wait(Descriptor::wait_read, [self = shared_from_this()](error_code error) {
      if (error || self->isEnded_) return;
      self->isReading_ = false;
      self->Read();
    });
  }
}

void BrokerConnection::Read() {
  if (isEnded_) return;
  const int result = mosquitto_loop_read(client_.get(), kReadPackets);
  auto* const connection = static_cast<const SSL*>(mosquitto_ssl_get(client_.get()));
  // What TLS has read already makes no socket readable.
  if (result == MOSQ_ERR_SUCCESS && connection != nullptr && SSL_pending(connection) > 0) {
    asio::post(io_, [self = shared_from_this()] { self->Read(); });
  }
  AfterCall(result);
}

void BrokerConnection::KeepAlive() {
  keepAlive_.expires_after(kTick);
  keepAlive_.async_wait([self = shared_from_this()](error_code error) {
    if (error || self->isEnded_) return;
    self->KeepAlive();
    self->AfterCall(mosquitto_loop_misc(self->client_.get()));
  });
}

void BrokerConnection::Fail(const Failure& failure) {
  if (isEnded_) return;
  const auto onFailure = handlers_.onFailure;
  End();
  onFailure(failure);
}

void BrokerConnection::End() {
  isEnded_ = true;
  keepAlive_.cancel();
  deadline_.cancel();
  if (socket_.is_open()) socket_.release();  // the library closes it
  // Handlers may hold what holds this connection. One of them may be the caller.
  asio::post(io_, [self = shared_from_this()] { self->handlers_ = {}; });
}

}  // namespace bridge

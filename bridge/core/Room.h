#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "bridge/core/Actions.h"
#include "bridge/core/Commands.h"
#include "bridge/core/Discovery.h"
#include "bridge/core/ServiceList.h"
#include "bridge/core/Topics.h"

namespace bridge {

/// The bridge between one host and the broker, without its connections: it takes the host's lines
/// and the broker's messages, and returns what to publish and which steps to send. It publishes
/// nothing while the broker is away: when it is back, the state says it all.
class Room {
 public:
  struct Options {
    std::string site, room;                         // as `CheckSite` and `CheckRoom` accept them
    std::string discoveryPrefix = "homeassistant";  // of Home Assistant's topics
    bool hasDiscovery = true;
    std::string version;  // of the bridge
  };

  /// `random` returns a number from 0 to 1, for delays.
  Room(const Options& options, std::function<double()> random);

  const Topics& GetTopics() const { return topics_; }

  /// The connection to the host is open; its lines come next.
  void ConnectHost();
  /// A line of the host, without its line end.
  Actions TakeLine(std::string_view line, Time now);
  Actions LoseHost();

  /// The broker accepted the connection. Its will is to publish "offline", retained, as `status`.
  Actions ConnectBroker(Time now);
  /// The broker granted or refused what was subscribed for `purpose`.
  Actions TakeSubscribed(Purpose purpose, bool isGranted, Time now);
  Actions TakeMessage(const Message& message, Time now);
  void LoseBroker();
  /// The bridge is about to end: what to publish before.
  Actions End();

  /// When to call `Tick` next; nothing if there is no need.
  std::optional<Time> GetNextTick() const { return next_; }
  Actions Tick(Time now);

 private:
  enum class Phase {
    kAway,         // no connection to the broker
    kConnected,    // waiting for the host's list
    kLooking,      // reading what is retained, until the mark that ends it
    kSubscribing,  // to commands
    kLive
  };

  void StartLooking(Time now, Actions& actions);
  void SubscribeToLook(Time now, Actions& actions);
  void SendMark(Time now, Actions& actions);
  void EndLooking(Time now, Actions& actions);
  void TakeRetained(const Message& message, Actions& actions);
  std::vector<std::string> GetFilters(Purpose purpose) const;
  void SubscribeFor(Purpose purpose, Actions& actions) const;
  /// Logs the text, once in a connection to the broker.
  void Warn(std::string_view text, Actions& actions);
  /// Logs the reason, once in a while, and answers with it.
  void Refuse(const Message& message, std::string_view reason, Time now, Actions& actions);

  /// The whole state, with `online` at its end; nothing without a list.
  void PublishAll(Actions& actions);
  void PublishChange(const Change& change, Time now, Actions& actions);
  void PublishService(std::uint32_t id, const Service& service, Actions& actions) const;
  void PublishSummary(Actions& actions);
  void PublishGenerations(Actions& actions);
  void PublishDiscovery(Actions& actions);
  void PublishStatus(bool isOnline, Actions& actions) const;
  /// Leaves out what the broker would get, while it is away.
  Actions Filter(Actions actions) const;

  const Options options_;
  const std::function<double()> random_;
  const Topics topics_;
  ServiceList list_;
  Generations generations_;
  Discovery discovery_;
  CommandQueue commands_;

  Phase phase_ = Phase::kAway;
  bool hasLooked_ = false;                 // at a broker, once
  std::optional<Time> next_;               // for what `Tick` does in this phase
  std::string mark_;                       // that ends the look; "" before it was sent
  std::set<std::string> retained_;         // topics, as far as it is known
  std::size_t retainedSize_ = 0;           // bytes of the topics that were looked at
  std::set<std::string_view> warnings_;    // that were logged in this connection to the broker
  std::string summary_, generationsText_;  // as published
  std::map<std::string_view, Time> told_;  // refusals, each told once in a while
};

}  // namespace bridge

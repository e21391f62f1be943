#pragma once

#include <string>
#include <variant>
#include <vector>

namespace bridge {

/// A message from the broker.
struct Message {
  std::string topic;
  std::string payload;
  bool isRetained = false;
  std::string responseTopic;  // "" for none
  std::string correlation;    // "" for none
};

/// What a subscription is for. The broker grants or refuses each by itself.
enum class Purpose {
  kLook,       // what is retained under the room's topics, which is sent at once
  kDiscovery,  // likewise, Home Assistant's document of the room
  kCommands,   // commands, from now on: nothing retained, and not the bridge's own messages
  kBirth       // Home Assistant's birth message, likewise
};

/// To publish a message, with QoS 1.
struct Publish {
  std::string topic;
  std::string payload;  // "" removes what is retained
  bool isRetained = false;
  std::string correlation;  // "" for none
};

struct Subscribe {
  Purpose purpose;
  std::vector<std::string> filters;
};

struct Unsubscribe {
  std::vector<std::string> filters;
};

/// To send a step to the host.
struct Step {
  std::string text;
};

struct LogRecord {
  enum class Level { kInfo, kWarning } level;
  std::string text;
};

using Action = std::variant<Publish, Subscribe, Unsubscribe, Step, LogRecord>;
using Actions = std::vector<Action>;

}  // namespace bridge

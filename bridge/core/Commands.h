#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "bridge/core/Actions.h"
#include "bridge/core/Payloads.h"
#include "bridge/core/Topics.h"

namespace bridge {

using Time = std::chrono::steady_clock::time_point;

/// What a message asks of the host.
struct Command {
  enum class Kind { kRequest, kCancel, kList } kind = Kind::kList;
  std::uint32_t id = 0;
  std::string responseTopic;  // "" for none
  std::string correlation;    // "" for none
};

/// Reads a message of a command topic. Returns a command, or why there is none: a fixed text.
std::variant<Command, std::string_view> ReadCommand(const Message& message, const Topics& topics);
/// Why a message must not be answered; "" if it may. A message without a response topic may.
std::string_view CheckResponse(const Message& message, const Topics& topics);

/// The first answers to commands with a correlation, by their response topic and correlation. A
/// command that comes again within 10 minutes, and before 1,024 others have come, is known.
class AnswerBook {
 public:
  enum class State { kNew, kWaiting, kAnswered };

  /// Forgets what is too old. Returns what is known of the command, and its first answer.
  std::pair<State, std::string> Find(const Command& command, Time now);
  /// Remembers a new command. It stays until it is answered.
  void Add(const Command& command, Time now);
  /// Keeps the answer, if the command is one that waits.
  void SetAnswer(const Command& command, const std::string& answer);

 private:
  using Key = std::pair<std::string, std::string>;
  struct Entry {
    Time added;
    std::optional<std::string> answer;
  };

  static Key GetKey(const Command& command) { return {command.responseTopic, command.correlation}; }

  std::map<Key, Entry> entries_;
  std::deque<Key> order_;  // oldest first
};

/// The commands that wait for the host, which carries out one at a time.
class CommandQueue {
 public:
  static constexpr std::size_t kMostWaiting = 64;

  /// Takes a command. The actions carry it out, or answer it.
  Actions Add(Command command, const Services& services, Time now);
  /// The host refused the step of the command.
  void Refuse(std::string reason);
  /// The host has carried out the steps of the command.
  Actions End(const Services& services);
  /// The host is gone: answers all commands.
  Actions Lose();

 private:
  /// Carries out the commands at the front, up to the first that the host must carry out.
  void Run(const Services& services, Actions& actions);
  void Answer(const Command& command, const Json& answer, Actions& actions);
  static void Send(const Command& command, const std::string& answer, Actions& actions);

  std::deque<Command> waiting_;  // with the one that is carried out
  bool isRunning_ = false;
  std::string refusal_;
  AnswerBook answers_;
};

}  // namespace bridge

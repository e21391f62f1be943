#include "bridge/core/Commands.h"

#include <limits>

namespace bridge {
namespace {

using Kind = Command::Kind;

constexpr std::size_t kLongestPayload = 4096;
constexpr std::size_t kLongestCorrelation = 64;
constexpr std::size_t kLongestResponseTopic = 256;
constexpr std::chrono::minutes kMemory(10);
constexpr std::size_t kMostRemembered = 1024;

constexpr std::string_view kNotACommand =
    R"(not a command, such as {"do":"request","id":3}, {"do":"cancel","id":3} or {"do":"list"})";

/// Text in double quotes, as a step takes it.
std::string Quote(const std::string& text) {
  constexpr const char* kDigits = "0123456789abcdef";
  std::string quoted = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') quoted += '\\';
    if (byte >= 0x20 && byte != 0x7F) {
      quoted += c;
    } else {
      quoted += {'\\', 'x', kDigits[byte / 16], kDigits[byte % 16]};
    }
  }
  return quoted + '"';
}

std::string DescribeStep(const Command& command, const Service& service) {
  const std::string id = " id=" + std::to_string(command.id);
  if (command.kind == Kind::kCancel) return "SEND_CANCEL_EVENT" + id;
  const std::string& code = service.requestCode;
  return "SEND_REQUEST_EVENT" + id + (code.empty() ? "" : " operarequest=" + Quote(code));
}

std::variant<Command, std::string_view> ReadDocument(const std::string& payload) {
  const Json json = ReadJson(payload);
  if (!json.is_object() || !json.contains("do")) return kNotACommand;
  static const std::map<Json, Kind> kKinds = {
      {"request", Kind::kRequest}, {"cancel", Kind::kCancel}, {"list", Kind::kList}};
  const auto kind = kKinds.find(json["do"]);
  if (kind == kKinds.end()) return kNotACommand;
  Command command;
  command.kind = kind->second;
  const bool isList = command.kind == Kind::kList;
  if (json.size() != (isList ? 1 : 2)) return kNotACommand;
  if (isList) return command;
  const auto id = json.find("id");
  const bool isId = id != json.end() && id->is_number_unsigned() &&
                    id->get<std::uint64_t>() <= std::numeric_limits<std::uint32_t>::max();
  if (!isId) return kNotACommand;
  command.id = id->get<std::uint32_t>();
  return command;
}

}  // namespace

std::string_view CheckResponse(const Message& message, const Topics& topics) {
  const std::string& topic = message.responseTopic;
  if (topic.empty()) return "";
  const std::string& root = topics.GetReplyRoot();
  const bool isGood = topic.size() > root.size() && topic.size() <= kLongestResponseTopic &&
                      topic.compare(0, root.size(), root) == 0 &&
                      topic.find_first_of("+#") == std::string::npos;
  return isGood ? "" : "its response topic is not one for answers";
}

std::variant<Command, std::string_view> ReadCommand(const Message& message, const Topics& topics) {
  if (message.isRetained) return "a retained command";
  if (message.payload.size() > kLongestPayload) return "longer than 4,096 bytes";
  if (message.correlation.size() > kLongestCorrelation) return "a correlation of over 64 bytes";
  std::variant<Command, std::string_view> result;
  if (message.topic == topics.GetCommand()) {
    result = ReadDocument(message.payload);
  } else if (const auto id = topics.ReadServiceTopic(message.topic, "/set"); !id) {
    return "not a topic of commands";
  } else if (message.payload == "ON" || message.payload == "OFF") {
    Command command;
    command.kind = message.payload == "ON" ? Kind::kRequest : Kind::kCancel;
    command.id = *id;
    result = command;
  } else {
    return "neither ON nor OFF";
  }
  if (Command* const command = std::get_if<Command>(&result)) {
    command->responseTopic = message.responseTopic;
    command->correlation = message.correlation;
  }
  return result;
}

std::pair<AnswerBook::State, std::string> AnswerBook::Find(const Command& command, Time now) {
  while (!order_.empty()) {
    const auto entry = entries_.find(order_.front());
    const bool isOld = now - entry->second.added > kMemory || order_.size() > kMostRemembered;
    // Commands end in the order in which they came, so none behind this one has ended.
    if (!isOld || !entry->second.answer) break;
    entries_.erase(entry);
    order_.pop_front();
  }
  const auto entry = entries_.find(GetKey(command));
  if (entry == entries_.end()) return {State::kNew, ""};
  if (!entry->second.answer) return {State::kWaiting, ""};
  return {State::kAnswered, *entry->second.answer};
}

void AnswerBook::Add(const Command& command, Time now) {
  order_.push_back(GetKey(command));
  entries_[order_.back()].added = now;
}

void AnswerBook::SetAnswer(const Command& command, const std::string& answer) {
  const auto entry = entries_.find(GetKey(command));
  if (entry != entries_.end() && !entry->second.answer) entry->second.answer = answer;
}

Actions CommandQueue::Add(Command command, const Services& services, Time now) {
  Actions actions;
  if (!command.correlation.empty()) {
    const auto [state, answer] = answers_.Find(command, now);
    if (state == AnswerBook::State::kAnswered) Send(command, answer, actions);
    // While the first waits, its answer is that of both.
    if (state != AnswerBook::State::kNew) return actions;
  }
  if (waiting_.size() >= kMostWaiting) {
    Send(command, ToText(DescribeRefusal("busy")), actions);
    return actions;
  }
  // A list changes nothing: it may be answered anew, so that no long answers are kept.
  if (!command.correlation.empty() && command.kind != Kind::kList) answers_.Add(command, now);
  waiting_.push_back(std::move(command));
  Run(services, actions);
  return actions;
}

void CommandQueue::Refuse(std::string reason) { refusal_ = std::move(reason); }

Actions CommandQueue::End(const Services& services) {
  Actions actions;
  if (!isRunning_) return actions;
  isRunning_ = false;
  const Command command = std::move(waiting_.front());
  waiting_.pop_front();
  const auto service = services.find(command.id);
  const std::string refusal = std::exchange(refusal_, "");
  Json answer = DescribeRefusal(refusal.empty() ? "the service was removed" : refusal);
  if (refusal.empty() && service != services.end()) {
    answer = DescribeDone(command.id, service->second);
  }
  Answer(command, answer, actions);
  Run(services, actions);
  return actions;
}

Actions CommandQueue::Lose() {
  Actions actions;
  for (const Command& command : waiting_) {
    const bool isSent = isRunning_ && &command == &waiting_.front();
    Answer(command,
           DescribeRefusal(isSent ? "the host is gone; it may have carried the command out"
                                  : "the host is gone"),
           actions);
  }
  waiting_.clear();
  isRunning_ = false;
  refusal_.clear();
  return actions;
}

void CommandQueue::Run(const Services& services, Actions& actions) {
  while (!isRunning_ && !waiting_.empty()) {
    const Command& command = waiting_.front();
    const auto service = services.find(command.id);
    const bool isList = command.kind == Kind::kList;
    if (!isList && service != services.end() &&
        service->second.isOpen != (command.kind == Kind::kRequest)) {
      isRunning_ = true;
      actions.push_back(Step{DescribeStep(command, service->second)});
      actions.push_back(Step{std::string(ServiceList::kAskForEnd)});
      return;
    }
    const Json answer = isList                      ? DescribeList(services)
                        : service == services.end() ? DescribeRefusal("no such service")
                                                    : DescribeDone(command.id, service->second);
    Answer(command, answer, actions);
    waiting_.pop_front();
  }
}

void CommandQueue::Answer(const Command& command, const Json& answer, Actions& actions) {
  const std::string text = ToText(answer);
  if (command.kind != Kind::kList) answers_.SetAnswer(command, text);
  Send(command, text, actions);
}

void CommandQueue::Send(const Command& command, const std::string& answer, Actions& actions) {
  if (command.responseTopic.empty()) return;
  actions.push_back(Publish{command.responseTopic, answer, false, command.correlation});
}

}  // namespace bridge

#include "bridge/core/Room.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <variant>
#include <vector>

namespace bridge {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr const char* kOnline = "online";
constexpr const char* kOffline = "offline";
constexpr std::size_t kMostRetained = std::size_t{1} << 20;  // bytes of topics that are looked at
constexpr double kMarks = 1e15;
constexpr seconds kMarkTime(5);  // after which the mark is sent again
constexpr seconds kSubscribeTime(15);
constexpr seconds kRetryTime(2);          // after a refused subscription
constexpr seconds kDiscoveryTime(1);      // in which edits are gathered
constexpr milliseconds kBirthTime(1000);  // at least, after Home Assistant's birth
constexpr milliseconds kBirthSpread(4000);
constexpr seconds kTellTime(60);

void Append(Actions& actions, Actions more) {
  std::move(more.begin(), more.end(), std::back_inserter(actions));
}

}  // namespace

Room::Room(const Options& options, std::function<double()> random)
    : options_(options),
      random_(std::move(random)),
      topics_(options.site, options.room),
      discovery_(options.discoveryPrefix, options.site, options.room, options.version) {}

void Room::ConnectHost() { list_.Reset(); }

Actions Room::TakeLine(std::string_view line, Time now) {
  const Change change = list_.Take(line);
  Actions actions;
  switch (change.kind) {
    case Change::Kind::kNone:
      break;
    case Change::Kind::kUnknown:
      actions.push_back(Step{std::string(ServiceList::kAskForList)});
      break;
    case Change::Kind::kNoList:
      PublishStatus(false, actions);
      break;
    case Change::Kind::kList:
      generations_.Update(list_.Get(), list_.GetTime());
      if (phase_ == Phase::kConnected) StartLooking(now, actions);
      if (phase_ == Phase::kLive) PublishAll(actions);
      break;
    case Change::Kind::kRemovedUnseen:
      generations_.Remove(change.id);
      break;
    case Change::Kind::kHealth:
      if (phase_ == Phase::kLive && list_.IsKnown()) PublishSummary(actions);
      break;
    case Change::Kind::kRefused:
      commands_.Refuse(change.text);
      break;
    case Change::Kind::kEnd:
      actions = commands_.End(list_.Get());
      break;
    default:
      PublishChange(change, now, actions);
  }
  return Filter(std::move(actions));
}

Actions Room::LoseHost() {
  Actions actions = commands_.Lose();
  list_.Reset();
  PublishStatus(false, actions);
  return Filter(std::move(actions));
}

Actions Room::ConnectBroker(Time now) {
  Actions actions;
  phase_ = Phase::kConnected;
  next_.reset();
  warnings_.clear();
  PublishStatus(false, actions);
  if (list_.IsKnown()) StartLooking(now, actions);
  return actions;
}

void Room::LoseBroker() {
  phase_ = Phase::kAway;
  next_.reset();
}

Actions Room::End() {
  Actions actions;
  PublishStatus(false, actions);
  actions = Filter(std::move(actions));
  // An answer of the broker that comes now begins nothing.
  LoseBroker();
  return actions;
}

Actions Room::TakeSubscribed(Purpose purpose, bool isGranted, Time now) {
  Actions actions;
  // Without discovery the document is looked at only to be removed.
  if (purpose == Purpose::kDiscovery && !options_.hasDiscovery) return actions;
  if (!isGranted) Warn("the broker refuses a subscription; check the user's rights", actions);
  if (purpose == Purpose::kLook && phase_ == Phase::kLooking) {
    if (isGranted) {
      SendMark(now, actions);
    } else {
      next_ = now + kRetryTime;
    }
  } else if (purpose == Purpose::kCommands && phase_ == Phase::kSubscribing) {
    if (isGranted) {
      phase_ = Phase::kLive;
      next_.reset();
      PublishAll(actions);
    } else {
      next_ = now + kRetryTime;
    }
  }
  return actions;
}

Actions Room::TakeMessage(const Message& message, Time now) {
  Actions actions;
  const bool isSync = message.topic == topics_.GetSync();
  if (phase_ == Phase::kLooking) {
    if (isSync && !message.isRetained && !mark_.empty() && message.payload == mark_) {
      EndLooking(now, actions);
    } else if (message.isRetained && !message.payload.empty()) {
      TakeRetained(message, actions);
    }
    return actions;
  }
  if (phase_ != Phase::kLive || isSync) return actions;
  if (options_.hasDiscovery && message.topic == discovery_.GetBirthTopic()) {
    if (message.payload != kOnline) return actions;
    const auto spread = std::chrono::duration_cast<milliseconds>(kBirthSpread * random_());
    next_ = now + kBirthTime + spread;
    return actions;
  }
  const std::string_view fault = CheckResponse(message, topics_);
  const auto command = ReadCommand(message, topics_);
  if (!fault.empty()) {
    Refuse(message, fault, now, actions);
  } else if (const auto* const reason = std::get_if<std::string_view>(&command)) {
    Refuse(message, *reason, now, actions);
  } else if (!list_.IsKnown()) {
    Refuse(message, "the host is gone", now, actions);
  } else {
    Append(actions, commands_.Add(std::get<Command>(command), list_.Get(), now));
  }
  return actions;
}

Actions Room::Tick(Time now) {
  Actions actions;
  if (!next_ || now < *next_) return actions;
  next_.reset();
  if (phase_ == Phase::kLooking && mark_.empty()) {
    SubscribeToLook(now, actions);
  } else if (phase_ == Phase::kLooking) {
    // A broker drops it, too, while more is retained than it lets wait for a client.
    Warn("the broker does not send the room's mark back; check the user's rights", actions);
    SendMark(now, actions);
  } else if (phase_ == Phase::kSubscribing) {
    SubscribeFor(Purpose::kCommands, actions);
    next_ = now + kSubscribeTime;
  } else if (phase_ == Phase::kLive && list_.IsKnown()) {
    PublishDiscovery(actions);
  }
  return actions;
}

void Room::StartLooking(Time now, Actions& actions) {
  phase_ = Phase::kLooking;
  mark_.clear();
  retained_.clear();
  retainedSize_ = 0;
  SubscribeToLook(now, actions);
}

void Room::SubscribeToLook(Time now, Actions& actions) {
  SubscribeFor(Purpose::kDiscovery, actions);
  SubscribeFor(Purpose::kLook, actions);
  next_ = now + kSubscribeTime;
}

// The broker sends what is retained before it sends this back. A message that another client sends
// there, or that is retained there, is not the mark.
void Room::SendMark(Time now, Actions& actions) {
  if (mark_.empty()) mark_ = std::to_string(static_cast<std::uint64_t>(random_() * kMarks));
  actions.push_back(Publish{topics_.GetSync(), mark_, false, ""});
  next_ = now + kMarkTime;
}

void Room::EndLooking(Time now, Actions& actions) {
  phase_ = Phase::kSubscribing;
  next_ = now + kSubscribeTime;
  hasLooked_ = true;
  std::vector<std::string> filters = GetFilters(Purpose::kLook);
  filters.push_back(discovery_.GetTopic());
  actions.push_back(Unsubscribe{std::move(filters)});
  SubscribeFor(Purpose::kCommands, actions);
  if (options_.hasDiscovery) SubscribeFor(Purpose::kBirth, actions);
}

std::vector<std::string> Room::GetFilters(Purpose purpose) const {
  switch (purpose) {
    case Purpose::kLook:
      // The generations first: a broker that does not let all that is retained wait drops the last.
      return {topics_.GetGenerations(), topics_.GetRoot() + "#"};
    case Purpose::kDiscovery:
      return {discovery_.GetTopic()};
    case Purpose::kCommands:
      return {topics_.GetRoot() + "service/+/set", topics_.GetCommand()};
    default:
      return {discovery_.GetBirthTopic()};
  }
}

void Room::SubscribeFor(Purpose purpose, Actions& actions) const {
  actions.push_back(Subscribe{purpose, GetFilters(purpose)});
}

void Room::TakeRetained(const Message& message, Actions& actions) {
  if (retainedSize_ + message.topic.size() > kMostRetained) {
    return Warn("more is retained than 1 MiB of topics; the next connection removes more", actions);
  }
  if (retained_.insert(message.topic).second) retainedSize_ += message.topic.size();
  if (message.topic == discovery_.GetTopic()) discovery_.Read(message.payload);
  // Later this run knows better.
  if (message.topic == topics_.GetGenerations() && !hasLooked_) {
    generations_.Read(message.payload, list_.GetTime());
  }
}

void Room::Warn(std::string_view text, Actions& actions) {
  if (!warnings_.insert(text).second) return;
  actions.push_back(LogRecord{LogRecord::Level::kWarning, std::string(text)});
}

void Room::Refuse(const Message& message, std::string_view reason, Time now, Actions& actions) {
  Time& told = told_[reason];
  if (told == Time() || now - told >= kTellTime) {
    told = now;
    actions.push_back(
        LogRecord{LogRecord::Level::kWarning, "refused a command: " + std::string(reason)});
  }
  if (message.responseTopic.empty() || !CheckResponse(message, topics_).empty()) return;
  actions.push_back(
      Publish{message.responseTopic, ToText(DescribeRefusal(reason)), false, message.correlation});
}

void Room::PublishAll(Actions& actions) {
  if (!list_.IsKnown()) return;
  std::set<std::string> wanted = {topics_.GetStatus(), topics_.GetSummary(),
                                  topics_.GetGenerations()};
  if (options_.hasDiscovery) wanted.insert(discovery_.GetTopic());
  for (const auto& [id, service] : list_.Get()) {
    wanted.insert(topics_.GetService(id));
    PublishService(id, service, actions);
  }
  summary_.clear();
  generationsText_.clear();
  PublishSummary(actions);
  PublishGenerations(actions);
  for (const std::string& topic : retained_) {
    if (wanted.count(topic) == 0) actions.push_back(Publish{topic, "", true, ""});
  }
  retained_ = std::move(wanted);
  PublishDiscovery(actions);
  PublishStatus(true, actions);
}

void Room::PublishChange(const Change& change, Time now, Actions& actions) {
  static const std::map<Change::Kind, std::string_view> kEvents = {
      {Change::Kind::kRequested, "requested"},
      {Change::Kind::kCanceled, "canceled"},
      {Change::Kind::kLapsed, "lapsed"}};
  const auto event = kEvents.find(change.kind);
  if (event == kEvents.end()) generations_.Update(list_.Get(), list_.GetTime());
  if (phase_ != Phase::kLive) return;

  const auto service = list_.Get().find(change.id);
  if (service == list_.Get().end()) {
    const std::string topic = topics_.GetService(change.id);
    actions.push_back(Publish{topic, "", true, ""});
    retained_.erase(topic);
  } else {
    PublishService(service->first, service->second, actions);
    retained_.insert(topics_.GetService(change.id));
  }
  PublishSummary(actions);
  if (event != kEvents.end()) {
    const std::string payload = ToText(DescribeEvent(event->second, change.text));
    actions.push_back(Publish{topics_.GetEvent(change.id), payload, false, ""});
    return;
  }
  PublishGenerations(actions);
  if (options_.hasDiscovery && !next_) next_ = now + kDiscoveryTime;
}

void Room::PublishService(std::uint32_t id, const Service& service, Actions& actions) const {
  const std::string payload = ToText(DescribeService(id, service));
  actions.push_back(Publish{topics_.GetService(id), payload, true, ""});
}

void Room::PublishSummary(Actions& actions) {
  std::string summary = ToText(DescribeSummary(list_.Get(), list_.GetHealth()));
  if (summary == summary_) return;
  actions.push_back(Publish{topics_.GetSummary(), summary, true, ""});
  summary_ = std::move(summary);
}

void Room::PublishGenerations(Actions& actions) {
  std::string text = generations_.Describe();
  if (text == generationsText_) return;
  actions.push_back(Publish{topics_.GetGenerations(), text, true, ""});
  generationsText_ = std::move(text);
}

void Room::PublishDiscovery(Actions& actions) {
  if (!options_.hasDiscovery) return;
  for (std::string& document : discovery_.Describe(list_.Get(), generations_)) {
    actions.push_back(Publish{discovery_.GetTopic(), std::move(document), true, ""});
  }
}

void Room::PublishStatus(bool isOnline, Actions& actions) const {
  actions.push_back(Publish{topics_.GetStatus(), isOnline ? kOnline : kOffline, true, ""});
}

Actions Room::Filter(Actions actions) const {
  if (phase_ != Phase::kAway) return actions;
  const auto isPublish = [](const Action& action) {
    return std::holds_alternative<Publish>(action);
  };
  actions.erase(std::remove_if(actions.begin(), actions.end(), isPublish), actions.end());
  return actions;
}

}  // namespace bridge

#include "bridge/core/ServiceList.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <pugixml.hpp>
#include <set>
#include <system_error>
#include <utility>

namespace bridge {
namespace {

using Kind = Change::Kind;

constexpr int kRequestedState = 1;

/// Takes the text up to the first blank off the front.
std::string_view TakeWord(std::string_view& text) {
  const std::size_t end = std::min(text.find(' '), text.size());
  const std::string_view word = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return word;
}

template <typename Number>
std::optional<Number> ReadNumber(std::string_view text) {
  Number number = 0;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || rest != text.data() + text.size()) return std::nullopt;
  return number;
}

/// Ids are unsigned; XML has those of 2147483648 and more as negative numbers.
std::uint32_t ReadId(const char* text) {
  return static_cast<std::uint32_t>(ReadNumber<std::int64_t>(text).value_or(0));
}

Service ReadService(const pugi::xml_node& element) {
  Service service;
  service.name = element.attribute("name").value();
  service.description = element.attribute("description").value();
  service.icon = element.attribute("icon").as_int();
  service.delay = element.attribute("delay").as_int();
  service.requestCode = element.attribute("operarequest").value();
  service.isOpen = element.attribute("state").as_int() == kRequestedState;
  return service;
}

bool IsService(const pugi::xml_node& element) {
  return std::strcmp(element.name(), "guest_service") == 0;
}

pugi::xml_node ReadXml(pugi::xml_document& document, std::string_view xml) {
  document.load_buffer(xml.data(), xml.size());
  return document.document_element();
}

/// The value of `state` in the line of the host's health.
std::string ReadHealth(std::string_view text) {
  constexpr std::string_view kStart = "state=\"";
  const std::size_t start = text.find(kStart);
  if (start == std::string_view::npos) return "none";
  text.remove_prefix(start + kStart.size());
  return std::string(text.substr(0, text.find('"')));
}

}  // namespace

void ServiceList::Reset() {
  // What was lost while it was told of the past is told again.
  const Seconds time = time_, lostAt = isReplaying_ ? lostAt_ : time_;
  *this = ServiceList();
  time_ = time;
  lostAt_ = lostAt;
}

Change ServiceList::Take(std::string_view line) {
  const std::string_view word = TakeWord(line);
  if (word == "!") return TakeStatus(line);
  if (word == "push") return TakePush(line);
  if (word == ">") {
    step_ = line;
    // No other line of a query comes before this one, so the steps before it are done.
    return {step_ == kAskForEnd ? Kind::kEnd : Kind::kNone};
  }
  if (word == "answer" && step_ == kAskForList) return TakeList(line);
  if (word != "error") return {};
  if (step_ == kAskForList) {
    isKnown_ = false;
    return {Kind::kNoList};
  }
  return {step_ == kAskForEnd ? Kind::kNone : Kind::kRefused, 0, std::string(line)};
}

Change ServiceList::TakeStatus(std::string_view text) {
  const std::string_view word = TakeWord(text);
  if (word == "clock") {
    time_ = ReadNumber<Seconds>(TakeWord(text)).value_or(time_);
  } else if (word == "from") {
    from_ = text;
  } else if (word == "open") {
    const auto id = ReadNumber<std::uint32_t>(TakeWord(text));
    Request request;
    request.since = ReadNumber<Seconds>(TakeWord(text)).value_or(0);
    TakeWord(text);  // the time zone's offset
    request.until = ReadNumber<Seconds>(TakeWord(text));
    if (id) requests_[*id] = request;
  } else if (word == "health") {
    health_ = ReadHealth(text);
    return {Kind::kHealth};
  } else if (word == "restarted") {
    requests_.clear();
    return {Kind::kUnknown};
  } else if (word == "replay-end") {
    isReplaying_ = false;
    return {Kind::kUnknown};
  }
  return {};
}

Change ServiceList::TakePush(std::string_view xml) {
  static const std::map<std::string, Kind> kKinds = {
      {"service_added", Kind::kService},           {"service_changed", Kind::kService},
      {"service_removed", Kind::kRemoved},         {"service_state_requested", Kind::kRequested},
      {"service_state_canceled", Kind::kCanceled}, {"service_state_not_requested", Kind::kLapsed}};
  pugi::xml_document document;
  const pugi::xml_node push = ReadXml(document, xml);
  const auto kind = kKinds.find(push.name());
  if (kind == kKinds.end()) return {};

  const pugi::xml_node entry = push.first_child();
  const pugi::xml_attribute attribute = entry.attribute("id");
  Change change{kind->second, ReadId(attribute ? attribute.value() : entry.child_value()), ""};
  const bool isOpen = change.kind == Kind::kRequested;
  if (isOpen || change.kind == Kind::kCanceled) change.text = std::exchange(from_, "");
  if (!isOpen && change.kind != Kind::kService) requests_.erase(change.id);
  if (isReplaying_ || !isKnown_) {
    // What is said of the past, or before a list, is in the list that comes, but not that an entry
    // of it has the id of one that was removed.
    const bool isNew = lostAt_ > 0 && time_ >= lostAt_;
    return change.kind == Kind::kRemoved && isNew ? Change{Kind::kRemovedUnseen, change.id}
                                                  : Change();
  }

  if (change.kind == Kind::kRemoved) {
    const bool isGone = services_.erase(change.id) > 0;
    if (hasTwins_) return {Kind::kUnknown};
    return isGone ? change : Change();
  }
  if (change.kind == Kind::kService) {
    if (!IsService(entry)) return {};
    Service& service = services_[change.id];
    service = ReadService(entry);
    AddMoments(change.id, service);
    return change;
  }
  const auto found = services_.find(change.id);
  if (found == services_.end()) return {};
  found->second.isOpen = isOpen;
  AddMoments(change.id, found->second);
  return change;
}

Change ServiceList::TakeList(std::string_view xml) {
  pugi::xml_document document;
  const pugi::xml_node list = ReadXml(document, xml);
  step_.clear();
  services_.clear();
  hasTwins_ = false;
  isKnown_ = std::strcmp(list.name(), "guest_services") == 0;
  if (!isKnown_) return {Kind::kNoList};
  std::set<std::uint32_t> ids;
  for (const pugi::xml_node& element : list.children()) {
    const std::uint32_t id = ReadId(element.attribute("id").value());
    const bool isFirst = ids.insert(id).second;
    hasTwins_ = hasTwins_ || !isFirst;
    if (isFirst && IsService(element)) AddMoments(id, services_[id] = ReadService(element));
  }
  return {Kind::kList};
}

void ServiceList::AddMoments(std::uint32_t id, Service& service) const {
  const auto request = requests_.find(id);
  const bool isKnown = service.isOpen && request != requests_.end();
  service.since = isKnown ? std::optional(request->second.since) : std::nullopt;
  service.until = isKnown ? request->second.until : std::nullopt;
}

}  // namespace bridge

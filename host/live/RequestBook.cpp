#include "host/live/RequestBook.h"

#include "platform/QxTime.h"

namespace host {
namespace {

constexpr std::int64_t kKeptTime = std::int64_t{12} * 3600;  // seconds
constexpr std::size_t kMostEnded = 200;
constexpr int kNeverLapses = -1;
constexpr int kRequested = 1;

/// A moment with the zone's offset at it.
std::string Describe(std::int64_t moment) {
  return ' ' + std::to_string(moment) + ' ' + std::to_string(qx::GetUtcOffset(moment));
}

/// When the request of an element began, as the agent reads it.
std::int64_t ReadRequestTime(const qx::XmlNode& service) {
  const auto time = service.GetChild("request_time");
  if (!time) return QxTime().GetTime();
  const auto number = [&](const char* name) { return time->GetAttributeNumber(name); };
  return QxTime(number("YEAR"), number("MONTH"), number("DAY"), number("HOUR"), number("MIN"),
                number("SEC"))
      .GetTime();
}

unsigned int ToId(const std::string& text) {
  return static_cast<unsigned int>(qx::ToInt(text.c_str()));
}

}  // namespace

void RequestBook::Read(const boost::shared_ptr<qx::XmlNode>& state) {
  services_.clear();
  if (!state) return;
  qx::XmlNodeIterator& elements = *state->GetIterator();
  for (auto element = elements.GetFirst(); element; element = elements.GetNext()) {
    if (!element->IsName("guest_service")) continue;
    Service& service = services_[ToId(element->GetAttribute("id"))];
    service.delay = element->GetAttributeNumber("delay");
    if (element->GetAttributeNumber("state") == kRequested) {
      service.request = Request{ReadRequestTime(*element), std::nullopt};
    }
  }
}

std::string RequestBook::Take(const std::string& line, std::int64_t now,
                              std::optional<Sender> sender) {
  const auto document = qx::CreateXmlDocument(std::string_view(line).substr(line.find(' ') + 1));
  if (!document) return "";
  const std::string what = document->GetRoot()->GetName();
  const auto entry = document->GetRoot()->GetIterator()->GetFirst();
  if (!entry) return "";
  if (entry->IsName("guest_service")) {
    const unsigned int id = ToId(entry->GetAttribute("id"));
    Service& service = services_[id];
    service.delay = entry->GetAttributeNumber("delay");
    return service.request ? DescribeOpen(id, service) : "";
  }
  if (!entry->IsName("id")) return "";
  const auto found = services_.find(ToId(entry->OuterXml().substr(sizeof("<id>") - 1)));
  if (found == services_.end()) return "";
  auto& [id, service] = *found;
  if (what == "service_state_requested") {
    service.request = Request{now, sender};
    return DescribeOpen(id, service);
  }
  if (what == "service_state_not_requested") return End(id, service, now, kLapsed);
  if (what == "service_state_canceled") {
    return End(id, service, now, sender == Sender::kGuest ? kWithdrawn : kDone);
  }
  if (what != "service_removed") return "";
  std::string ended = End(id, service, now, kRemoved);
  services_.erase(found);
  return ended;
}

std::string RequestBook::DescribeOpen(unsigned int id, const Service& service) {
  const std::int64_t since = service.request->since;
  std::string line = "! open " + std::to_string(id) + Describe(since);
  if (service.delay == kNeverLapses) return line;
  return line + Describe(since + std::int64_t{60} * service.delay);
}

std::string RequestBook::End(unsigned int id, Service& service, std::int64_t now,
                             std::string_view how) {
  if (!service.request) return "";
  std::string line = "! ended " + std::to_string(id) + ' ' + std::string(how) +
                     Describe(service.request->since) + Describe(now);
  service.request.reset();
  ended_.push_back({now, line});
  if (ended_.size() > kMostEnded) ended_.pop_front();
  return line;
}

std::vector<RequestBook::OpenRequest> RequestBook::GetOpen() const {
  std::vector<OpenRequest> open;
  for (const auto& [id, service] : services_) {
    if (service.request) open.push_back({service.request->sender, DescribeOpen(id, service)});
  }
  return open;
}

std::vector<std::string> RequestBook::DescribeEnded(std::int64_t now) const {
  std::vector<std::string> lines;
  for (const Ended& each : ended_) {
    if (each.moment >= now - kKeptTime) lines.push_back(each.line);
  }
  return lines;
}

}  // namespace host

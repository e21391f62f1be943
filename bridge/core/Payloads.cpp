#include "bridge/core/Payloads.h"

#include <algorithm>
#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/posix_time.hpp>
#include <optional>

namespace bridge {
namespace {

constexpr Seconds kEndOfYear9999 = 253402300799;

}  // namespace

Json DescribeMoment(const std::optional<Seconds>& moment) {
  if (!moment || *moment < 0 || *moment > kEndOfYear9999) return nullptr;
  // Not gmtime: the C library counts no further than 2038 on 32-bit machines.
  const boost::posix_time::ptime epoch(boost::gregorian::date(1970, 1, 1));
  const boost::posix_time::ptime time = epoch + boost::posix_time::seconds(*moment);
  return boost::posix_time::to_iso_extended_string(time) + "Z";
}

Json DescribeService(std::uint32_t id, const Service& service) {
  return {{"id", id},
          {"name", service.name},
          {"description", service.description},
          {"icon", service.icon},
          {"delay", service.delay},
          {"open", service.isOpen},
          {"since", DescribeMoment(service.since)},
          {"until", DescribeMoment(service.until)}};
}

Json DescribeSummary(const Services& services, const std::string& health) {
  std::size_t open = 0;
  std::optional<Seconds> oldest;
  for (const auto& [id, service] : services) {
    if (!service.isOpen) continue;
    ++open;
    if (service.since) oldest = std::min(*service.since, oldest.value_or(*service.since));
  }
  return {{"open", open}, {"oldest", DescribeMoment(oldest)}, {"state", health}};
}

Json DescribeEvent(std::string_view type, const std::string& role) {
  Json event = {{"event_type", type}};
  if (!role.empty()) event["by"] = role;
  return event;
}

Json DescribeDone(std::uint32_t id, const Service& service) {
  return {{"ok", true},
          {"id", id},
          {"open", service.isOpen},
          {"since", DescribeMoment(service.since)},
          {"until", DescribeMoment(service.until)}};
}

Json DescribeList(const Services& services) {
  Json list = Json::array();
  for (const auto& [id, service] : services) list.push_back(DescribeService(id, service));
  return {{"ok", true}, {"services", list}};
}

Json DescribeRefusal(std::string_view reason) { return {{"ok", false}, {"reason", reason}}; }

}  // namespace bridge

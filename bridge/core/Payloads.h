#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "bridge/core/Json.h"
#include "bridge/core/ServiceList.h"

namespace bridge {

using Services = std::map<std::uint32_t, Service>;

/// A moment as RFC 3339 has it, in UTC; null where there is none, or one outside the years 1970 to
/// 9999.
Json DescribeMoment(const std::optional<Seconds>& moment);

/// The payload of a service's topic.
Json DescribeService(std::uint32_t id, const Service& service);
/// The payload of the room's summary.
Json DescribeSummary(const Services& services, const std::string& health);
/// The payload of a service's event: "requested", "canceled" or "lapsed", by a role or, "", by
/// none.
Json DescribeEvent(std::string_view type, const std::string& role);

/// The answer to a command that was carried out, or was without effect.
Json DescribeDone(std::uint32_t id, const Service& service);
/// The answer to the command `list`.
Json DescribeList(const Services& services);
/// The answer to a command that was refused.
Json DescribeRefusal(std::string_view reason);

}  // namespace bridge

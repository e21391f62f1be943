#include "bridge/core/Discovery.h"

#include <algorithm>
#include <utility>

namespace bridge {
namespace {

constexpr const char* kServices = "services";
constexpr const char* kHighest = "highest";
constexpr const char* kComponents = "components";
constexpr const char* kPlatform = "platform";
constexpr std::uint64_t kLargest = 1'000'000'000'000;

/// The value of a member that is a whole number from 0 and far from its type's last one.
std::optional<std::uint64_t> ReadMember(const Json& object, const std::string& name) {
  const auto member = object.find(name);
  if (member == object.end() || !member->is_number_unsigned()) return std::nullopt;
  const auto value = member->get<std::uint64_t>();
  return value <= kLargest ? std::optional(value) : std::nullopt;
}

}  // namespace

Seconds Generations::MakeGeneration(Seconds now) { return latest_ = std::max(now, latest_ + 1); }

void Generations::Read(const std::string& text, Seconds now) {
  const Json json = ReadJson(text);
  if (!json.is_object()) return;
  const auto highest = ReadMember(json, kHighest);
  const auto services = json.find(kServices);
  if (!highest || services == json.end() || !services->is_object()) return;
  for (const auto& [id, generation] : services->items()) {
    latest_ = std::max(latest_, Seconds(ReadMember(*services, id).value_or(0)));
  }
  for (auto& [id, generation] : present_) {
    if (generation > 0) continue;
    if (const auto before = ReadMember(*services, std::to_string(id))) {
      generation = Seconds(*before);
    } else if (id <= *highest) {
      generation = MakeGeneration(now);
    }
  }
  highest_ = std::max(highest_, static_cast<std::uint32_t>(*highest));
}

void Generations::Update(const Services& services, Seconds now) {
  std::map<std::uint32_t, Seconds> present;
  for (const auto& [id, service] : services) {
    const auto known = present_.find(id);
    if (known != present_.end()) {
      present[id] = known->second;
    } else {
      const bool isUsedAgain = isKnown_ && id <= highest_;
      present[id] = isUsedAgain ? MakeGeneration(now) : 0;
    }
  }
  present_ = std::move(present);
  if (!present_.empty()) highest_ = std::max(highest_, present_.rbegin()->first);
  isKnown_ = true;
}

Seconds Generations::Get(std::uint32_t id) const {
  const auto found = present_.find(id);
  return found == present_.end() ? 0 : found->second;
}

std::string Generations::Describe() const {
  Json services = Json::object();
  for (const auto& [id, generation] : present_) services[std::to_string(id)] = generation;
  return ToText({{kHighest, highest_}, {kServices, services}});
}

Discovery::Discovery(std::string prefix, std::string site, std::string room, std::string version)
    : prefix_(std::move(prefix)),
      site_(std::move(site)),
      room_(std::move(room)),
      version_(std::move(version)),
      topics_(site_, room_) {}

// The site and the room are two levels, so no two rooms share a topic: a name may have any
// separator in it.
std::string Discovery::GetTopic() const {
  return prefix_ + "/device/gs_" + site_ + "/" + room_ + "/config";
}

void Discovery::Read(const std::string& document) {
  const Json json = ReadJson(document);
  if (!json.is_object() || !json.contains(kComponents)) return;
  for (const auto& [key, component] : json[kComponents].items()) {
    if (component.is_object() && component.contains(kPlatform) &&
        component[kPlatform].is_string()) {
      published_.emplace(key, component[kPlatform].get<std::string>());
    }
  }
}

Json Discovery::DescribeRoom() const {
  const std::string summary = topics_.GetSummary();
  const std::string id = topics_.GetRoot();
  Json components;
  components["open"] = {{kPlatform, "sensor"},
                        {"unique_id", id + "open"},
                        {"name", "Open requests"},
                        {"state_topic", summary},
                        {"value_template", "{{ value_json.open }}"},
                        {"state_class", "measurement"}};
  components["oldest"] = {{kPlatform, "sensor"},
                          {"unique_id", id + "oldest"},
                          {"name", "Oldest request"},
                          {"state_topic", summary},
                          {"value_template", "{{ value_json.oldest }}"},
                          {"device_class", "timestamp"}};
  components["problem"] = {
      {kPlatform, "binary_sensor"},
      {"unique_id", id + "problem"},
      {"name", "Requests cannot be saved"},
      {"state_topic", summary},
      {"value_template", "{{ 'ON' if value_json.state == 'failed' else 'OFF' }}"},
      {"device_class", "problem"},
      {"entity_category", "diagnostic"}};
  return components;
}

std::vector<std::string> Discovery::Describe(const Services& services,
                                             const Generations& generations) {
  Json components = DescribeRoom();
  for (const auto& [number, service] : services) {
    const Seconds generation = generations.Get(number);
    std::string key = "service_" + std::to_string(number);
    std::string id = topics_.GetService(number);
    if (generation > 0) {
      key += "_" + std::to_string(generation);
      id += "/" + std::to_string(generation);
    }
    const std::string name =
        service.name.empty() ? "Service " + std::to_string(number) : service.name;
    components[key] = {{kPlatform, "switch"},
                       {"unique_id", id},
                       {"name", name},
                       {"state_topic", topics_.GetService(number)},
                       {"value_template", "{{ 'ON' if value_json.open else 'OFF' }}"},
                       {"command_topic", topics_.GetSet(number)}};
    components[key + "_event"] = {{kPlatform, "event"},
                                  {"unique_id", id + "/event"},
                                  {"name", name},
                                  {"state_topic", topics_.GetEvent(number)},
                                  {"event_types", {"requested", "canceled", "lapsed"}}};
  }
  Platforms present;
  for (const auto& [key, component] : components.items()) present[key] = component[kPlatform];

  Json document = {{"device",
                    {{"identifiers", Json::array({topics_.GetRoot()})},
                     {"name", "Guest services " + room_},
                     {"model", "Guest Services"},
                     {"sw_version", version_}}},
                   {"origin", {{"name", "guest-services-bridge"}, {"sw_version", version_}}},
                   {"availability_topic", topics_.GetStatus()},
                   {"qos", 1},
                   {kComponents, components}};
  const std::string final = ToText(document);

  // A component that has nothing but its platform is removed.
  for (const auto& [key, platform] : published_) {
    if (present.count(key) == 0) document[kComponents][key] = {{kPlatform, platform}};
  }
  const std::string removing = ToText(document);
  published_ = std::move(present);
  return removing == final ? std::vector{final} : std::vector{removing, final};
}

}  // namespace bridge

#include "bridge/core/Topics.h"

#include <charconv>
#include <cstddef>
#include <system_error>

namespace bridge {
namespace {

constexpr std::size_t kLongestName = 64;
constexpr std::string_view kReply = "reply";

bool StartsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

}  // namespace

std::string CheckSite(const std::string& name) {
  const bool isGood = !name.empty() && name.size() <= kLongestName &&
                      name.find_first_not_of(
                          "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                          "0123456789_-") == std::string::npos;
  return isGood ? "" : "\"" + name + "\" is not 1 to 64 of A-Z a-z 0-9 _ -";
}

std::string CheckRoom(const std::string& name) {
  if (name == kReply) return "a room cannot be named reply, which the topics of answers begin with";
  return CheckSite(name);
}

Topics::Topics(const std::string& site, const std::string& room)
    : root_("gs/" + site + "/" + room + "/"),
      replyRoot_("gs/" + site + "/" + std::string(kReply) + "/") {}

std::optional<std::uint32_t> Topics::ReadServiceTopic(std::string_view topic,
                                                      std::string_view end) const {
  const std::string start = root_ + "service/";
  if (!StartsWith(topic, start) || topic.size() < start.size() + end.size()) return std::nullopt;
  const std::string_view number =
      topic.substr(start.size(), topic.size() - start.size() - end.size());
  std::uint32_t id = 0;
  const auto [rest, error] = std::from_chars(number.data(), number.data() + number.size(), id);
  const bool isNumber = error == std::errc() && rest == number.data() + number.size();
  // A number in another form would name a service by a topic that is not its own.
  if (!isNumber || topic != GetService(id) + std::string(end)) return std::nullopt;
  return id;
}

}  // namespace bridge

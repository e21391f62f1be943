#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace bridge {

/// Why `name` cannot be a site or a room; "" if it can. It has 1 to 64 of `A-Z a-z 0-9 _ -`. A room
/// cannot be `reply`, since the topics of answers begin so.
std::string CheckSite(const std::string& name);
std::string CheckRoom(const std::string& name);

/// The topics of one room.
class Topics {
 public:
  /// Names that `CheckSite` and `CheckRoom` accept.
  Topics(const std::string& site, const std::string& room);

  /// What all topics of the room begin with, with a slash at the end.
  const std::string& GetRoot() const { return root_; }
  /// What the topics of answers begin with, with a slash at the end.
  const std::string& GetReplyRoot() const { return replyRoot_; }
  std::string GetStatus() const { return root_ + "status"; }
  std::string GetSummary() const { return root_ + "summary"; }
  std::string GetGenerations() const { return root_ + "generations"; }
  std::string GetCommand() const { return root_ + "command"; }
  /// A message that the bridge sends to itself.
  std::string GetSync() const { return root_ + "sync"; }
  std::string GetService(std::uint32_t id) const { return root_ + "service/" + std::to_string(id); }
  std::string GetEvent(std::uint32_t id) const { return GetService(id) + "/event"; }
  std::string GetSet(std::uint32_t id) const { return GetService(id) + "/set"; }

  /// The id in a topic `service/ID` of this room with that end, such as "/set"; nothing for another
  /// topic, also where the number has leading zeros or more than 32 bits.
  std::optional<std::uint32_t> ReadServiceTopic(std::string_view topic, std::string_view end) const;

 private:
  std::string root_;
  std::string replyRoot_;
};

}  // namespace bridge

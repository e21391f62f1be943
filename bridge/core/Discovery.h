#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "bridge/core/Payloads.h"
#include "bridge/core/Topics.h"

namespace bridge {

/// Which service an id stood for. The agent gives the largest id out again when it was freed, and
/// then another service must not look like the one before. So a service whose id was in use before
/// has a generation: the second in which it came, or a later one.
class Generations {
 public:
  /// Adds what `Describe` wrote in another run; a text that is none is ignored. What this run saw
  /// counts more.
  void Read(const std::string& text, Seconds now);
  /// Takes the ids of the list, at `now`. A generation stays as long as its service does.
  void Update(const Services& services, Seconds now);
  /// The service was removed, whether or not another one has its id by now.
  void Remove(std::uint32_t id) { present_.erase(id); }
  /// 0 for the first service of that id.
  Seconds Get(std::uint32_t id) const;
  std::string Describe() const;

 private:
  Seconds MakeGeneration(Seconds now);

  bool isKnown_ = false;                      // whether there was a list
  std::uint32_t highest_ = 0;                 // id that was ever in use
  Seconds latest_ = 0;                        // generation
  std::map<std::uint32_t, Seconds> present_;  // services; 0 for the first of that id
};

/// What Home Assistant is told of a room: one device, with its entities. See its documentation of
/// MQTT discovery, "device discovery payload".
class Discovery {
 public:
  /// `prefix` is that of Home Assistant's topics, without a slash at the end.
  Discovery(std::string prefix, std::string site, std::string room, std::string version);

  std::string GetTopic() const;
  std::string GetBirthTopic() const { return prefix_ + "/status"; }

  /// Learns the components of a document that was published in another run.
  void Read(const std::string& document);
  /// The documents to publish, in this order: one, or two if components are to be removed, as Home
  /// Assistant asks for.
  std::vector<std::string> Describe(const Services& services, const Generations& generations);

 private:
  using Platforms = std::map<std::string, std::string>;  // of components, by their keys

  Json DescribeRoom() const;

  std::string prefix_, site_, room_, version_;
  Topics topics_;
  Platforms published_;
};

}  // namespace bridge

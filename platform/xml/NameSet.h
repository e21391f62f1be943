#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qx {

/// A set of names, a bit for each: it tells for certain that a name is not in it, but not that a
/// name is.
class NameSet {
 public:
  void Add(std::string_view name) { bits_ |= BitOf(name); }
  bool MayContain(std::string_view name) const { return (bits_ & BitOf(name)) != 0; }

 private:
  static std::uint64_t BitOf(std::string_view name) {
    std::size_t hash = name.size();
    if (!name.empty()) {
      hash = (hash * 31 + static_cast<unsigned char>(name.front())) * 7 +
             static_cast<unsigned char>(name.back());
    }
    return std::uint64_t{1} << (hash % 64);
  }

  std::uint64_t bits_ = 0;
};

}  // namespace qx

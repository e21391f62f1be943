#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "bench/Property.h"

namespace bench {

/// Another library that writes and parses the same texts.
struct Peer {
  const char* name;
  /// Builds the document of the reply and prints it.
  std::string (*write)(const std::vector<Record>& records);
  /// Parses a text to a document and releases the document. Returns the number of the root's
  /// children.
  std::size_t (*parse)(const std::string& text);
};

extern const std::vector<Peer> kPeers;

}  // namespace bench

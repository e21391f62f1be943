#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

/// A service in plain fields; the peers write these.
struct Record {
  unsigned int id;
  std::string name;         // 13 characters
  std::string description;  // 40 characters; in every fourth there is one to escape
  int icon;
  int delay;  // minutes; every fifth never lapses
  std::string operarequest;
  int state;  // every third is requested
  std::string requestTime;
};

/// The services of a property of that size.
std::vector<Record> MakeRecords(std::size_t count);

/// The reply to "GET_ALL_SERVICES", written by hand: the lower bound for every library.
std::string AppendReply(const std::vector<Record>& records);

/// The reply of a property of that size, and the state that its agent persists. Made at the first
/// call and kept.
const std::string& GetReply(std::size_t count);
const std::string& GetState(std::size_t count);

}  // namespace bench

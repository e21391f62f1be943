#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "platform/IHost.h"
#include "platform/Logger.h"

namespace host {

// The calls of a plug-in to the host, one type each. The references are valid during the listener's
// call.
struct InterfaceLookUp {
  std::string_view id;
};
struct InterfaceRegistered {
  std::string_view id;
};
struct InterfaceWithdrawn {
  std::string_view id;
};
struct Listening {
  unsigned int event;
};
struct ListeningEnded {
  unsigned int event;
};
struct BindingAdded {
  unsigned int id;
  BindingType type;
  bool first;
  const std::string& name;
  const std::string& bindingClass;
  bool second;
  bool third;
  const char* text;
};
struct BindingRemoved {
  unsigned int id;
};
struct TimerArmed {
  unsigned int period;
  unsigned int unit;
  bool once;
};
struct TimerKilled {
  bool clear;
};
struct Push {
  const qx::XmlNode& element;
};
struct Bound {
  unsigned int bindingId;
  const IBindMessage& message;
};
struct Fire {
  unsigned int event;
};
struct Forward {
  const std::string& source;
  const std::string& requestCode;
};
struct ProgrammingOwned {
  unsigned int deviceId;
  ID::Item item;
  CI_OWNER_ID_TYPE ownerType;
};
struct ProgrammingItem {
  unsigned int deviceId;
  ID::Item item;
};
struct OwnerRemoved {
  unsigned int id;
  CI_OWNER_ID_TYPE ownerType;
};
struct Log {
  const qx::LogRecord& record;
};
struct Assertion {
  std::string_view file;
  int line;
  const qx::StackTrace& trace;
};

using HostCall =
    std::variant<InterfaceLookUp, InterfaceRegistered, InterfaceWithdrawn, Listening,
                 ListeningEnded, BindingAdded, BindingRemoved, TimerArmed, TimerKilled, Push, Bound,
                 Fire, Forward, ProgrammingOwned, ProgrammingItem, OwnerRemoved, Log, Assertion>;

/// Returns the place and the call stack of a failed assertion: "assertion failed at FILE:LINE", and
/// a line for each frame with the library, the offset in it and the address, the innermost frame
/// first.
std::string DescribeAssertion(const Assertion& assertion);

/// Receives every call before the host carries it out. An exception makes the call fail. It may
/// make re-entrant calls of the host.
class IHostListener {
 public:
  virtual ~IHostListener() = default;

  virtual void OnHostCall(const HostCall& call) = 0;
};

}  // namespace host

#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "platform/IHost.h"

namespace host {

// What a plug-in asks of the host, one type a call. The references are valid while the listener
// hears of the call.
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
};

using HostCall =
    std::variant<InterfaceLookUp, InterfaceRegistered, InterfaceWithdrawn, Listening,
                 ListeningEnded, BindingAdded, BindingRemoved, TimerArmed, TimerKilled, Push, Bound,
                 Fire, Forward, ProgrammingOwned, ProgrammingItem, OwnerRemoved, Log, Assertion>;

/// Hears of every call before the host carries it out. What it throws makes the call fail; it may
/// call the host from inside.
class IHostListener {
 public:
  virtual ~IHostListener() = default;

  virtual void OnHostCall(const HostCall& call) = 0;
};

}  // namespace host

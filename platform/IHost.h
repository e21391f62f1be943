#pragma once

// What the layer asks of the host that stands behind it. Plug-ins do not include this header.

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>

#include "platform/Messages.h"
#include "platform/SystemEvent.h"
#include "platform/Types.h"

class IDriver;

namespace qx {

class StackTrace;
class XmlNode;

struct LogRecord {
  int level;              // log4cplus's number
  std::string levelName;  // "INFO"
  std::string text;
  std::string file;
  int line;
  std::string function;
};

/// The services of the host that the base driver class hands on to. The host registers itself
/// under `kInterfaceId` with the instance manager that it constructs its drivers with. Every
/// operation is a [call out]; what it throws passes through the driver to whoever called it.
class PLATFORM_API IHost {
 public:
  static constexpr const char* kInterfaceId = "6B1D6A52-3C0E-4C55-9A0B-6F5E0F0F7A11";
  /// The unit of `AddTimer` that means seconds; the only one in use.
  static constexpr unsigned int kTimerUnitSeconds = 2;

  virtual ~IHost();

  /// Has `driver.OnTimerExpired` called once, `period` units from now. Returns the timer's id,
  /// never 0. A host may refuse a unit other than seconds, and a timer with `once` false, which
  /// would expire every `period` units.
  virtual ID::Timer AddTimer(IDriver& driver, unsigned int period, unsigned int unit,
                             bool once) = 0;
  /// Cancels a timer; harmless if it does not exist. With `clear`, the driver's id of it becomes 0
  /// afterwards.
  virtual void KillTimer(ID::Timer timer, bool clear) = 0;

  virtual void AddDynamicBinding(unsigned int id, BindingType type, bool first,
                                 const std::string& name, const std::string& bindingClass,
                                 bool second, bool third, const char* text) = 0;
  /// Harmless if the binding does not exist.
  virtual void RemoveDynamicBinding(unsigned int id) = 0;
  /// Sends `message` to the devices bound to the binding. `answer` may be null.
  virtual void SendBoundCall(unsigned int bindingId, const IBindMessage& message,
                             ICmdReturn* answer) = 0;

  /// Delivers `element` to the user interfaces.
  virtual void SendDataToUI(const boost::shared_ptr<XmlNode>& element) = 0;
  /// Fires a programming event.
  virtual void FireEvent(unsigned int event) = 0;
  /// Removes the host's entries that belong to that owner.
  virtual void EmRemoveByOwner(unsigned int id, CI_OWNER_ID_TYPE ownerType) = 0;

  /// Has `listener` called for that event until `UnregisterListener` returns.
  virtual void RegisterListener(ISystemEventCallback& listener, SystemEventData::Code code,
                                unsigned int argument) = 0;
  virtual void UnregisterListener(ISystemEventCallback& listener, SystemEventData::Code code,
                                  unsigned int argument) = 0;

  /// The id of the device that the driver is. Does not fail.
  virtual unsigned int GetDeviceId() const = 0;

  /// Seconds since 1970-01-01 00:00:00 UTC. Does not fail.
  virtual std::int64_t CurrentTime() const = 0;
  virtual void OnLogRecord(const LogRecord& record) = 0;
  virtual void OnAssertion(const char* file, int line, const StackTrace& trace) = 0;
};

/// The host that the time, the log and the assertions of this process go to; null when none is
/// attached. [any time]
PLATFORM_API IHost* GetCurrentHost();
/// Attaches `host`, which must stay alive until another or null is attached in its place.
PLATFORM_API void SetCurrentHost(IHost* host);

}  // namespace qx

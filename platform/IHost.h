#pragma once

// What every host must implement. Plug-ins do not include this header.

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

/// A record that a plug-in or the host wrote to log4cplus's root logger.
struct LogRecord {
  int level;              // log4cplus's number
  std::string levelName;  // "INFO"
  std::string text;
  std::string file;
  int line;
  std::string function;
};

/// What the base driver class asks of the host. The host registers itself under `kInterfaceId` with
/// the instance manager that it gives to its drivers, and outlives them. Every operation is a
/// [call out]; an exception passes through the driver to the caller of the driver. Arguments belong
/// to the driver and are valid during the call, unless a comment says otherwise.
class PLATFORM_API IHost {
 public:
  static constexpr const char* kInterfaceId = "6B1D6A52-3C0E-4C55-9A0B-6F5E0F0F7A11";
  /// The unit of `AddTimer` that means seconds; the only one in use.
  static constexpr unsigned int kTimerUnitSeconds = 2;

  virtual ~IHost();

  /// Arms a timer that calls `driver.OnTimerExpired` once, `period` units from now. Returns the
  /// timer's id, never 0. A host may refuse a unit other than seconds, and a timer with `once`
  /// false, which would expire every `period` units.
  virtual ID::Timer AddTimer(IDriver& driver, unsigned int period, unsigned int unit,
                             bool once) = 0;
  /// Cancels a timer; harmless if it does not exist. With `clear`, the driver's id of it becomes 0
  /// afterwards.
  virtual void KillTimer(ID::Timer timer, bool clear) = 0;

  /// Creates a binding, which `SendBoundCall` can name from then on, until `RemoveDynamicBinding`.
  /// A driver adds each `id` once. `text` may be null. The host defines what `type`, the texts and
  /// the flags mean.
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

  /// Calls `listener`, which belongs to the driver, for each event with that code until
  /// `UnregisterListener` returns.
  virtual void RegisterListener(ISystemEventCallback& listener, SystemEventData::Code code,
                                unsigned int argument) = 0;
  /// Takes the arguments of the registration. Harmless if there is none.
  virtual void UnregisterListener(ISystemEventCallback& listener, SystemEventData::Code code,
                                  unsigned int argument) = 0;

  /// The id of the device that the driver is. Does not fail.
  virtual unsigned int GetDeviceId() const = 0;

  /// Seconds since 1970-01-01 00:00:00 UTC. Does not fail.
  virtual std::int64_t CurrentTime() const = 0;
  /// Receives every record of the root logger whose level is enabled, also those that the host
  /// writes itself, except by `qx::WriteHostError`. It is called inside the call that writes the
  /// record. `record` is valid during the call.
  virtual void OnLogRecord(const LogRecord& record) = 0;
  /// Receives a failed assertion; the driver goes on after the call. `file` is the name that the
  /// driver gives to its source, and need not be a path; `line` counts from 1.
  virtual void OnAssertion(const char* file, int line, const StackTrace& trace) = 0;
};

/// Returns the host that gives the time and receives the log and the assertions of this process;
/// null when none is attached. [any time]
PLATFORM_API IHost* GetCurrentHost();
/// Attaches `host`, which must stay alive until another host or null is attached. [any time]
PLATFORM_API void SetCurrentHost(IHost* host);

}  // namespace qx

#pragma once

#include <boost/shared_ptr.hpp>
#include <ctime>
#include <string>
#include <vector>

#include "platform/Dispatchers.h"
#include "platform/Interfaces.h"
#include "platform/Messages.h"
#include "platform/SystemEvent.h"
#include "platform/Types.h"
#include "platform/xml/XmlNode.h"

namespace qx {
class IHost;
}

/// The interface by which the host drives a driver. The host owns the driver and deletes it through
/// this interface. Every operation, the destructor included, is a [host call]; exceptions of the
/// driver reach the host.
class PLATFORM_API IDriver {
 public:
  virtual ~IDriver();

  /// Ends the start-up. The host calls it once, after `Initialize`.
  virtual void LateInitialize() = 0;
  /// The state to persist, as a new element that the caller may keep; null if the driver has none.
  virtual boost::shared_ptr<qx::XmlNode> GetPersistXml() = 0;
  /// Hands over an ordinary command. `message` and `answer` belong to the host and are valid during
  /// the call; `answer` may be null. A command without an answer leaves `answer` as it is. The host
  /// defines what `source` means. Throws `qx::UnknownCommand` when no handler is registered for the
  /// message's name; what the handler throws passes through.
  virtual void ExecuteCommand(const ICmdMessage& message, ICmdReturn* answer,
                              unsigned int source) = 0;
  /// Hands over a user-interface request and returns its answer, an element that the caller may
  /// keep; null if there is none. `message` belongs to the host and is valid during the call.
  /// Throws as `ExecuteCommand` does.
  virtual boost::shared_ptr<qx::XmlNode> UIRequest(const ICmdMessage& message) = 0;
  /// The same, with the channel that the request came in on. `response` belongs to the host and is
  /// valid during the call.
  virtual boost::shared_ptr<qx::XmlNode> UIRequest(const ICmdMessage& message,
                                                   qx::response::IResponse& response) = 0;
  /// Tells that a timer of the driver expired. `timer` is its id, which the host may give to
  /// another timer from now on. `now` is the current time in seconds since 1970-01-01 00:00:00 UTC;
  /// where time_t has 32 bits, only its low 32 bits.
  virtual void OnTimerExpired(ID::Timer timer, time_t now) = 0;
  /// Starts the driver. It is the first call after the factory's, and the host makes it once. `id`
  /// is the id of the device that the driver is. `project` belongs to the host and may be null.
  /// `state` is the element that `GetPersistXml` gave last, or null; the driver may keep it.
  /// Returns 0. When it throws, the host may go on with the driver or destroy it.
  virtual int Initialize(unsigned int id, boost::shared_ptr<qx::XmlNode>& project,
                         boost::shared_ptr<qx::XmlNode> state) = 0;
};

/// The factory, and the two functions that a plug-in exports: `GetAgentName` appends the agent's
/// name, `GetCreationFunc` returns the factory. The factory returns a new agent, which the caller
/// owns. [host call]
extern "C" {
using CreationFunc = IDriver* (*)(IInstanceManager&);
using GetAgentNameFunc = void (*)(std::vector<std::string>& names);
using GetCreationFuncFunc = CreationFunc (*)();
}

/// The base class of every driver. It keeps the dispatchers; every other operation that a driver
/// calls goes on to the `qx::IHost` that the instance manager has. Its start, its state and its
/// reaction to timers are empty: a driver overrides what it needs.
class PLATFORM_API QxBaseDriver : public IDriver {
 public:
  ~QxBaseDriver() override;
  QxBaseDriver(const QxBaseDriver&) = delete;
  QxBaseDriver& operator=(const QxBaseDriver&) = delete;

  void LateInitialize() override;
  boost::shared_ptr<qx::XmlNode> GetPersistXml() override;
  void ExecuteCommand(const ICmdMessage& message, ICmdReturn* answer, unsigned int source) override;
  boost::shared_ptr<qx::XmlNode> UIRequest(const ICmdMessage& message) override;
  /// Calls the same handler and does not use `response`.
  boost::shared_ptr<qx::XmlNode> UIRequest(const ICmdMessage& message,
                                           qx::response::IResponse& response) override;
  void OnTimerExpired(ID::Timer timer, time_t now) override;
  int Initialize(unsigned int id, boost::shared_ptr<qx::XmlNode>& project,
                 boost::shared_ptr<qx::XmlNode> state) override;

  // As given to the constructor.
  QxDriverType GetDriverType() const;
  DriverMultiplicity GetMultiplicity() const;

 protected:
  /// `instanceManager` must outlive the driver. Throws `std::runtime_error` when no host is
  /// registered with it.
  QxBaseDriver(IInstanceManager& instanceManager, QxDriverType type,
               DriverMultiplicity multiplicity);

  // Each of these is a [call out] to the operation of the same name in `qx::IHost`, which says what
  // it does; what the host throws passes through. `KillTimer` with `clear` sets `timer` to 0 when
  // the host has returned.
  ID::Timer AddTimer(unsigned int period, unsigned int unit, bool once);
  void KillTimer(ID::Timer& timer, bool clear);
  void FireEvent(unsigned int event);
  void SendDataToUI(const boost::shared_ptr<qx::XmlNode>& element) const;
  void SendBoundCall(unsigned int bindingId, const IBindMessage& message, ICmdReturn* answer) const;
  void AddDynamicBinding(unsigned int id, BindingType type, bool first, const std::string& name,
                         const std::string& bindingClass, bool second, bool third,
                         const char* text);
  void RemoveDynamicBinding(unsigned int id);
  void RegisterListener(ISystemEventCallback& listener, qx::SystemEventData::Code code,
                        unsigned int argument);
  void UnregisterListener(ISystemEventCallback& listener, qx::SystemEventData::Code code,
                          unsigned int argument);
  void EmRemoveByOwner(unsigned int id, CI_OWNER_ID_TYPE ownerType);
  unsigned int GetDeviceId() const;

  /// A new, empty message, of which the driver keeps no copy. Throws `std::bad_alloc` only.
  boost::shared_ptr<IBindMessage> CreateBindMessage() const;
  /// As given to the constructor.
  IInstanceManager& GetInstanceManager() const;
  /// Stores the answer of a command; does nothing when `answer` is null. [call out]
  void setReturnValue(ICmdReturn* answer, const std::string& value) const;

  // The tables in which the driver registers its handlers; they live as long as the driver.
  CmdDispatcher& GetCmdDispatcher();
  UICmdDispatcher& GetUICmdDispatcher();

 private:
  IInstanceManager& instanceManager_;
  qx::IHost& host_;
  QxDriverType type_;
  DriverMultiplicity multiplicity_;
  CmdDispatcher cmdDispatcher_;
  UICmdDispatcher uiCmdDispatcher_;
};

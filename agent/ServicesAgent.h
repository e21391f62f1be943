#pragma once

#include <boost/shared_ptr.hpp>
#include <ctime>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "services/GuestService.h"
#include "services/GuestServiceBase.h"
#include "services/ShortcutService.h"

/// The identity under which other components can look the agent up; it has no operations.
class IServicesAgent {};

/// The agent: the list of a property's services, the commands that change and query it, and the
/// guests' requests. What a record's reader, a number's conversion or the host throws reaches the
/// host, and no entry is half changed then; docs/guarantees.md says what holds call by call.
/// [host call]
class ServicesAgent : public QxBaseDriver, public IServicesAgent, public ISystemEventCallback {
 public:
  /// Registers the agent's identity, commands and event listener. Throws what a registration
  /// throws; nothing stays registered then.
  explicit ServicesAgent(IInstanceManager& instanceManager);
  ~ServicesAgent() override;
  ServicesAgent(const ServicesAgent&) = delete;
  ServicesAgent& operator=(const ServicesAgent&) = delete;

  // QxBaseDriver
  void LateInitialize() override;
  boost::shared_ptr<qx::XmlNode> GetPersistXml() override;
  /// Ends a request whose delay has run out, and arms the timer anew.
  void OnTimerExpired(ID::Timer, time_t) override;
  /// Restores the list from `state`; an entry that cannot be read throws, and those before it stay.
  int Initialize(unsigned int id, boost::shared_ptr<qx::XmlNode>& project,
                 boost::shared_ptr<qx::XmlNode> state) override;

  // ISystemEventCallback
  void OnSystemEvent(const qx::response::IResponse&, const qx::SystemEventData* data) override;

 private:
  static constexpr unsigned int kBindingId = 100;
  /// A service's request fires the programming event with its id; the cancellation fires the event
  /// this much further on.
  static constexpr unsigned int kCancelEventOffset = 10000;

  // Start
  void RegisterCommands();
  void ArmTimer();

  // Queries
  boost::shared_ptr<qx::XmlNode> OnUICmdGetServiceTypes(const ICmdMessage&);
  boost::shared_ptr<qx::XmlNode> OnUICmdGetAllServices(const ICmdMessage&);
  boost::shared_ptr<qx::XmlNode> OnUICmdGetService(const ICmdMessage& message);
  void OnCmdGetServiceTypes(const ICmdMessage&, ICmdReturn* reply);
  void OnCmdGetAllServices(const ICmdMessage&, ICmdReturn* reply);
  void OnCmdGetService(const ICmdMessage& message, ICmdReturn* reply);
  boost::shared_ptr<qx::XmlNode> BuildServiceXml(const ICmdMessage& message,
                                                 bool dateTimeAsText) const;

  // Requests
  void OnCmdSendRequestEvent(const ICmdMessage& message);
  void OnCmdSendCancelEvent(const ICmdMessage& message);
  void ForwardRequest(const std::string& requestCode);

  // Changes of the list
  void OnCmdAddService(const ICmdMessage& message);
  void OnCmdEditService(const ICmdMessage& message);
  void OnCmdRemoveService(const ICmdMessage& message);
  void OnCmdReorderServices(const ICmdMessage& message);
  void EditShortcut(const std::string& text);
  void RemoveService(unsigned int id);
  void RemoveProgramming(ID::Item item);

  // The registry. Look-ups walk the list and take the first match.
  int FindServiceIndex(unsigned int id) const;
  /// Finds a service that was at `index` before the host was called; it may have changed the list.
  int FindServiceIndexAgain(unsigned int id, int index) const;
  GuestServiceBase::Ptr GetService(unsigned int id) const;
  /// Empty if a shortcut is there, or for -1.
  boost::shared_ptr<GuestService> GetGuestServiceAt(int index) const;
  void SetService(const GuestServiceBase::Ptr& service);
  void AppendService(const GuestServiceBase::Ptr& service);
  unsigned int NextServiceId() const;
  boost::shared_ptr<ShortcutService> FindShortcutByTarget(ID::Item item) const;
  boost::shared_ptr<qx::XmlNode> BuildServicesXml(bool dateTimeAsText) const;
  static GuestServiceBase::Ptr CreateServiceFromXml(const boost::shared_ptr<qx::XmlNode>& element);

  // Notifications
  void SendIdNotice(const char* name, unsigned int id) const;
  void SendEntryNotice(const char* name, const GuestServiceBase& service) const;
  void SendBoundNotice(const char* name, unsigned int id) const;

  std::vector<GuestServiceBase::Ptr> services_;  // in display order
  ID::Timer timer_ = 0;                          // 0: none is armed
  unsigned int largestReservedId_ = 0;           // of the commands at work; 0: none is
};

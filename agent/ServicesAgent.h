#pragma once

#include <boost/shared_ptr.hpp>
#include <ctime>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "services/GuestService.h"
#include "services/GuestServiceBase.h"
#include "services/ShortcutService.h"

/// The interface that the agent registers with the instance manager. It has no operations.
class IServicesAgent {};

/// The agent. It keeps the list of a property's services, carries out the commands that query and
/// change the list, and ends requests after their delay.
///
/// Exceptions of the records, of number conversions and of calls out pass through to the host. None
/// leaves an entry half changed. The host may make re-entrant calls from inside any call out, but
/// must not destroy the agent there. docs/guarantees.md has the details for each call. [host call]
class ServicesAgent : public QxBaseDriver, public IServicesAgent, public ISystemEventCallback {
 public:
  /// Registers the agent's interface, commands and event listener. If a registration throws, the
  /// exception passes through and nothing stays registered.
  explicit ServicesAgent(IInstanceManager& instanceManager);
  ~ServicesAgent() override;
  ServicesAgent(const ServicesAgent&) = delete;
  ServicesAgent& operator=(const ServicesAgent&) = delete;

  // QxBaseDriver
  void LateInitialize() override;
  boost::shared_ptr<qx::XmlNode> GetPersistXml() override;
  /// The periodic sweep: ends each request whose delay is over. Re-arms the timer, also when the
  /// sweep throws.
  void OnTimerExpired(ID::Timer, time_t) override;
  /// Restores the list from `state`. An entry that cannot be read throws; the entries before it
  /// stay in the list.
  int Initialize(unsigned int id, boost::shared_ptr<qx::XmlNode>& project,
                 boost::shared_ptr<qx::XmlNode> state) override;

  // ISystemEventCallback
  void OnSystemEvent(const qx::response::IResponse&, const qx::SystemEventData* data) override;

 private:
  static constexpr unsigned int kBindingId = 100;
  /// A request fires the programming event with the service's id, a cancellation the event with the
  /// id plus this offset.
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

  // The list. A look-up is a linear search for the first match.
  int FindServiceIndex(unsigned int id) const;
  /// Repeats a look-up after a call out, in which a re-entrant command may have changed the list.
  /// `index` is the previous result.
  int FindServiceIndexAgain(unsigned int id, int index) const;
  GuestServiceBase::Ptr GetService(unsigned int id) const;
  /// Returns null for a shortcut, and for an `index` of -1.
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
  ID::Timer timer_ = 0;                          // 0: no timer is armed
  unsigned int largestReservedId_ = 0;           // by running commands; 0: none
};

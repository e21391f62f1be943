#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "host/engine/Clock.h"
#include "host/engine/HostCall.h"
#include "host/engine/PluginLibrary.h"
#include "host/engine/TimerQueue.h"
#include "platform/IHost.h"
#include "platform/Interfaces.h"
#include "platform/QxBaseDriver.h"

namespace host {

/// A host with one agent: the host side of the platform layer. It runs on the clock that it is
/// given and reports every call of the agent to its listener. While it exists it is the current
/// host of the process: it gives the time and receives log records and assertions. Exceptions of
/// the agent pass through.
class Host : private IInstanceManager,
             private qx::IHost,
             private IProgrammingManager,
             private IRequestForwarder {
 public:
  /// `clock` and `listener` must outlive the host.
  Host(Clock& clock, IHostListener& listener);
  /// Destroys the agent that is left.
  ~Host() override;
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // The agent's life, in this order. `plugin` must outlive the agent. `Create` throws
  // `PluginError`; nothing is registered then.
  void Create(const PluginLibrary& plugin);
  void Initialize(const boost::shared_ptr<qx::XmlNode>& state);
  void LateInitialize();
  /// Destroys the agent, if there is one. Returns the registrations that the agent left, as
  /// `DescribeRegistrations` does, and drops them. Throws `std::bad_alloc` only; the registrations
  /// are dropped then.
  std::string Destroy();
  bool HasAgent() const { return agent_ != nullptr; }

  // Calls to the agent. The first three throw `std::logic_error` without an agent.
  void Execute(const ICmdMessage& message, ICmdReturn* answer);
  boost::shared_ptr<qx::XmlNode> Request(const ICmdMessage& message);
  boost::shared_ptr<qx::XmlNode> Persist();
  /// Passes `data`, which may be null, to every listener, also to those of other events.
  void SendEvent(const qx::SystemEventData* data);
  /// Expires the next timer if its time has come. Returns whether there was one.
  bool DeliverExpiry();
  /// When the next timer expires, in milliseconds of the monotonic clock.
  std::optional<std::int64_t> GetNextDue() const { return timers_.GetNextDue(); }
  /// When the only timer was armed, likewise; nothing unless there is exactly one.
  std::optional<std::int64_t> GetOnlyTimerArmed() const { return timers_.GetOnlyArmed(); }

  /// Registers or withdraws the host's own interfaces. The programming manager is registered at
  /// first.
  void SetProgrammingManager(bool present);
  void SetForwarder(bool present);

  /// The registrations that agents have not withdrawn, one a word; "" when there are none.
  std::string DescribeRegistrations() const;

 private:
  // IInstanceManager
  int GetInterface(const char* id, void** instance) override;
  void RegisterInterface(const char* id, void* instance) override;
  void UnregisterInterface(const char* id) override;

  // qx::IHost
  ID::Timer AddTimer(IDriver& driver, unsigned int period, unsigned int unit, bool once) override;
  void KillTimer(ID::Timer timer, bool clear) override;
  void AddDynamicBinding(unsigned int id, BindingType type, bool first, const std::string& name,
                         const std::string& bindingClass, bool second, bool third,
                         const char* text) override;
  void RemoveDynamicBinding(unsigned int id) override;
  void SendBoundCall(unsigned int bindingId, const IBindMessage& message,
                     ICmdReturn* answer) override;
  void SendDataToUI(const boost::shared_ptr<qx::XmlNode>& element) override;
  void FireEvent(unsigned int event) override;
  void EmRemoveByOwner(unsigned int id, CI_OWNER_ID_TYPE ownerType) override;
  void RegisterListener(ISystemEventCallback& listener, qx::SystemEventData::Code code,
                        unsigned int argument) override;
  void UnregisterListener(ISystemEventCallback& listener, qx::SystemEventData::Code code,
                          unsigned int argument) override;
  unsigned int GetDeviceId() const override;
  std::int64_t CurrentTime() const override;
  void OnLogRecord(const qx::LogRecord& record) override;
  void OnAssertion(const char* file, int line, const qx::StackTrace& trace) override;

  // IProgrammingManager
  void RemoveOwnedProgramming(unsigned int deviceId, ID::Item item,
                              CI_OWNER_ID_TYPE ownerType) override;
  void RemoveItemProgramming(unsigned int deviceId, ID::Item item) override;

  // IRequestForwarder
  void ForwardRequest(const std::string& source, const std::string& requestCode) override;

  IDriver& GetAgent();
  /// Destroys the agent and drops its registrations. Allocates nothing.
  void DropAgent() noexcept;
  void SetInterface(const char* id, void* instance);

  Clock& clock_;
  IHostListener& listener_;
  qx::IHost* previousHost_;
  // `std::less<>` compares without making a string, so that a withdrawal allocates nothing.
  using Interfaces = std::map<std::string, void*, std::less<>>;

  Interfaces ownInterfaces_;
  Interfaces interfaces_;  // registered by agents
  std::set<unsigned int> bindings_;
  std::set<std::pair<ISystemEventCallback*, unsigned int>> listeners_;  // with the event's code
  TimerQueue timers_;
  std::unique_ptr<IDriver> agent_;
};

}  // namespace host

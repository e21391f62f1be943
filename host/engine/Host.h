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
/// given and tells its listener of every call that the agent makes. While it lives it is the host
/// that the process's time, log and assertions go to. What the agent throws passes through.
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

  // The agent's life, in this order. `plugin` must outlive the agent; throws `PluginError`, and
  // nothing stays registered then.
  void Create(const PluginLibrary& plugin);
  void Initialize(const boost::shared_ptr<qx::XmlNode>& state);
  void LateInitialize();
  /// Destroys the agent; harmless without one. Returns what it had registered and did not withdraw,
  /// as `DescribeRegistrations` says it, and drops that.
  std::string Destroy();
  bool HasAgent() const { return agent_ != nullptr; }

  // Calls to the agent; there must be one, or they throw `std::logic_error`.
  void Execute(const ICmdMessage& message, ICmdReturn* answer);
  boost::shared_ptr<qx::XmlNode> Request(const ICmdMessage& message);
  boost::shared_ptr<qx::XmlNode> Persist();
  /// Hands `data`, which may be null, to every listener, whatever event it registered for.
  void SendEvent(const qx::SystemEventData* data);
  /// Has the next timer that is due expire; false if none is due by now.
  bool DeliverExpiry();
  /// When the next timer is due, in milliseconds of the monotonic clock.
  std::optional<std::int64_t> GetNextDue() const { return timers_.GetNextDue(); }

  /// Whether these interfaces can be looked up; the programming manager can at first.
  void SetProgrammingManager(bool present);
  void SetForwarder(bool present);

  /// What agents have registered and not withdrawn, one a word; "" when nothing is left.
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
  void SetInterface(const char* id, void* instance);

  Clock& clock_;
  IHostListener& listener_;
  qx::IHost* previousHost_;
  // Looked up without making a text, so that a withdrawal needs no memory.
  using Interfaces = std::map<std::string, void*, std::less<>>;

  Interfaces ownInterfaces_;
  Interfaces interfaces_;  // registered by agents
  std::set<unsigned int> bindings_;
  std::set<std::pair<ISystemEventCallback*, unsigned int>> listeners_;  // with the event's code
  TimerQueue timers_;
  std::unique_ptr<IDriver> agent_;
};

}  // namespace host

#include "host/engine/Host.h"

#include <stdexcept>

namespace host {
namespace {

constexpr unsigned int kDeviceId = 1;
constexpr const char* kProgrammingManagerId = "{6F063745-6325-4F53-89D7-FFE5ED4CC1B0}";
constexpr const char* kRequestForwarderId = "DE920BA0-5A01-463e-A089-E01E8F55AA77";

}  // namespace

Host::Host(Clock& clock, IHostListener& listener)
    : clock_(clock), listener_(listener), previousHost_(qx::GetCurrentHost()) {
  SetInterface(qx::IHost::kInterfaceId, static_cast<qx::IHost*>(this));
  SetProgrammingManager(true);
  qx::SetCurrentHost(this);
}

Host::~Host() {
  DropAgent();
  qx::SetCurrentHost(previousHost_);
}

void Host::Create(const PluginLibrary& plugin) {
  if (agent_) throw std::logic_error("there is an agent already");
  try {
    agent_ = plugin.CreateAgent(*this);
  } catch (...) {
    DropAgent();  // its registrations would dangle
    throw;
  }
}

void Host::Initialize(const boost::shared_ptr<qx::XmlNode>& state) {
  boost::shared_ptr<qx::XmlNode> project;
  GetAgent().Initialize(kDeviceId, project, state);
}

void Host::LateInitialize() { GetAgent().LateInitialize(); }

std::string Host::Destroy() {
  agent_.reset();
  std::string left;
  try {
    left = DescribeRegistrations();
  } catch (...) {
    DropAgent();
    throw;
  }
  DropAgent();
  return left;
}

void Host::DropAgent() noexcept {
  agent_.reset();
  interfaces_.clear();
  bindings_.clear();
  listeners_.clear();
  timers_.Clear();
}

IDriver& Host::GetAgent() {
  if (!agent_) throw std::logic_error("there is no agent");
  return *agent_;
}

void Host::Execute(const ICmdMessage& message, ICmdReturn* answer) {
  GetAgent().ExecuteCommand(message, answer, 0);
}

boost::shared_ptr<qx::XmlNode> Host::Request(const ICmdMessage& message) {
  return GetAgent().UIRequest(message);
}

boost::shared_ptr<qx::XmlNode> Host::Persist() { return GetAgent().GetPersistXml(); }

void Host::SendEvent(const qx::SystemEventData* data) {
  std::set<ISystemEventCallback*>
      listeners;  // a listener may withdraw itself or others in its call
  for (const auto& registration : listeners_) listeners.insert(registration.first);
  for (ISystemEventCallback* const listener : listeners) {
    const auto registration = listeners_.lower_bound({listener, 0});
    const bool isRegistered = registration != listeners_.end() && registration->first == listener;
    if (isRegistered) listener->OnSystemEvent(qx::response::IResponse(), data);
  }
}

bool Host::DeliverExpiry() {
  const auto due = timers_.GetNextDue();
  if (!due || *due > clock_.Monotonic()) return false;
  const TimerQueue::Timer timer = timers_.TakeNext();
  timer.driver->OnTimerExpired(timer.id, static_cast<time_t>(CurrentTime()));
  return true;
}

void Host::SetProgrammingManager(bool present) {
  SetInterface(kProgrammingManagerId, present ? static_cast<IProgrammingManager*>(this) : nullptr);
}

void Host::SetForwarder(bool present) {
  SetInterface(kRequestForwarderId, present ? static_cast<IRequestForwarder*>(this) : nullptr);
}

void Host::SetInterface(const char* id, void* instance) {
  if (instance != nullptr) {
    ownInterfaces_[id] = instance;
  } else {
    ownInterfaces_.erase(id);
  }
}

std::string Host::DescribeRegistrations() const {
  std::string text;
  const auto add = [&](const std::string& word) { text += (text.empty() ? "" : " ") + word; };
  for (const auto& entry : interfaces_) add(entry.first);
  for (const unsigned int id : bindings_) add("binding:" + std::to_string(id));
  for (const auto& listener : listeners_) add("listener:" + std::to_string(listener.second));
  if (timers_.GetSize() != 0) add("timers:" + std::to_string(timers_.GetSize()));
  return text;
}

// IInstanceManager

int Host::GetInterface(const char* id, void** instance) {
  listener_.OnHostCall(InterfaceLookUp{id});
  for (const auto* const interfaces : {&ownInterfaces_, &interfaces_}) {
    const auto found = interfaces->find(id);
    if (found == interfaces->end()) continue;
    *instance = found->second;
    return 0;
  }
  return -1;
}

void Host::RegisterInterface(const char* id, void* instance) {
  listener_.OnHostCall(InterfaceRegistered{id});
  interfaces_[id] = instance;
}

void Host::UnregisterInterface(const char* id) {
  listener_.OnHostCall(InterfaceWithdrawn{id});
  const auto found = interfaces_.find(id);
  if (found != interfaces_.end()) interfaces_.erase(found);
}

// qx::IHost

ID::Timer Host::AddTimer(IDriver& driver, unsigned int period, unsigned int unit, bool once) {
  listener_.OnHostCall(TimerArmed{period, unit, once});
  if (unit != kTimerUnitSeconds || !once) {
    throw std::invalid_argument("a timer that is not in seconds, or does not expire once");
  }
  const std::int64_t now = clock_.Monotonic();
  return timers_.Add(driver, now, now + std::int64_t{period} * 1000);
}

void Host::KillTimer(ID::Timer timer, bool clear) {
  listener_.OnHostCall(TimerKilled{clear});
  timers_.Remove(timer);
}

void Host::AddDynamicBinding(unsigned int id, BindingType type, bool first, const std::string& name,
                             const std::string& bindingClass, bool second, bool third,
                             const char* text) {
  listener_.OnHostCall(BindingAdded{id, type, first, name, bindingClass, second, third, text});
  bindings_.insert(id);
}

void Host::RemoveDynamicBinding(unsigned int id) {
  listener_.OnHostCall(BindingRemoved{id});
  bindings_.erase(id);
}

void Host::SendBoundCall(unsigned int bindingId, const IBindMessage& message, ICmdReturn*) {
  listener_.OnHostCall(Bound{bindingId, message});
}

void Host::SendDataToUI(const boost::shared_ptr<qx::XmlNode>& element) {
  listener_.OnHostCall(Push{*element});
}

void Host::FireEvent(unsigned int event) { listener_.OnHostCall(Fire{event}); }

void Host::EmRemoveByOwner(unsigned int id, CI_OWNER_ID_TYPE ownerType) {
  listener_.OnHostCall(OwnerRemoved{id, ownerType});
}

void Host::RegisterListener(ISystemEventCallback& listener, qx::SystemEventData::Code code,
                            unsigned int) {
  listener_.OnHostCall(Listening{code});
  listeners_.emplace(&listener, code);
}

void Host::UnregisterListener(ISystemEventCallback& listener, qx::SystemEventData::Code code,
                              unsigned int) {
  listener_.OnHostCall(ListeningEnded{code});
  listeners_.erase({&listener, code});
}

unsigned int Host::GetDeviceId() const { return kDeviceId; }

std::int64_t Host::CurrentTime() const {
  const std::int64_t milliseconds = clock_.Wall();
  return milliseconds / 1000 - (milliseconds % 1000 < 0 ? 1 : 0);
}

void Host::OnLogRecord(const qx::LogRecord& record) { listener_.OnHostCall(Log{record}); }

void Host::OnAssertion(const char* file, int line, const qx::StackTrace& trace) {
  listener_.OnHostCall(Assertion{file, line, trace});
}

// IProgrammingManager

void Host::RemoveOwnedProgramming(unsigned int deviceId, ID::Item item,
                                  CI_OWNER_ID_TYPE ownerType) {
  listener_.OnHostCall(ProgrammingOwned{deviceId, item, ownerType});
}

void Host::RemoveItemProgramming(unsigned int deviceId, ID::Item item) {
  listener_.OnHostCall(ProgrammingItem{deviceId, item});
}

// IRequestForwarder

void Host::ForwardRequest(const std::string& source, const std::string& requestCode) {
  listener_.OnHostCall(Forward{source, requestCode});
}

}  // namespace host

// A plug-in with one fault; the build says which.
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace {

/// Known to nobody but this library.
class Fault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

#ifdef FAULT_FAILING_DESTRUCTION
/// Gives up on the way of its destruction, and leaves the rest of what it registered.
class Agent : public QxBaseDriver {
 public:
  explicit Agent(IInstanceManager& instanceManager)
      : QxBaseDriver(instanceManager, QxDriverType{3}, DriverMultiplicity{0}) {
    for (const unsigned int id : {7U, 8U}) {
      AddDynamicBinding(id, BindingType{1}, true, "", "", false, true, nullptr);
    }
    AddTimer(30, 2, true);
  }
  ~Agent() override {
    try {
      RemoveDynamicBinding(8);
      throw Fault("the rest cannot be withdrawn");
    } catch (const Fault&) {  // a destructor must not let it out
    }
  }
  Agent(const Agent&) = delete;
  Agent& operator=(const Agent&) = delete;
};
#endif

/// Withdraws nothing when its construction fails.
class LeavingAgent : public QxBaseDriver, public ISystemEventCallback {
 public:
  explicit LeavingAgent(IInstanceManager& instanceManager)
      : QxBaseDriver(instanceManager, QxDriverType{3}, DriverMultiplicity{0}) {
    AddTimer(30, 2, true);
    RegisterListener(*this, static_cast<qx::SystemEventData::Code>(11), 0);
    throw Fault("the agent gives up");
  }
  void OnSystemEvent(const qx::response::IResponse&, const qx::SystemEventData*) override {}
};

[[maybe_unused]] IDriver* CreateAgent([[maybe_unused]] IInstanceManager& instanceManager) {
#if defined(FAULT_LEAVING_CONSTRUCTOR)
  return new LeavingAgent(instanceManager);
#elif defined(FAULT_THROWING_CONSTRUCTOR)
  throw Fault("the agent is out of order");
#elif defined(FAULT_THROWING_A_NUMBER)
  throw 42;
#elif defined(FAULT_FAILING_DESTRUCTION)
  return new Agent(instanceManager);
#else
  return nullptr;
#endif
}

}  // namespace

extern "C" {

#ifndef FAULT_NO_NAMES
PLATFORM_API void GetAgentName(std::vector<std::string>&) {
#ifdef FAULT_THROWING_NAMES
  throw Fault("no names");
#endif
}
#endif

#ifndef FAULT_NO_FACTORY_FUNCTION
PLATFORM_API CreationFunc GetCreationFunc() {
#ifdef FAULT_NULL_FACTORY
  return nullptr;
#else
  return &CreateAgent;
#endif
}
#endif
}

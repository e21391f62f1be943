// A plug-in with one fault; the build says which.
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace {

#ifdef FAULT_NEXT_LAYER
// A host that loads the plug-in ends here.
[[maybe_unused]] const bool isLoaded = (std::abort(), true);
#endif

/// A type that only this library has.
class Fault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Withdraws nothing when its construction fails, and not all in its destruction.
class Agent : public QxBaseDriver, public ISystemEventCallback {
 public:
  explicit Agent(IInstanceManager& instanceManager)
      : QxBaseDriver(instanceManager, QxDriverType{3}, DriverMultiplicity{0}) {
    AddTimer(30, 2, true);
#ifdef FAULT_LEAVING_CONSTRUCTOR
    RegisterListener(*this, static_cast<qx::SystemEventData::Code>(11), 0);
    throw Fault("the agent gives up");
#endif
    AddDynamicBinding(7, BindingType{1}, true, "", "", false, true, nullptr);
    AddDynamicBinding(8, BindingType{1}, true, "", "", false, true, nullptr);
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

#ifdef FAULT_OTHER_STATE
  boost::shared_ptr<qx::XmlNode> GetPersistXml() override {
    return qx::CreateXmlDocument("<other/>")->GetRoot();
  }
#endif

  void OnSystemEvent(const qx::response::IResponse&, const qx::SystemEventData*) override {}
};

[[maybe_unused]] IDriver* CreateAgent([[maybe_unused]] IInstanceManager& instanceManager) {
#if defined(FAULT_THROWING_CONSTRUCTOR)
  throw Fault("the agent is out of order");
#elif defined(FAULT_THROWING_A_NUMBER)
  throw 42;
#elif defined(FAULT_NO_AGENT)
  return nullptr;
#else
  return new Agent(instanceManager);
#endif
}

}  // namespace

extern "C" {

#ifndef FAULT_NO_NAMES
PLATFORM_API void GetAgentName([[maybe_unused]] std::vector<std::string>& names) {
#ifdef FAULT_OTHER_STATE
  names.emplace_back("Guest Services");
#endif
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

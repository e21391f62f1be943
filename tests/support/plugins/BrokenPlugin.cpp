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

[[maybe_unused]] IDriver* CreateAgent(IInstanceManager&) {
#if defined(FAULT_THROWING_CONSTRUCTOR)
  throw Fault("the agent is out of order");
#elif defined(FAULT_THROWING_A_NUMBER)
  throw 42;
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

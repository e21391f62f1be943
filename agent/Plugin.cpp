// The exported functions of the plug-in.
#include <string>
#include <vector>

#include "agent/ServicesAgent.h"

namespace {

IDriver* CreateAgent(IInstanceManager& instanceManager) {
  return new ServicesAgent(instanceManager);
}

}  // namespace

extern "C" {

PLATFORM_API void GetAgentName(std::vector<std::string>& names) {
  names.emplace_back("Guest Services");
}

PLATFORM_API CreationFunc GetCreationFunc() { return &CreateAgent; }
}

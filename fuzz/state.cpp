// Any text as the state that an agent starts with: what is persisted then is well-formed, and comes
// back whole at the next start.
#include <cstdint>
#include <string>

#include "fuzz/Support.h"
#include "platform/XmlNode.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto document = qx::CreateXmlDocument({reinterpret_cast<const char*>(data), size});
  if (!document) return 0;
  fuzz::Agent agent;
  agent.Start(document->GetRoot());
  const std::string first = agent.Persist();
  fuzz::Require(agent.StartFromText(first), "a persisted state cannot be read: " + first);
  const std::string second = agent.Persist();
  fuzz::Require(first == second, "persisted " + first + " and then " + second);
  agent.Execute({"GET_ALL_SERVICES", {}});
  agent.Request({"GET_ALL_SERVICES", {}});
  agent.Start({});
  return 0;
}

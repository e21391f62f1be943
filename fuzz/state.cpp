// Any text as the state that an agent starts with: what is persisted then is well-formed, and comes
// back whole at the next start.
#include <cstdint>
#include <string>

#include "fuzz/Support.h"
#include "platform/xml/XmlNode.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (!qx::CreateXmlDocument(text)) return 0;
  fuzz::Agent agent;
  agent.Start(text);
  agent.Restart();
  agent.Execute({"GET_ALL_SERVICES", {}});
  agent.Request({"GET_ALL_SERVICES", {}});
  agent.Start("");
  return 0;
}

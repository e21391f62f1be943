// Any text as the state that an agent starts with: what is persisted then is well-formed, and comes
// back whole at the next start.
#include <cstdint>
#include <string>

#include "fuzz/Support.h"
#include "host/session/Transcript.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  fuzz::CheckedSession session;
  session.Run("restart state=" + host::Quote(text));
  for (const char* const step : {"restart", "GET_ALL_SERVICES", "ui GET_ALL_SERVICES"}) {
    session.Run(step);
  }
  return 0;
}

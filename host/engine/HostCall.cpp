#include "host/engine/HostCall.h"

#include <execinfo.h>

#include <cstdlib>
#include <memory>
#include <vector>

namespace host {

std::string DescribeAssertion(const Assertion& assertion) {
  std::string text =
      "assertion failed at " + std::string(assertion.file) + ':' + std::to_string(assertion.line);
  std::vector<void*> frames;
  for (std::size_t i = 0; i < assertion.trace.GetSize(); ++i) {
    frames.push_back(const_cast<void*>(assertion.trace.GetFrame(i)));
  }
  const int count = static_cast<int>(frames.size());
  // Null without memory: the place alone is worth a record.
  const std::unique_ptr<char*, decltype(&std::free)> symbols(
      backtrace_symbols(frames.data(), count), &std::free);
  for (int i = 0; symbols && i < count; ++i) (text += "\n  ") += symbols.get()[i];
  return text;
}

}  // namespace host

#pragma once

#include <string>

#include "host/HostCall.h"
#include "host/Transcript.h"

namespace test {

/// Keeps the lines of all calls, those of look-ups excepted.
class Recorder : public host::IHostListener {
 public:
  void OnHostCall(const host::HostCall& call) override {
    const std::string line = host::FormatLine(call);
    if (!line.empty()) lines += line + '\n';
  }

  std::string lines;
};

}  // namespace test

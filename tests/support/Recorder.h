#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "host/HostCall.h"
#include "host/Transcript.h"

namespace test {

/// Keeps the lines of all calls, those of look-ups excepted, and makes one call fail.
class Recorder : public host::IHostListener {
 public:
  void OnHostCall(const host::HostCall& call) override {
    const std::string line = host::FormatLine(call);
    if (!line.empty()) lines += line + '\n';
    if (const auto* const log = std::get_if<host::Log>(&call)) records.push_back(log->record);
    if (callsToFailure-- == 0) throw std::runtime_error("injected");
  }

  std::string lines;
  std::vector<qx::LogRecord> records;
  int callsToFailure = -1;  // how many calls succeed before one fails; negative for none
};

}  // namespace test

#pragma once

#include <exception>
#include <functional>
#include <string>

namespace web {

/// Gets a problem of the server for its operator, such as a lack of descriptors. May be null. What
/// it throws is dropped.
using OnProblem = std::function<void(const std::string& problem)>;

inline void Report(const OnProblem& onProblem, const std::string& problem) {
  try {
    if (onProblem) onProblem(problem);
  } catch (const std::exception&) {  // it cannot be reported, then
  }
}

}  // namespace web

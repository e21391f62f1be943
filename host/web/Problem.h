#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <utility>

namespace web {

/// Gets a problem of the server for its operator, such as a lack of descriptors. May be null. What
/// it throws is dropped.
using OnProblem = std::function<void(const std::string& problem)>;

/// Reports problems. One that comes again and again is reported once, until it has not come for
/// `pause`.
class Problems {
 public:
  Problems(OnProblem onProblem, std::chrono::milliseconds pause)
      : onProblem_(std::move(onProblem)), pause_(pause) {}

  void Report(const std::string& problem) {
    const auto now = std::chrono::steady_clock::now();
    try {
      for (auto it = ends_.begin(); it != ends_.end();) {
        it = it->second <= now ? ends_.erase(it) : std::next(it);
      }
      const bool isNew = ends_.count(problem) == 0;
      ends_[problem] = now + pause_;
      if (isNew && onProblem_) onProblem_(problem);
    } catch (const std::exception&) {  // it cannot be reported, then
    }
  }

 private:
  const OnProblem onProblem_;
  const std::chrono::milliseconds pause_;
  std::map<std::string, std::chrono::steady_clock::time_point> ends_;  // of the pauses, by problem
};

}  // namespace web

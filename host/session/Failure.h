#pragma once

#include <functional>
#include <optional>
#include <string>

namespace host {

/// Why an action failed. It owns its text, so that it may outlive the plug-in that threw.
struct Failure {
  std::string reason;
};

/// Runs `action`. Returns why it failed; nothing on success.
std::optional<Failure> Try(const std::function<void()>& action);

}  // namespace host

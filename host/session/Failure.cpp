#include "host/session/Failure.h"

#include <exception>

namespace host {

std::optional<Failure> Try(const std::function<void()>& action) {
  try {
    action();
    return std::nullopt;
  } catch (const std::exception& error) {
    return Failure{error.what()};
  } catch (...) {
    return Failure{"an exception of unknown type"};
  }
}

}  // namespace host

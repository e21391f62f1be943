#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

/// The words that can complete the last word of `line`, or that can follow a blank at its end. The
/// name of a parameter has its "=".
std::vector<std::string> CompleteStep(std::string_view line);

}  // namespace host

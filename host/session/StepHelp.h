#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

/// What can be typed on the live host's console, one line each.
std::string GetStepHelp();

/// The words that may stand at the end of `line` in place of the one that has been begun there. A
/// parameter's name has its "=".
std::vector<std::string> CompleteStep(std::string_view line);

}  // namespace host

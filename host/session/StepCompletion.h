#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/session/Step.h"

namespace host {

/// The words that can complete the last word of `line`, or that can follow a blank at its end. The
/// name of a parameter has its "=".
std::vector<std::string> CompleteStep(std::string_view line);

/// Names the parameters of a command or a `ui` request that the step table does not list for it; ""
/// if there are none, or if the table does not list the command.
std::string DescribeUnknownKeys(const Step& step);

}  // namespace host

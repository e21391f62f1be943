#include "host/live/LogConfig.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "host/engine/File.h"
#include "platform/HostLog.h"

namespace host {
namespace {

std::string Trim(const std::string& text) {
  constexpr const char* kBlanks = " \t\r\n\v\f";
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

/// The file that a line includes; "" for any other line.
std::string GetIncluded(const std::string& line) {
  constexpr const char* kInclude = "include";
  const std::string text = Trim(line);
  const std::size_t end = text.find_first_of(" \t");
  const bool isInclude = text.substr(0, end) == kInclude && text.find('=') == std::string::npos;
  return isInclude && end != std::string::npos ? Trim(text.substr(end)) : "";
}

/// log4cplus follows a file that includes itself until the stack ends. `includers` are the files on
/// the way to this one.
void Check(const std::string& path, std::vector<std::string>& includers) {
  std::istringstream lines(ReadRegularFile(path));
  const std::string file = std::filesystem::canonical(path).string();
  if (std::find(includers.begin(), includers.end(), file) != includers.end()) {
    throw std::runtime_error(path + ": includes itself");
  }
  includers.push_back(file);
  for (std::string line; std::getline(lines, line);) {
    const std::string included = GetIncluded(line);
    if (!included.empty()) Check(included, includers);
  }
  includers.pop_back();
}

}  // namespace

void ConfigureLog(const std::string& path) {
  std::vector<std::string> includers;
  Check(path, includers);
  qx::ConfigureLog(path);
}

}  // namespace host

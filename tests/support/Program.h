#pragma once

#include <string>

namespace test {

struct ProgramResult {
  int exitCode;        // -1 if a signal ended it
  std::string output;  // standard output and standard error
};

/// Runs the built host with these arguments, as a shell reads them, on this standard input.
ProgramResult RunHost(const std::string& arguments, const std::string& input = "");

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& text);
/// The path of a file of the running test, in a directory for temporary files.
std::string TempPath(const std::string& name);

}  // namespace test

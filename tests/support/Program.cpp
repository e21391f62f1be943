#include "tests/support/Program.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace test {

ProgramResult RunHost(const std::string& arguments, const std::string& input) {
  const std::string inputFile = TempPath("input");
  WriteFile(inputFile, input);
  const std::string command =
      std::string(HOST_COMMAND) + ' ' + arguments + " 2>&1 < '" + inputFile + "'";
  FILE* const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  ProgramResult result{};
  char buffer[4096];
  while (const std::size_t size = fread(buffer, 1, sizeof buffer, pipe)) {
    result.output.append(buffer, size);
  }
  const int status = pclose(pipe);
  std::remove(inputFile.c_str());
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

std::string TempPath(const std::string& name) {
  return testing::TempDir() + "guest-services-" + std::to_string(getpid()) + '-' + name;
}

}  // namespace test

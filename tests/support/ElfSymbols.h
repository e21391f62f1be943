#pragma once

#include <string>
#include <vector>

namespace test {

/// The names of the symbols that the dynamic symbol table of a library defines, sorted. Throws
/// `std::runtime_error` for a file that is no library of this machine.
std::vector<std::string> GetDefinedSymbols(const std::string& path);

}  // namespace test

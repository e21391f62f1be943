#include "tests/support/ElfSymbols.h"

#include <elf.h>
#include <link.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace test {
namespace {

template <typename Record>
Record ReadAt(const std::string& file, std::size_t offset) {
  Record record;
  if (offset + sizeof record > file.size()) throw std::runtime_error("the file ends too early");
  std::memcpy(&record, file.data() + offset, sizeof record);
  return record;
}

}  // namespace

std::vector<std::string> GetDefinedSymbols(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  const std::string file{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  if (file.compare(0, SELFMAG, ELFMAG) != 0) throw std::runtime_error(path + ": no library");
  const auto header = ReadAt<ElfW(Ehdr)>(file, 0);
  const auto section = [&](std::size_t index) {
    return ReadAt<ElfW(Shdr)>(file, header.e_shoff + index * header.e_shentsize);
  };
  std::vector<std::string> names;
  for (std::size_t i = 0; i < header.e_shnum; ++i) {
    const auto symbols = section(i);
    if (symbols.sh_type != SHT_DYNSYM) continue;
    const auto strings = section(symbols.sh_link);
    for (std::size_t at = 0; at < symbols.sh_size; at += sizeof(ElfW(Sym))) {
      const auto symbol = ReadAt<ElfW(Sym)>(file, symbols.sh_offset + at);
      // Sections have symbols too, without a name; some linkers list them.
      const bool isSection = ELF32_ST_TYPE(symbol.st_info) == STT_SECTION;
      if (symbol.st_shndx == SHN_UNDEF || isSection) continue;
      names.emplace_back(file.c_str() + strings.sh_offset + symbol.st_name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace test

// ELF files of both classes, whole and broken; ProgramTest.cpp has a file that is none.
#include <elf.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/engine/ElfFile.h"

namespace {

/// A library that needs "liba.so.1" and "libb.so", loaded 4096 bytes after its place in the file.
template <unsigned char kClass, typename Header, typename Segment, typename Entry>
struct Library {
  Header header{};
  Segment segments[2]{};
  Entry entries[5]{{DT_NEEDED, {1}}, {DT_STRTAB, {}}, {DT_NEEDED, {11}}, {DT_STRSZ, {20}}, {}};
  char names[20] = "\0liba.so.1\0libb.so";  // two bytes more than the names have

  Library() {
    const auto order = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ELFDATA2LSB : ELFDATA2MSB;
    const std::string ident{0x7F, 'E', 'L', 'F', kClass, order};
    ident.copy(reinterpret_cast<char*>(header.e_ident), EI_NIDENT);
    header.e_phoff = offsetof(Library, segments);
    header.e_phentsize = sizeof(Segment);
    header.e_phnum = 2;
    segments[0].p_type = PT_LOAD;
    segments[0].p_vaddr = 4096;
    segments[0].p_filesz = sizeof(*this);
    segments[1].p_type = PT_DYNAMIC;
    segments[1].p_vaddr = 4096 + offsetof(Library, entries);
    segments[1].p_filesz = sizeof(entries);
    entries[1].d_un.d_val = 4096 + offsetof(Library, names);
  }

  /// The libraries that it needs, or the error. The copy ends with its block, so that a sanitizer
  /// notices what is read after it.
  std::string Read(std::size_t size = sizeof(Library)) const {
    const char* const begin = reinterpret_cast<const char*>(this);
    const std::vector<char> file(begin, begin + size);
    try {
      std::string all;
      for (const auto library : host::FindNeededLibraries({file.data(), file.size()})) {
        (all += library) += ' ';
      }
      return all;
    } catch (const std::runtime_error& error) {
      return error.what();
    }
  }
};

template <typename Image>
class ElfFile : public testing::Test {};
using Images = testing::Types<Library<ELFCLASS32, Elf32_Ehdr, Elf32_Phdr, Elf32_Dyn>,
                              Library<ELFCLASS64, Elf64_Ehdr, Elf64_Phdr, Elf64_Dyn>>;
TYPED_TEST_SUITE(ElfFile, Images, );

TYPED_TEST(ElfFile, SaysWhichLibrariesItNeedsOrWhatIsWrong) {
  using Image = TypeParam;
  const std::string truncated = "the file is truncated";
  const std::string unloaded = "the dynamic section refers to bytes that are not loaded";
  const std::string unnamed = "the name of a needed library is not in the string table";
  const std::pair<std::function<void(Image & image)>, std::string> cases[] = {
      {[](Image&) {}, "liba.so.1 libb.so "},
      {[](Image& i) { std::swap(i.entries[2], i.entries[4]); }, unnamed},
      {[](Image& i) { i.segments[1].p_type = PT_NULL; }, ""},
      {[](Image& i) { i.header.e_ident[EI_CLASS] = 3; }, "neither a 32-bit nor a 64-bit ELF file"},
      {[](Image& i) { i.header.e_ident[EI_DATA] ^= 3; }, "its byte order is not this machine's"},
      {[](Image& i) { --i.header.e_phentsize; }, "the program headers have an unknown size"},
      {[](Image& i) { i.header.e_phoff -= i.header.e_phoff + 1; }, truncated},
      {[](Image& i) { i.segments[1].p_vaddr = 0; }, unloaded},
      {[](Image& i) { i.segments[1].p_filesz += 4096; }, unloaded},
      {[](Image& i) { i.entries[0].d_un.d_val = sizeof(i.names); }, unnamed},
      {[](Image& i) { i.entries[3].d_un.d_val = 18; }, unnamed},
  };
  Image image;
  for (std::size_t size = 0; size < sizeof(image); ++size) {
    EXPECT_EQ(image.Read(size), size < EI_NIDENT ? "not an ELF file" : truncated) << size;
  }
  for (const auto& [change, expected] : cases) {
    change(image = {});
    EXPECT_EQ(image.Read(), expected);
  }
  for (std::size_t i = 0; i < sizeof(Image); ++i) {
    for (const int value : {0, 1, 0x7F, 0x80, 0xFF}) {
      reinterpret_cast<char*>(&(image = {}))[i] = static_cast<char>(value);
      image.Read();  // gives names or an error, and reads nothing that is not there
    }
  }
}

}  // namespace

// ELF files of both classes, whole and broken.
#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/engine/ElfFile.h"

namespace {

/// A library that needs "liba.so.1" and "libb.so", loaded 4096 bytes after its place in the file.
template <typename Header, typename Segment, typename Entry>
struct Library {
  Header header{};
  Segment segments[2]{};
  Entry entries[5]{};
  char names[20] = "\0liba.so.1\0libb.so";  // two bytes more than the names have

  explicit Library(unsigned char elfClass) {
    const auto offset = [this](const void* place) {
      return static_cast<unsigned>(static_cast<const char*>(place) -
                                   reinterpret_cast<const char*>(this));
    };
    std::copy_n(ELFMAG, SELFMAG, header.e_ident);
    header.e_ident[EI_CLASS] = elfClass;
    header.e_ident[EI_DATA] = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ELFDATA2LSB : ELFDATA2MSB;
    header.e_phoff = offset(segments);
    header.e_phentsize = sizeof(Segment);
    header.e_phnum = 2;
    segments[0].p_type = PT_LOAD;
    segments[0].p_vaddr = 4096;
    segments[0].p_filesz = sizeof(*this);
    segments[1].p_type = PT_DYNAMIC;
    segments[1].p_vaddr = 4096 + offset(entries);
    segments[1].p_filesz = sizeof(entries);
    const unsigned values[][2] = {{DT_NEEDED, 1},
                                  {DT_STRTAB, 4096 + offset(names)},
                                  {DT_NEEDED, 11},
                                  {DT_STRSZ, sizeof(names)},
                                  {DT_NULL, 0}};
    for (std::size_t i = 0; i < 5; ++i) {
      entries[i].d_tag = static_cast<decltype(Entry::d_tag)>(values[i][0]);
      entries[i].d_un.d_val = values[i][1];
    }
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
void ExpectFaultsAreFound(unsigned char elfClass) {
  const std::string truncated = "the file is truncated";
  const std::string unloaded = "the dynamic section refers to bytes that are not loaded";
  const std::string unnamed = "the name of a needed library is not in the string table";
  const struct {
    std::function<void(Image& image)> change;
    std::string expected;
  } cases[] = {
      {[](Image&) {}, "liba.so.1 libb.so "},
      {[](Image& i) { std::swap(i.entries[2], i.entries[4]); }, unnamed},
      {[](Image& i) { i.segments[1].p_type = PT_NULL; }, ""},
      {[](Image& i) { i.header.e_ident[0] = 0; }, "not an ELF file"},
      {[](Image& i) { i.header.e_ident[EI_CLASS] = 3; }, "neither a 32-bit nor a 64-bit ELF file"},
      {[](Image& i) { i.header.e_ident[EI_DATA] ^= 3; }, "its byte order is not this machine's"},
      {[](Image& i) { --i.header.e_phentsize; }, "the program headers have an unknown size"},
      {[](Image& i) { i.header.e_phnum = 0xFFFF; }, truncated},
      {[](Image& i) { i.header.e_phoff -= i.header.e_phoff + 1; }, truncated},
      {[](Image& i) { ++i.segments[0].p_filesz; }, truncated},
      {[](Image& i) { i.segments[0].p_offset -= 1; }, truncated},
      {[](Image& i) { i.segments[1].p_vaddr = 0; }, unloaded},
      {[](Image& i) { i.segments[1].p_filesz += 4096; }, unloaded},
      {[](Image& i) { i.entries[1].d_tag = DT_DEBUG; }, unloaded},
      {[](Image& i) { i.entries[3].d_un.d_val += 100; }, unloaded},
      {[](Image& i) { i.entries[0].d_un.d_val = sizeof(i.names); }, unnamed},
      {[](Image& i) { i.entries[3].d_un.d_val = 18; }, unnamed},
  };
  for (const auto& c : cases) {
    Image image(elfClass);
    c.change(image);
    EXPECT_EQ(image.Read(), c.expected) << "case " << &c - cases;
  }
  const Image whole(elfClass);
  for (std::size_t size = 0; size < sizeof(whole); ++size) {
    EXPECT_EQ(whole.Read(size), size < EI_NIDENT ? "not an ELF file" : truncated) << size;
  }
  for (std::size_t i = 0; i < sizeof(Image); ++i) {
    for (const int value : {0, 1, 0x7F, 0x80, 0xFF}) {
      Image image(elfClass);
      reinterpret_cast<char*>(&image)[i] = static_cast<char>(value);
      image.Read();  // gives names or an error, and reads nothing that is not there
    }
  }
}

TEST(ElfFile, SaysWhichLibrariesItNeedsOrWhatIsWrong) {
  ExpectFaultsAreFound<Library<Elf32_Ehdr, Elf32_Phdr, Elf32_Dyn>>(ELFCLASS32);
  ExpectFaultsAreFound<Library<Elf64_Ehdr, Elf64_Phdr, Elf64_Dyn>>(ELFCLASS64);
}

}  // namespace

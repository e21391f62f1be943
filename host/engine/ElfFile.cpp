#include "host/engine/ElfFile.h"

#include <elf.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <stdexcept>

namespace host {
namespace {

struct Class32 {
  using Header = Elf32_Ehdr;
  using Segment = Elf32_Phdr;
  using DynamicEntry = Elf32_Dyn;
};
struct Class64 {
  using Header = Elf64_Ehdr;
  using Segment = Elf64_Phdr;
  using DynamicEntry = Elf64_Dyn;
};

#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
constexpr unsigned char kByteOrder = ELFDATA2LSB;
#else
constexpr unsigned char kByteOrder = ELFDATA2MSB;
#endif

std::string_view Slice(std::string_view bytes, std::uint64_t offset, std::uint64_t size) {
  if (offset > bytes.size() || size > bytes.size() - offset) {
    throw std::runtime_error("the file is truncated");
  }
  return bytes.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(size));
}

/// Copies the objects that `bytes` consists of, since those in a file need not be aligned.
template <typename Object>
std::vector<Object> Copy(std::string_view bytes) {
  std::vector<Object> objects(bytes.size() / sizeof(Object));
  std::copy_n(bytes.data(), objects.size() * sizeof(Object),
              reinterpret_cast<char*>(objects.data()));
  return objects;
}

template <typename Class>
class Reader {
 public:
  explicit Reader(std::string_view file) : file_(file) {
    const auto header = Copy<Header>(Slice(file, 0, sizeof(Header))).front();
    if (header.e_phentsize != sizeof(Segment)) {
      throw std::runtime_error("the program headers have an unknown size");
    }
    // Nothing of the sections is loaded, but they stand at the end: a copy that is not complete
    // lacks them.
    Slice(file, header.e_shoff, header.e_shnum * std::uint64_t{header.e_shentsize});
    segments_ =
        Copy<Segment>(Slice(file, header.e_phoff, header.e_phnum * std::uint64_t{sizeof(Segment)}));
    for (const Segment& segment : segments_) {
      if (segment.p_type == PT_LOAD) Slice(file, segment.p_offset, segment.p_filesz);
    }
  }

  std::vector<std::string_view> FindNeededLibraries() const {
    std::vector<std::uint64_t> offsets;
    std::uint64_t names = 0;
    std::uint64_t namesSize = 0;
    for (const DynamicEntry& entry : ReadDynamicEntries()) {
      if (entry.d_tag == DT_NULL) break;
      if (entry.d_tag == DT_NEEDED) offsets.push_back(entry.d_un.d_val);
      if (entry.d_tag == DT_STRTAB) names = entry.d_un.d_ptr;
      if (entry.d_tag == DT_STRSZ) namesSize = entry.d_un.d_val;
    }
    if (offsets.empty()) return {};
    const std::string_view table = SliceMemory(names, namesSize);
    std::vector<std::string_view> libraries;
    libraries.reserve(offsets.size());
    for (const std::uint64_t offset : offsets) libraries.push_back(ReadName(table, offset));
    return libraries;
  }

 private:
  using Header = typename Class::Header;
  using Segment = typename Class::Segment;
  using DynamicEntry = typename Class::DynamicEntry;

  std::vector<DynamicEntry> ReadDynamicEntries() const {
    const auto dynamic =
        std::find_if(segments_.begin(), segments_.end(),
                     [](const Segment& segment) { return segment.p_type == PT_DYNAMIC; });
    if (dynamic == segments_.end()) return {};
    return Copy<DynamicEntry>(SliceMemory(dynamic->p_vaddr, dynamic->p_filesz));
  }

  /// The bytes of the file that are loaded to an address, which is relative to the library's base.
  std::string_view SliceMemory(std::uint64_t address, std::uint64_t size) const {
    for (const Segment& segment : segments_) {
      if (segment.p_type != PT_LOAD || address < segment.p_vaddr) continue;
      const std::uint64_t offset = address - segment.p_vaddr;
      if (offset > segment.p_filesz || size > segment.p_filesz - offset) continue;
      return Slice(Slice(file_, segment.p_offset, segment.p_filesz), offset, size);
    }
    throw std::runtime_error("the dynamic section refers to bytes that are not loaded");
  }

  static std::string_view ReadName(std::string_view table, std::uint64_t offset) {
    if (offset < table.size()) {
      // The limit bounds the time that a file with many long names takes; a path cannot be longer.
      const auto rest = table.substr(static_cast<std::size_t>(offset), PATH_MAX);
      const std::size_t length = rest.find('\0');
      if (length != std::string_view::npos) return rest.substr(0, length);
    }
    throw std::runtime_error("the name of a needed library is not in the string table");
  }

  std::string_view file_;
  std::vector<Segment> segments_;
};

}  // namespace

std::vector<std::string_view> FindNeededLibraries(std::string_view file) {
  const std::string_view magic(ELFMAG, SELFMAG);
  if (file.size() < EI_NIDENT || file.substr(0, SELFMAG) != magic) {
    throw std::runtime_error("not an ELF file");
  }
  if (static_cast<unsigned char>(file[EI_DATA]) != kByteOrder) {
    throw std::runtime_error("its byte order is not this machine's");
  }
  switch (file[EI_CLASS]) {
    case ELFCLASS32:
      return Reader<Class32>(file).FindNeededLibraries();
    case ELFCLASS64:
      return Reader<Class64>(file).FindNeededLibraries();
    default:
      throw std::runtime_error("neither a 32-bit nor a 64-bit ELF file");
  }
}

}  // namespace host

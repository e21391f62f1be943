#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

/// Returns the names of the libraries that a shared library needs, its DT_NEEDED entries, in the
/// order in which they stand. `file` is the content of a 32-bit or 64-bit ELF file of this
/// machine's byte order; the names are views of it. Finds what the dynamic linker finds: by the
/// segments, not by the sections. Reads nothing outside `file`. Throws
/// `std::runtime_error` that names the fault when `file` is no such ELF file, is truncated within a
/// segment that is loaded or before the end of the section headers, or refers to bytes that no such
/// segment has.
std::vector<std::string_view> FindNeededLibraries(std::string_view file);

}  // namespace host

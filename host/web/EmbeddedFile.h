#pragma once

#include <string_view>

namespace host {

/// A file of the page, embedded in the program.
struct PageFile {
  std::string_view path;  // "/installer"
  std::string_view type;  // "text/html; charset=utf-8"
  std::string_view content;
};

/// The file that is served under that path; null if there is none.
const PageFile* FindPageFile(std::string_view path);

}  // namespace host

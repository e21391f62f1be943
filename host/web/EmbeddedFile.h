#pragma once

#include <string_view>

namespace web {

/// A file of the page, embedded in the program.
struct EmbeddedFile {
  std::string_view path;  // "/installer"
  std::string_view type;  // "text/html; charset=utf-8"
  std::string_view content;
};

/// The file that is served under that path; null if there is none.
const EmbeddedFile* FindFile(std::string_view path);

}  // namespace web

#pragma once

#include <string_view>

namespace web {

/// A file that is embedded in the program; EmbedFiles.cmake makes a list of them from a folder. The
/// texts live as long as the program.
struct EmbeddedFile {
  std::string_view path;  // that it is served under: "/installer"
  std::string_view type;  // "text/html; charset=utf-8"
  std::string_view content;
};

}  // namespace web

# Writes the C++ source that holds the files of a directory:
#   cmake -DPAGE_DIR=... -DOUTPUT=... -P EmbedFiles.cmake
set(type_html "text/html; charset=utf-8")
set(type_js "text/javascript; charset=utf-8")
set(type_css "text/css; charset=utf-8")
set(type_svg "image/svg+xml")

file(GLOB names RELATIVE "${PAGE_DIR}" "${PAGE_DIR}/*")
set(arrays "")
set(entries "")
set(number 0)
foreach(name IN LISTS names)
  string(REGEX REPLACE ".*\\." "" extension "${name}")
  if(NOT DEFINED "type_${extension}")
    message(FATAL_ERROR "${PAGE_DIR}/${name}: a file of no type that the page may have")
  endif()
  string(REGEX REPLACE "^index\\.html$" "" path "${name}")
  string(REGEX REPLACE "\\.html$" "" path "${path}")
  file(READ "${PAGE_DIR}/${name}" bytes HEX)
  string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${bytes}")
  string(APPEND arrays "constexpr char kFile${number}[] = {\n${bytes}'\\0'};\n")
  string(APPEND entries
    "    {\"/${path}\", \"${type_${extension}}\", {kFile${number}, sizeof kFile${number} - 1}},\n")
  math(EXPR number "${number} + 1")
endforeach()

file(WRITE "${OUTPUT}" "#include \"host/web/EmbeddedFile.h\"

namespace web {
namespace {

${arrays}
constexpr EmbeddedFile kFiles[] = {
${entries}};

}  // namespace

const EmbeddedFile* FindFile(std::string_view path) {
  for (const EmbeddedFile& file : kFiles) {
    if (file.path == path) return &file;
  }
  return nullptr;
}

}  // namespace web
")

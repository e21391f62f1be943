# Embeds the files of a folder in a program. Included, it gives a function:
#
#   embed_files(TARGET FOLDER HEADER FUNCTION)
#
# adds to TARGET a source that defines what HEADER declares: `std::vector<web::EmbeddedFile>
# FUNCTION()`, the files of FOLDER. FUNCTION is a qualified name. "index.html" gets the path "/",
# "NAME.html" the path "/NAME", and any other file "/" and its name. The build fails on a file of
# unknown type.
if(NOT CMAKE_SCRIPT_MODE_FILE)
  function(embed_files target folder header function)
    cmake_path(ABSOLUTE_PATH folder)
    file(GLOB files CONFIGURE_DEPENDS "${folder}/*")
    string(MAKE_C_IDENTIFIER "${function}" name)
    set(output "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp")
    set(script "${CMAKE_CURRENT_FUNCTION_LIST_FILE}")
    add_custom_command(
      OUTPUT "${output}"
      COMMAND "${CMAKE_COMMAND}" "-DFOLDER=${folder}" "-DHEADER=${header}" "-DFUNCTION=${function}"
              "-DOUTPUT=${output}" -P "${script}"
      DEPENDS "${script}" ${files}
      VERBATIM)
    target_sources(${target} PRIVATE "${output}")
  endfunction()
  return()
endif()

set(type_html "text/html; charset=utf-8")
set(type_js "text/javascript; charset=utf-8")
set(type_css "text/css; charset=utf-8")
set(type_svg "image/svg+xml")

file(GLOB names RELATIVE "${FOLDER}" "${FOLDER}/*")
set(arrays "")
set(entries "")
set(number 0)
foreach(name IN LISTS names)
  string(REGEX REPLACE ".*\\." "" extension "${name}")
  if(NOT DEFINED "type_${extension}")
    message(FATAL_ERROR "${FOLDER}/${name}: a file of unknown type")
  endif()
  string(REGEX REPLACE "^index\\.html$" "" path "${name}")
  string(REGEX REPLACE "\\.html$" "" path "${path}")
  file(READ "${FOLDER}/${name}" bytes HEX)
  string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${bytes}")
  string(APPEND arrays "constexpr char kFile${number}[] = {\n${bytes}'\\0'};\n")
  string(APPEND entries
    "      {\"/${path}\", \"${type_${extension}}\", {kFile${number}, sizeof kFile${number} - 1}},\n")
  math(EXPR number "${number} + 1")
endforeach()

file(WRITE "${OUTPUT}" "#include \"${HEADER}\"

namespace {

${arrays}
}  // namespace

std::vector<web::EmbeddedFile> ${FUNCTION}() {
  return {
${entries}  };
}
")

# Compiler options. Every target of the project links "project-options" PRIVATE,
# so that the options do not propagate to users of a target.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(project-options INTERFACE)

# Include paths start at the root: "services/...", and "platform/..." of the
# selected layer.
get_filename_component(platform_parent_dir "${GUEST_SERVICES_PLATFORM_DIR}" DIRECTORY)
target_include_directories(project-options INTERFACE "${platform_parent_dir}" "${PROJECT_SOURCE_DIR}")

target_compile_options(project-options INTERFACE -Wall -Wextra -Wpedantic -Wconversion)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # Clang's -Wconversion includes -Wsign-conversion; GCC's does not.
  target_compile_options(project-options INTERFACE -Wno-sign-conversion)
endif()
if(GUEST_SERVICES_WERROR)
  target_compile_options(project-options INTERFACE -Werror)
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC notes an ABI change of its version 7, which does not matter here.
  target_compile_options(project-options INTERFACE -Wno-psabi)
endif()
if(GUEST_SERVICES_TIME64)
  target_compile_definitions(project-options INTERFACE _TIME_BITS=64 _FILE_OFFSET_BITS=64)
endif()

# Hardening of what is shipped: a build that optimizes, without sanitizers. tests/packaging reads it
# from the binaries.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  target_compile_options(project-options INTERFACE
    -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fstack-clash-protection)
  target_compile_definitions(project-options INTERFACE _GLIBCXX_ASSERTIONS)
  # A build has the same bits in every folder.
  target_compile_options(project-options INTERFACE "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")
  target_link_options(project-options INTERFACE LINKER:-z,relro,-z,now)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i.86")
    target_compile_options(project-options INTERFACE -fcf-protection)
  endif()
endif()

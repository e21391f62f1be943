# How all code of the project is compiled. Every target of every room links
# "project-options" PRIVATE; nothing of it reaches those who use a target.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(project-options INTERFACE)

# Headers are included from the root: "services/...", and "platform/..." of the
# layer that was chosen.
get_filename_component(platform_parent_dir "${GUEST_SERVICES_PLATFORM_DIR}" DIRECTORY)
target_include_directories(project-options INTERFACE "${platform_parent_dir}" "${PROJECT_SOURCE_DIR}")

target_compile_options(project-options INTERFACE -Wall -Wextra -Wpedantic -Wconversion)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # To Clang, -Wconversion means this too; to GCC it does not.
  target_compile_options(project-options INTERFACE -Wno-sign-conversion)
endif()
if(GUEST_SERVICES_WERROR)
  target_compile_options(project-options INTERFACE -Werror)
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Else GCC remarks on a change of the calling convention in its version 7.
  target_compile_options(project-options INTERFACE -Wno-psabi)
endif()
if(GUEST_SERVICES_TIME64)
  target_compile_definitions(project-options INTERFACE _TIME_BITS=64 _FILE_OFFSET_BITS=64)
endif()

# GUEST_SERVICES_PLATFORM_DIR replaces ./platform by another directory, for
# example to bind the agent to a real driver framework. Requirements:
#
#   .../platform/               the last part of its path is "platform"
#   .../platform/platform.h     the umbrella header, the only one that services/
#                               and agent/ include
#   .../platform/CMakeLists.txt defines the target "platform", with the needs of
#                               the umbrella header (include directories,
#                               definitions, libraries) as PUBLIC or INTERFACE
#                               requirements of that target
#
# The parent of that directory precedes this project's root in the include path,
# so that its "platform/..." hides ./platform. With another layer, the
# development host and the tests are built only if GUEST_SERVICES_HOST is ON:
# they also need the host side of the layer.

get_filename_component(GUEST_SERVICES_PLATFORM_DIR "${GUEST_SERVICES_PLATFORM_DIR}" REALPATH
  BASE_DIR "${PROJECT_SOURCE_DIR}")
get_filename_component(platform_dir_name "${GUEST_SERVICES_PLATFORM_DIR}" NAME)

foreach(needed IN ITEMS platform.h CMakeLists.txt)
  if(NOT EXISTS "${GUEST_SERVICES_PLATFORM_DIR}/${needed}")
    message(FATAL_ERROR
      "GUEST_SERVICES_PLATFORM_DIR: no ${needed} in ${GUEST_SERVICES_PLATFORM_DIR}")
  endif()
endforeach()
if(NOT platform_dir_name STREQUAL "platform")
  message(FATAL_ERROR "GUEST_SERVICES_PLATFORM_DIR: the directory must be named \"platform\", "
    "not \"${platform_dir_name}\": ${GUEST_SERVICES_PLATFORM_DIR}")
endif()

if(GUEST_SERVICES_PLATFORM_DIR STREQUAL "${PROJECT_SOURCE_DIR}/platform")
  set(GUEST_SERVICES_OWN_PLATFORM ON)
else()
  set(GUEST_SERVICES_OWN_PLATFORM OFF)
endif()

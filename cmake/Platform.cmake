# The platform layer can be replaced: GUEST_SERVICES_PLATFORM_DIR names a
# directory that takes the place of ./platform, for example to bind the agent to
# a real driver framework. What it must be:
#
#   .../platform/               the last part of its path is "platform"
#   .../platform/platform.h     the umbrella header, all that services/ and
#                               agent/ include: #include "platform/platform.h"
#   .../platform/CMakeLists.txt defines the target "platform", with whatever the
#                               umbrella header needs (include directories,
#                               definitions, libraries) as PUBLIC or INTERFACE
#                               requirements of that target
#
# The parent of that directory is searched for headers ahead of this project's
# root, so its "platform/..." wins over ./platform. With another layer than the
# project's own, the development host and the tests are left out unless
# GUEST_SERVICES_HOST asks for them: they need the layer's host side too.

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

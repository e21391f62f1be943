# Where things lie. The build tree is laid out like an installed one, so that
# the same relative paths lead from the host to the plug-in and from both to the
# platform library, and an installed tree can be moved as a whole.

set(GUEST_SERVICES_PLUGIN_DIR "${CMAKE_INSTALL_LIBDIR}/guest-services")

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_BINDIR}")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}")

# From a program's directory to the plug-in, for the host to find it.
file(RELATIVE_PATH GUEST_SERVICES_PLUGIN_FROM_BIN
  "/${CMAKE_INSTALL_BINDIR}" "/${GUEST_SERVICES_PLUGIN_DIR}/guest-services-agent.so")

file(RELATIVE_PATH lib_from_bin "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN/${lib_from_bin}")
set(GUEST_SERVICES_PLUGIN_RPATH "$ORIGIN/..")

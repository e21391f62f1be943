# Output directories. The build tree has the layout of an installed tree, so
# that the same relative paths lead from the host to the plug-in, and from both
# to the platform library. An installed tree is relocatable.

set(GUEST_SERVICES_PLUGIN_DIR "${CMAKE_INSTALL_LIBDIR}/guest-services")

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_BINDIR}")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}")

# The host finds the plug-in by this path, relative to the host's directory.
file(RELATIVE_PATH GUEST_SERVICES_PLUGIN_FROM_BIN
  "/${CMAKE_INSTALL_BINDIR}" "/${GUEST_SERVICES_PLUGIN_DIR}/guest-services-agent.so")

file(RELATIVE_PATH lib_from_bin "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN/${lib_from_bin}")
set(GUEST_SERVICES_PLUGIN_RPATH "$ORIGIN/..")
# The system's linker finds the libraries of a package.
set(CMAKE_SKIP_RPATH ${GUEST_SERVICES_DEBIAN})

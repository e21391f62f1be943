# What a host or a driver of one's own needs to be built against an installed
# tree: find_package(guest-services) gives the target guest-services::platform.

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/guest-services")

install(EXPORT guest-services
  NAMESPACE guest-services::
  FILE guest-services-targets.cmake
  DESTINATION "${package_dir}")
install(FILES "${PROJECT_SOURCE_DIR}/cmake/guest-services-config.cmake"
  DESTINATION "${package_dir}")

# What a host or a driver of one's own needs to be built against an installed
# tree: find_package(guest-services 1.0) gives the target guest-services::platform.
# A version is found that has the same major number and is not older.
include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/guest-services")
set(package_version_file "${PROJECT_BINARY_DIR}/guest-services-config-version.cmake")
write_basic_package_version_file("${package_version_file}" COMPATIBILITY SameMajorVersion)

install(EXPORT guest-services
  NAMESPACE guest-services::
  FILE guest-services-targets.cmake
  DESTINATION "${package_dir}"
  COMPONENT dev)
install(FILES "${PROJECT_SOURCE_DIR}/cmake/guest-services-config.cmake" "${package_version_file}"
  DESTINATION "${package_dir}"
  COMPONENT dev)

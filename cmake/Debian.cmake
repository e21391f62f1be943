# Debian packages, one for each install component. scripts/package configures a build folder with
# GUEST_SERVICES_DEBIAN and the prefix /usr, builds it and runs cpack there.

set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "Guest Services maintainers <maintainers@guest-services.example>")
set(CPACK_DEBIAN_PACKAGE_SOURCE guest-services)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL agent host dev bridge)
set(CPACK_SET_DESTDIR ON)
set(CPACK_STRIP_FILES ON)
# dpkg-shlibdeps knows the libraries of this machine alone; scripts/package has the others.
if(NOT CMAKE_CROSSCOMPILING)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
endif()

set(CPACK_DEBIAN_AGENT_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_AGENT_DESCRIPTION
"requests of a property's guests: the agent
Guest Services handles the requests of guests of a hotel, a rental or a large
home. This package has the agent, a plug-in that the property's controller
loads, and the library of its platform layer.")
set(CPACK_DEBIAN_HOST_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_HOST_PACKAGE_DEPENDS "guest-services-agent (= ${version})")
set(CPACK_DEBIAN_HOST_PACKAGE_SUGGESTS "guest-services-bridge, nginx")
set(CPACK_DEBIAN_HOST_DESCRIPTION
"requests of a property's guests: the host, with pages
Guest Services handles the requests of guests of a hotel, a rental or a large
home. This package has a host for its agent. The host keeps the state, runs as
a service, and has pages for guests, front desk and installers.")
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
  "guest-services-agent (= ${version}), libboost-dev (>= 1.74), liblog4cplus-dev")
set(CPACK_DEBIAN_DEV_DESCRIPTION
"requests of a property's guests: headers of the platform layer
Guest Services handles the requests of guests of a hotel, a rental or a large
home. This package has what a host or a plug-in of one's own is built with: the
headers of the platform layer, and its files for CMake.")
set(CPACK_DEBIAN_BRIDGE_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_BRIDGE_PACKAGE_SUGGESTS "guest-services-host (= ${version}), mosquitto")
set(CPACK_DEBIAN_BRIDGE_DESCRIPTION
"requests of a property's guests: the bridge to MQTT
Guest Services handles the requests of guests of a hotel, a rental or a large
home. This package has a bridge. It publishes the services of a host to an MQTT
broker, and takes requests from there. Home Assistant discovers them.")

set(sources "${PROJECT_SOURCE_DIR}/packaging")
set(made "${PROJECT_BINARY_DIR}/debian-files")
set(made_files)

# Compresses a file in the form that Debian's policy asks for. Other arguments are its dependencies.
function(compress input output)
  add_custom_command(OUTPUT "${output}" COMMAND gzip -9nc "${input}" > "${output}"
                     DEPENDS "${input}" ${ARGN} VERBATIM)
  set(made_files "${made_files};${output}" PARENT_SCOPE)
endfunction()

# The programs contain code of these libraries, whose licences ask for their notices.
set(notices)
foreach(library IN ITEMS libcli11-dev libdtl-dev nlohmann-json3-dev)
  file(READ "/usr/share/doc/${library}/copyright" notice)
  string(APPEND notices "\n---- ${library}\n\n${notice}")
endforeach()
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)  # SOURCE_DATE_EPOCH, if it is set
configure_file("${sources}/debian/copyright.in" "${made}/copyright" @ONLY)
configure_file("${sources}/debian/changelog.in" "${made}/changelog.Debian" @ONLY)
compress("${made}/changelog.Debian" "${made}/changelog.Debian.gz")
compress("${PROJECT_SOURCE_DIR}/CHANGELOG.md" "${made}/changelog.gz")
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  install(FILES "${made}/copyright" "${made}/changelog.gz" "${made}/changelog.Debian.gz"
          DESTINATION "share/doc/guest-services-${component}" COMPONENT ${component})
endforeach()

# Documents, with those that they refer to
function(package_documents component)
  list(TRANSFORM ARGN PREPEND "${PROJECT_SOURCE_DIR}/docs/")
  install(FILES ${ARGN} DESTINATION "share/doc/guest-services-${component}" COMPONENT ${component})
endfunction()
package_documents(host deployment.md guarantees.md live-host.md scenarios.md troubleshooting.md)
package_documents(bridge home-assistant.md mqtt.md troubleshooting.md)

# Control files of the library
set(CPACK_DEBIAN_AGENT_PACKAGE_CONTROL_EXTRA "${made}/triggers" "${made}/shlibs")
file(WRITE "${made}/triggers" "activate-noawait ldconfig\n")
file(WRITE "${made}/shlibs" "libguest-services-platform ${PROJECT_VERSION_MAJOR} "
  "guest-services-agent (>= ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})\n")

# debhelper writes the maintainer scripts, in a source tree that has nothing but the units.
set(tree "${made}/debhelper")
file(REMOVE_RECURSE "${tree}")
file(WRITE "${tree}/debian/compat" 13)
file(WRITE "${tree}/debian/control" "Source: guest-services\n")

# A program with a unit: its page, its completion, its unit and the options of that.
function(package_program component unit)
  set(program guest-services-${component})
  add_custom_command(
    OUTPUT "${made}/${program}.1"
    COMMAND "${CMAKE_COMMAND}" -E env "LD_LIBRARY_PATH=${CMAKE_LIBRARY_OUTPUT_DIRECTORY}"
            "${PYTHON}" "${sources}/man_page.py" "${PROJECT_BINARY_DIR}" "${PROJECT_VERSION}"
            "${sources}/${program}.man" "${made}/${program}.1"
            ${CMAKE_CROSSCOMPILING_EMULATOR} "$<TARGET_FILE:${program}>"
    DEPENDS ${program} "${sources}/man_page.py" "${sources}/${program}.man" VERBATIM)
  compress("${made}/${program}.1" "${made}/${program}.1.gz")
  set(made_files "${made_files}" PARENT_SCOPE)
  install(FILES "${made}/${program}.1.gz" DESTINATION share/man/man1 COMPONENT ${component})
  install(FILES "${sources}/completion.bash" DESTINATION share/bash-completion/completions
          RENAME ${program} COMPONENT ${component})
  install(FILES "${sources}/${unit}.service" DESTINATION /lib/systemd/system COMPONENT ${component})
  install(FILES "${sources}/${unit}.default" DESTINATION /etc/default RENAME ${unit}
          COMPONENT ${component})

  file(APPEND "${tree}/debian/control" "\nPackage: ${program}\nArchitecture: any\n")
  configure_file("${sources}/${unit}.service" "${tree}/debian/${program}.${unit}.service" COPYONLY)
  if(EXISTS "${sources}/debian/${program}.postrm")
    configure_file("${sources}/debian/${program}.postrm" "${tree}/debian/${program}.postrm" COPYONLY)
  endif()
  file(WRITE "${tree}/${program}/conffiles" "/etc/default/${unit}\n")
  foreach(command IN ITEMS "dh_installsystemd;--name=${unit};${ARGN}" dh_installdeb)
    execute_process(COMMAND ${command} -p${program} WORKING_DIRECTORY "${tree}"
                    COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  file(GLOB scripts "${tree}/debian/${program}/DEBIAN/*")
  string(TOUPPER "${component}" name)
  set(CPACK_DEBIAN_${name}_PACKAGE_CONTROL_EXTRA "${tree}/${program}/conffiles" ${scripts} PARENT_SCOPE)
endfunction()

find_program(PYTHON python3 REQUIRED)
package_program(host guest-services)
# It does not run before it has options, so its unit is not enabled.
package_program(bridge guest-services-bridge --no-enable)

add_custom_target(debian-files ALL DEPENDS ${made_files})
include(CPack)

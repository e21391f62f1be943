# find_package must refuse the installed package when another major or a newer minor version of it is
# asked for. Run with -DTREE=DIRECTORY -DMAJOR=N -DMINOR=N, the tree's version.
math(EXPR next_major "${MAJOR} + 1")
math(EXPR previous_major "${MAJOR} - 1")
math(EXPR next_minor "${MINOR} + 1")
foreach(version IN ITEMS ${previous_major}.9 ${MAJOR}.${next_minor} ${next_major}.0)
  unset(guest-services_DIR CACHE)
  find_package(guest-services ${version} QUIET CONFIG PATHS "${TREE}" NO_DEFAULT_PATH)
  if(guest-services_FOUND OR NOT guest-services_CONSIDERED_VERSIONS MATCHES "^${MAJOR}\\.${MINOR}")
    message(SEND_ERROR "asked for ${version}: found \"${guest-services_FOUND}\", "
                       "considered \"${guest-services_CONSIDERED_VERSIONS}\"")
  endif()
endforeach()

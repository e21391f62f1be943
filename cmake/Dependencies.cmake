# The libraries of more than one room. A library of one room (GTest, Benchmark,
# LibXml2) is found in that room.

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
find_package(Boost 1.74 REQUIRED)      # Boost::headers
find_package(log4cplus REQUIRED)       # log4cplus::log4cplus
find_package(pugixml REQUIRED)         # pugixml::pugixml

# Debian's log4cplus exports two private dependencies to its users, with
# absolute paths of the packaging machine, which do not exist in a sysroot.
set_target_properties(log4cplus::log4cplus PROPERTIES INTERFACE_LINK_LIBRARIES "")

if(GUEST_SERVICES_HOST)
  find_package(CLI11 REQUIRED)         # CLI11::CLI11
  find_package(nlohmann_json REQUIRED) # nlohmann_json::nlohmann_json

  find_package(OpenSSL 3 REQUIRED)     # OpenSSL::SSL

  find_library(EDIT_LIBRARY edit REQUIRED)
  find_library(MOSQUITTO_LIBRARY mosquitto REQUIRED)

  # Header-only, and without a CMake package file.
  find_path(DTL_INCLUDE_DIR dtl/dtl.hpp REQUIRED)
  add_library(dtl INTERFACE)
  add_library(dtl::dtl ALIAS dtl)
  target_include_directories(dtl SYSTEM INTERFACE "${DTL_INCLUDE_DIR}")
endif()

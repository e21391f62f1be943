include(CMakeFindDependencyMacro)
find_dependency(Threads)
find_dependency(Boost 1.74)
find_dependency(log4cplus)

include("${CMAKE_CURRENT_LIST_DIR}/guest-services-targets.cmake")

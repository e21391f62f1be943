# Toolchain file for 32-bit ARM with hard floats: Debian's cross compiler, with
# the armhf packages of scripts/make-armhf-root as its sysroot. qemu-arm runs
# the programs in the same sysroot.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

get_filename_component(CMAKE_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../build/armhf-root" ABSOLUTE)
if(NOT EXISTS "${CMAKE_SYSROOT}/packages")
  message(FATAL_ERROR "No armhf packages in ${CMAKE_SYSROOT}: run scripts/make-armhf-root")
endif()
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L "${CMAKE_SYSROOT}")

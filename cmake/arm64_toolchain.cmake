# Cross build for arm64 Linux on Debian: g++-aarch64-linux-gnu compiles, qemu-user runs what was
# built. The libraries for arm64 are in a folder of their own, which scripts/arm64-test fills.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

cmake_path(SET CMAKE_SYSROOT NORMALIZE "${CMAKE_CURRENT_LIST_DIR}/../build/arm64-sysroot")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L "${CMAKE_SYSROOT}")

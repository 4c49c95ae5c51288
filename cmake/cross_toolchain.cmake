# Cross build on Debian for the architecture VEMRA_CROSS: Debian's cross compiler compiles, qemu-user
# runs what was built. The libraries of that architecture are in a folder of their own, which
# scripts/cross-test fills.

set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VEMRA_CROSS)

# The triplet also names the folders of libraries.
if(VEMRA_CROSS STREQUAL arm64)
    set(triplet aarch64-linux-gnu)
    set(emulator qemu-aarch64)
elseif(VEMRA_CROSS STREQUAL armhf)
    set(triplet arm-linux-gnueabihf)
    set(emulator qemu-arm)
elseif(VEMRA_CROSS STREQUAL ppc64el)
    set(triplet powerpc64le-linux-gnu)
    set(emulator qemu-ppc64le)
elseif(VEMRA_CROSS STREQUAL s390x)
    set(triplet s390x-linux-gnu)
    set(emulator qemu-s390x)
else()
    message(FATAL_ERROR "VEMRA_CROSS is none of arm64, armhf, ppc64el and s390x")
endif()

string(REGEX MATCH "^[^-]*" CMAKE_SYSTEM_PROCESSOR "${triplet}")
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})

cmake_path(SET CMAKE_SYSROOT NORMALIZE "${CMAKE_CURRENT_LIST_DIR}/../build/${VEMRA_CROSS}-sysroot")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L "${CMAKE_SYSROOT}")

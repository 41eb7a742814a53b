# 32-bit ARM (Debian's armhf) with Debian's cross compiler. Libraries come from the sysroot that
# `./dev arm` unpacks; programs run under qemu-arm (the static one, which works in bare systems too)
# with that sysroot's loader and libraries.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

get_filename_component(DP_ARM_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-armhf" ABSOLUTE)
set(CMAKE_SYSROOT "${DP_ARM_SYSROOT}")

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

# GCC's notes on an ABI change that happened before this project began.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")

# The build's own programs come from the workstation, all that is included or linked from the
# sysroot.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} "${DP_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${DP_ARM_SYSROOT}")

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L "${DP_ARM_SYSROOT}")

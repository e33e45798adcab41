# Toolchain file for the target: ARM, 32 bit, hard float, little endian, Linux.

set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(kx_debian_architecture armhf)
set(kx_emulator_names qemu-arm-static qemu-arm)
include("${CMAKE_CURRENT_LIST_DIR}/KXDebianTarget.cmake")

# GCC notes that version 7 changed how it passes some arguments. Nothing here was built by an older one.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

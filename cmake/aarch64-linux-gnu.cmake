# Toolchain file for terminals with a 64-bit processor: ARM, 64 bit, little endian, Linux.

set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(kx_debian_architecture arm64)
set(kx_emulator_names qemu-aarch64-static qemu-aarch64)
include("${CMAKE_CURRENT_LIST_DIR}/KXDebianTarget.cmake")

# This emulator asks the build machine, not the sysroot, whether a folder is there, so Qt would find no plugins.
if(CMAKE_CROSSCOMPILING_EMULATOR)
    list(APPEND CMAKE_CROSSCOMPILING_EMULATOR
        -E "QT_PLUGIN_PATH=${KXAPI_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/qt5/plugins")
endif()

# The common part of the toolchain files. They set CMAKE_LIBRARY_ARCHITECTURE, kx_debian_architecture and
# kx_emulator_names. packaging/sysroot makes KXAPI_SYSROOT, the root of the target's file system.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER "${CMAKE_LIBRARY_ARCHITECTURE}-gcc")
set(CMAKE_CXX_COMPILER "${CMAKE_LIBRARY_ARCHITECTURE}-g++")

set(KXAPI_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-${kx_debian_architecture}" CACHE PATH "Root of the target's file system")
get_filename_component(KXAPI_SYSROOT "${KXAPI_SYSROOT}" ABSOLUTE)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KXAPI_SYSROOT)
if(NOT EXISTS "${KXAPI_SYSROOT}/usr/include")
    message(FATAL_ERROR "There is no ${KXAPI_SYSROOT}; packaging/sysroot makes it")
endif()
set(CMAKE_SYSROOT "${KXAPI_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The linker looks for indirect libraries where the target's loader does.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,${KXAPI_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}")

find_program(KXAPI_EMULATOR NAMES ${kx_emulator_names} DOC "Runs the target's programs on this machine")
mark_as_advanced(KXAPI_EMULATOR)
if(KXAPI_EMULATOR)
    set(CMAKE_CROSSCOMPILING_EMULATOR "${KXAPI_EMULATOR};-L;${KXAPI_SYSROOT}")
endif()

# Build settings of all targets, and the functions that make libraries.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Programs and libraries find each other in the build tree and below any installation prefix.
file(RELATIVE_PATH kx_bin_to_lib
    "${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}" "${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}")
set(CMAKE_INSTALL_RPATH "\$ORIGIN" "\$ORIGIN/${kx_bin_to_lib}")

add_library(KXAPI_build_flags INTERFACE)
target_compile_options(KXAPI_build_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang") # the only one that checks platform/KXThreadSafety.h
    target_compile_options(KXAPI_build_flags INTERFACE -Wthread-safety -Wthread-safety-beta)
endif()
# Without it, 32-bit programs cannot open files of more than 2 GiB or with large inode numbers.
target_compile_definitions(KXAPI_build_flags INTERFACE _FILE_OFFSET_BITS=64)
if(KXAPI_SANITIZE)
    target_compile_options(KXAPI_build_flags INTERFACE
        -fsanitize=${KXAPI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(KXAPI_build_flags INTERFACE -fsanitize=${KXAPI_SANITIZE})
endif()
if(KXAPI_HARDEN) # like Debian's own packages
    target_compile_options(KXAPI_build_flags INTERFACE
        -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    target_link_options(KXAPI_build_flags INTERFACE LINKER:-z,relro,-z,now)
endif()
if(KXAPI_PACKAGES)
    # Packages do not tell the path of the build folder. Debug information goes into packages of its own.
    target_compile_options(KXAPI_build_flags INTERFACE -g "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
endif()

set(KXAPI_INCLUDE_DIR "${CMAKE_INSTALL_INCLUDEDIR}/KXAPI")

# Release builds are optimised across sources, so that a post copies an event without a call for each of its bases.
include(CheckIPOSupported)
check_ipo_supported(RESULT kx_has_ipo LANGUAGES CXX OUTPUT kx_why_no_ipo)

function(kx_optimise_as_a_whole target)
    if(kx_has_ipo)
        set_target_properties(${target} PROPERTIES INTERPROCEDURAL_OPTIMIZATION_RELEASE ON)
    endif()
endfunction()

# kx_add_layer(NAME SOURCES ... NEEDS ...): the objects of one folder of libKXAPI_Events, as kx_NAME.
function(kx_add_layer name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;NEEDS")
    add_library(kx_${name} OBJECT ${arg_SOURCES})
    target_include_directories(kx_${name} PUBLIC "${PROJECT_SOURCE_DIR}")
    target_link_libraries(kx_${name} PUBLIC ${arg_NEEDS} PRIVATE KXAPI_build_flags)
    # Programs may replace functions of the platform but not of this library, whose functions call each other
    # directly.
    target_compile_options(kx_${name} PRIVATE -fno-semantic-interposition)
    kx_optimise_as_a_whole(kx_${name})
endfunction()

# kx_run_often(SOURCES...): each key press, post or action runs these. Protection of the stack takes 17 instructions
# for a call on the target, so here only functions with arrays of characters have it.
function(kx_run_often)
    if(KXAPI_HARDEN)
        set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS -fstack-protector)
    endif()
endfunction()

# kx_export_target(NAME EXPORTED): users link the target as KXAPI::EXPORTED, in the build tree and installed.
function(kx_export_target name exported)
    add_library(KXAPI::${exported} ALIAS ${name})
    set_target_properties(${name} PROPERTIES EXPORT_NAME ${exported})
    target_include_directories(${name} PUBLIC
        "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>" "$<INSTALL_INTERFACE:${KXAPI_INCLUDE_DIR}>")
    target_compile_features(${name} PUBLIC cxx_std_17)
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:KXAPI_build_flags>)
    set_property(GLOBAL APPEND PROPERTY KXAPI_INSTALLED_TARGETS ${name})
endfunction()

# kx_add_shared_library(NAME EXPORTED SOURCES...): exports KX names only; the SONAME has the major version.
function(kx_add_shared_library name exported)
    add_library(${name} SHARED ${ARGN})
    kx_export_target(${name} ${exported})
    set(exports "${PROJECT_SOURCE_DIR}/cmake/exports.map")
    target_link_options(${name} PRIVATE "LINKER:--version-script=${exports}"
        LINKER:-z,nodelete) # Qt and running threads may call a library as long as the process lives
    # clang's sanitizers are in the program, where the linker of a library does not find them.
    if(NOT (KXAPI_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang"))
        target_link_options(${name} PRIVATE LINKER:--no-undefined)
    endif()
    set_target_properties(${name} PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINK_DEPENDS "${exports}")
endfunction()

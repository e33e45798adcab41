# kx_add_test(NAME PLATFORM simulated|linux [LAYERS ...] SOURCES ... [LIBRARIES ...] [PROPERTIES ...]): a GoogleTest
# program, each of whose tests is a test of CTest; with sanitizers, whose start takes longer than most tests, the
# program is.
#
# PLATFORM simulated: the library's objects on the simulated platform, hidden functions included.
# PLATFORM linux: the library's objects on the real platform.
# LAYERS: which of these objects, where not all: the test of a layer links nothing from above it, and so shows that the
# layer needs nothing from there.
# PROPERTIES are properties of each test, as for set_tests_properties.
#
# kx_get_time_limit(VARIABLE SECONDS): how long a test may take, given what it may on a machine that is no emulated one.
# kx_get_startable(VARIABLE TARGET): the path by which a test starts another program of the build.

find_package(GTest REQUIRED)
include(GoogleTest)

set(KXAPI_TIME_SCALE 1 CACHE STRING "Factor by which tests may take longer than on a real machine")
mark_as_advanced(KXAPI_TIME_SCALE)

function(kx_get_time_limit variable seconds)
    math(EXPR limit "${seconds} * ${KXAPI_TIME_SCALE}")
    set(${variable} ${limit} PARENT_SCOPE)
endfunction()

# kx_emulate(TARGET): where programs are emulated, makes a script that starts this one, and lets it have the script's
# name, so that a program that starts itself again, as tests of its death do, gets there, too: the kernel cannot start
# a program for another machine.
function(kx_emulate target)
    if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
        return()
    endif()
    set(script "${CMAKE_CURRENT_BINARY_DIR}/start_${target}")
    set(emulator ${CMAKE_CROSSCOMPILING_EMULATOR} -0 "${script}")
    set_target_properties(${target} PROPERTIES CROSSCOMPILING_EMULATOR "${emulator}" KX_STARTABLE "${script}")
    list(JOIN emulator "' '" words)
    file(GENERATE OUTPUT "${script}"
        CONTENT "#!/bin/sh\nexec '${words}' '$<TARGET_FILE:${target}>' \"$@\"\n"
        FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
endfunction()

function(kx_get_startable variable target)
    get_target_property(script ${target} KX_STARTABLE)
    if(CMAKE_CROSSCOMPILING_EMULATOR AND NOT script)
        kx_emulate(${target})
        get_target_property(script ${target} KX_STARTABLE)
    endif()
    if(NOT script)
        set(script "$<TARGET_FILE:${target}>")
    endif()
    set(${variable} "${script}" PARENT_SCOPE)
endfunction()

function(kx_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "PLATFORM" "LAYERS;SOURCES;LIBRARIES;PROPERTIES")
    if(NOT arg_LAYERS)
        set(arg_LAYERS ${kx_layers} Qt5::Core Qt5::Gui Qt5::Widgets)
    endif()
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE KXAPI_build_flags GTest::gmock GTest::gtest_main ${arg_LIBRARIES})
    if(arg_PLATFORM STREQUAL "simulated")
        target_link_libraries(${name} PRIVATE ${arg_LAYERS} KXAPI_Simulated)
    elseif(arg_PLATFORM STREQUAL "linux")
        target_link_libraries(${name} PRIVATE ${arg_LAYERS} KXAPI_OS_ABS KXAPI_Hardware KXAPI_Utility)
    else()
        message(FATAL_ERROR "kx_add_test(${name}): PLATFORM is simulated or linux")
    endif()
    if(KXAPI_PRECOMPILE)
        target_precompile_headers(${name} REUSE_FROM kx_precompiled_tests)
    endif()
    kx_emulate(${name})
    if(KXAPI_SANITIZE)
        add_test(NAME ${name} COMMAND ${name})
        set_tests_properties(${name} PROPERTIES TIMEOUT 900 COST 50 ${arg_PROPERTIES})
    else()
        kx_get_time_limit(limit 120)
        gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT ${limit} ${arg_PROPERTIES})
    endif()
endfunction()

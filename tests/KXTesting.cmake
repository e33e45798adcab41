# kx_add_test(NAME PLATFORM simulated|linux [LAYERS ...] SOURCES ... [LIBRARIES ...] [PROPERTIES ...]) adds a
# GoogleTest program. Each of its tests is a test of CTest. Programs start slowly with sanitizers and in the emulator:
# there, the whole program is one test.
# PLATFORM: links the library's objects, hidden functions included, with this platform. LAYERS: only these objects,
# to show that a layer needs nothing above it. PROPERTIES: of each test, as for set_tests_properties.
#
# kx_add_script_tests(VARIABLE SCRIPT [PREFIX PREFIX] [CASES CASE ...] [WHOLE_CASES]) adds the tests of a Python script,
# or of these of its unittest classes: each method, or with WHOLE_CASES each class, is a test of CTest. Sets VARIABLE
# to their names, PREFIX with CASE or CASE.METHOD, for set_tests_properties.
#
# kx_count_heap(TARGET): support/HeapCount.h replaces the operators new and delete. Sanitizers do so, too.
#
# kx_get_time_limit(VARIABLE SECONDS): the limit of a test that may take SECONDS on a real machine.
# kx_get_startable(VARIABLE TARGET): the path by which a test starts another program of the build.

find_package(GTest REQUIRED)
find_package(Python3 3.10 REQUIRED COMPONENTS Interpreter)
include(GoogleTest)

set(KXAPI_TIME_SCALE 1 CACHE STRING "Factor by which tests may take longer than on a real machine")
mark_as_advanced(KXAPI_TIME_SCALE)

# For a program in C, clang leaves the operators to the program.
function(kx_count_heap target)
    target_sources(${target} PRIVATE "${PROJECT_SOURCE_DIR}/tests/support/HeapCount.cpp")
    if(KXAPI_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        target_link_options(${target} PRIVATE --driver-mode=gcc)
        target_link_libraries(${target} PRIVATE stdc++ m)
    endif()
endfunction()

function(kx_get_time_limit variable seconds)
    math(EXPR limit "${seconds} * ${KXAPI_TIME_SCALE}")
    set(${variable} ${limit} PARENT_SCOPE)
endfunction()

# kx_emulate(TARGET): makes a script that starts an emulated program. The program gets the script's name as its
# own, so that death tests, which start the program again, run the script. The kernel cannot start the program
# itself.
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

# kx_run_tests(TARGET plain|qt PROPERTIES...): makes tests of a GoogleTest program. Its kind is for precompiled headers.
# Their names begin with KX_TEST_PREFIX.
function(kx_run_tests target kind)
    if(KXAPI_PRECOMPILE)
        target_precompile_headers(${target} REUSE_FROM kx_precompiled_${kind})
    endif()
    kx_emulate(${target})
    if(KXAPI_SANITIZE OR CMAKE_CROSSCOMPILING_EMULATOR)
        set(name ${target})
        if(KX_TEST_PREFIX)
            set(name "${KX_TEST_PREFIX}All")
        endif()
        add_test(NAME ${name} COMMAND ${target})
        set_tests_properties(${name} PROPERTIES TIMEOUT 900 COST 50 ${ARGN})
    else()
        kx_get_time_limit(limit 120)
        gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST TEST_PREFIX "${KX_TEST_PREFIX}"
            PROPERTIES TIMEOUT ${limit} ${ARGN})
    endif()
endfunction()

function(kx_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "PLATFORM" "LAYERS;SOURCES;LIBRARIES;PROPERTIES")
    set(kind plain)
    if(NOT arg_LAYERS)
        set(kind qt)
        set(arg_LAYERS ${kx_layers} Qt${KXAPI_QT}::Core Qt${KXAPI_QT}::Gui Qt${KXAPI_QT}::Widgets)
    endif()
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE KXAPI_build_flags kx_test_flags GTest::gmock GTest::gtest_main ${arg_LIBRARIES})
    if(arg_PLATFORM STREQUAL "simulated")
        target_link_libraries(${name} PRIVATE ${arg_LAYERS} KXAPI_Simulated)
    elseif(arg_PLATFORM STREQUAL "linux")
        target_link_libraries(${name} PRIVATE ${arg_LAYERS} KXAPI_OS_ABS KXAPI_Hardware KXAPI_Utility)
    else()
        message(FATAL_ERROR "kx_add_test(${name}): PLATFORM is simulated or linux")
    endif()
    kx_run_tests(${name} ${kind} ${arg_PROPERTIES})
endfunction()

function(kx_add_script_tests variable script)
    cmake_parse_arguments(PARSE_ARGV 2 arg "WHOLE_CASES" "PREFIX" "CASES")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${script}")
    file(STRINGS "${script}" lines REGEX "^class |^    def test_")
    set(tests)
    foreach(line IN LISTS lines)
        string(REGEX MATCH "^class ([A-Za-z0-9]+)(.unittest)?|def (test_(.+))\\(" match "${line}")
        if(CMAKE_MATCH_1)
            set(case "${CMAKE_MATCH_1}")
            set(has_tests "${CMAKE_MATCH_2}")
        endif()
        if(arg_CASES AND NOT case IN_LIST arg_CASES)
            continue()
        elseif(arg_WHOLE_CASES AND CMAKE_MATCH_1 AND has_tests)
            set(selected "${case}")
            set(name "${case}")
        elseif(CMAKE_MATCH_3 AND NOT arg_WHOLE_CASES)
            set(selected "${case}.${CMAKE_MATCH_3}")
            set(name "${case}.${CMAKE_MATCH_4}")
        else()
            continue()
        endif()
        add_test(NAME "${arg_PREFIX}${name}"
            COMMAND Python3::Interpreter "${CMAKE_CURRENT_SOURCE_DIR}/${script}" -v "${selected}")
        list(APPEND tests "${arg_PREFIX}${name}")
    endforeach()
    set_tests_properties(${tests} PROPERTIES TIMEOUT 300)
    set(${variable} ${tests} PARENT_SCOPE)
endfunction()

# kx_add_test(NAME PLATFORM simulated|linux SOURCES ... [LIBRARIES ...] [PROPERTIES ...]): a GoogleTest program,
# each of whose tests is a test of CTest.
#
# PLATFORM simulated: the library's objects on the simulated platform, hidden functions included.
# PLATFORM linux: the library's objects on the real platform.
# PROPERTIES are properties of each test, as for set_tests_properties.

find_package(GTest REQUIRED)
include(GoogleTest)

function(kx_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "PLATFORM" "SOURCES;LIBRARIES;PROPERTIES")
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE KXAPI_build_flags GTest::gmock GTest::gtest_main ${arg_LIBRARIES})
    if(arg_PLATFORM STREQUAL "simulated")
        target_link_libraries(${name} PRIVATE KXAPI_Events_objects KXAPI_Simulated
            Qt5::Core Qt5::Gui Qt5::Widgets)
    elseif(arg_PLATFORM STREQUAL "linux")
        target_link_libraries(${name} PRIVATE KXAPI_Events_objects KXAPI_OS_ABS KXAPI_Hardware KXAPI_Utility
            Qt5::Core Qt5::Gui Qt5::Widgets)
    else()
        message(FATAL_ERROR "kx_add_test(${name}): PLATFORM is simulated or linux")
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120 ${arg_PROPERTIES})
endfunction()

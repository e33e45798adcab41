# The targets of the platform tests: KXAPI::PlatformTests for all of them, KXAPI::PlatformTestsPipe and so on for one
# header of the platform. They are sources, so a program that links one of them compiles the tests with its own compiler
# and links its own platform beside it. docs/guide/porting.md tells more.
#
# kx_platform_tests_dir is the folder of the sources, kx_platform_headers that of platform/. The build and the installed
# package use this file.

# For the platform itself.
add_library(KXAPI::PlatformHeaders INTERFACE IMPORTED GLOBAL)
set_target_properties(KXAPI::PlatformHeaders PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${kx_platform_headers}"
    INTERFACE_COMPILE_FEATURES cxx_std_17)

# kx_add_platform_tests(NAME NEEDS SOURCES...): NEEDS are other targets of this function.
function(kx_add_platform_tests name needs)
    list(TRANSFORM ARGN PREPEND "${kx_platform_tests_dir}/" OUTPUT_VARIABLE sources)
    list(TRANSFORM needs PREPEND KXAPI::PlatformTests)
    add_library(KXAPI::PlatformTests${name} INTERFACE IMPORTED GLOBAL)
    set_target_properties(KXAPI::PlatformTests${name} PROPERTIES
        INTERFACE_SOURCES "${sources}"
        INTERFACE_LINK_LIBRARIES "${needs};KXAPI::PlatformHeaders;GTest::gtest_main;Threads::Threads")
endfunction()

kx_add_platform_tests(Kit "" PlatformKit.cpp)
kx_add_platform_tests(String Kit StringTest.cpp)
kx_add_platform_tests(Tick Kit TickTest.cpp)
kx_add_platform_tests(Debug Kit DebugTest.cpp)
kx_add_platform_tests(Mutex Kit MutexTest.cpp)
kx_add_platform_tests(Thread Kit ThreadTest.cpp)
kx_add_platform_tests(Pipe Kit PipeTest.cpp)
kx_add_platform_tests(EndPoint Kit EndPointTest.cpp EndPointConnectionTest.cpp EndPointThreadsTest.cpp)
kx_add_platform_tests(CAN Kit CANTest.cpp)
kx_add_platform_tests("" "String;Tick;Debug;Mutex;Thread;Pipe;EndPoint;CAN")

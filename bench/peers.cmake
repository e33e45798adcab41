# Programs that compare the library with its peers; packaging/packages-bench.txt lists the peers. The target
# benchmarks builds them all.

find_package(benchmark REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0)
pkg_check_modules(UV REQUIRED IMPORTED_TARGET libuv)

find_path(KXAPI_CONCURRENTQUEUE_DIR concurrentqueue.h PATH_SUFFIXES concurrentqueue REQUIRED)
find_path(KXAPI_READERWRITERQUEUE_DIR readerwriterqueue.h PATH_SUFFIXES readerwriterqueue REQUIRED)

add_custom_target(benchmarks)
add_dependencies(benchmarks full_bus)

# kx_add_bench(SOURCE LIBRARIES...): a program with the name of its source and the main function of
# support/main.cpp. It links the shared libraries, like an application. Boost::boost is headers only: Asio,
# Lockfree.
function(kx_add_bench source)
    get_filename_component(name ${source} NAME_WE)
    add_executable(${name} ${source} support/main.cpp)
    target_link_libraries(${name} PRIVATE
        KXAPI_build_flags KXAPI::Events benchmark::benchmark Threads::Threads Qt${KXAPI_QT}::Core Boost::boost Boost::thread ${ARGN})
    add_dependencies(benchmarks ${name})
endfunction()

kx_add_bench(queues/queue_bench.cpp PkgConfig::GLIB)
target_include_directories(queue_bench SYSTEM PRIVATE ${KXAPI_CONCURRENTQUEUE_DIR} ${KXAPI_READERWRITERQUEUE_DIR})
kx_add_bench(wakeup/wakeup_bench.cpp PkgConfig::UV)
kx_add_bench(action_bench.cpp PkgConfig::GLIB)
kx_add_bench(name_bench.cpp)
set_target_properties(name_bench PROPERTIES AUTOMOC ON)

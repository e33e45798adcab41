# The programs that compare the library with its peers, which packaging/packages-bench.txt lists. The target
# benchmarks builds them all.

find_package(benchmark REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0)
pkg_check_modules(UV REQUIRED IMPORTED_TARGET libuv)

# kx_add_header_peer(NAME HEADER FOLDER): the target Peer::NAME for a peer that is headers, below FOLDER.
function(kx_add_header_peer name header)
    find_path(KXAPI_${name}_INCLUDE_DIR ${header} PATH_SUFFIXES ${ARGN} REQUIRED)
    mark_as_advanced(KXAPI_${name}_INCLUDE_DIR)
    add_library(Peer::${name} INTERFACE IMPORTED GLOBAL)
    target_include_directories(Peer::${name} INTERFACE "${KXAPI_${name}_INCLUDE_DIR}")
endfunction()

kx_add_header_peer(concurrentqueue concurrentqueue.h concurrentqueue)
kx_add_header_peer(readerwriterqueue readerwriterqueue.h readerwriterqueue)

add_custom_target(benchmarks)
add_dependencies(benchmarks full_bus)

# kx_add_bench(NAME SOURCES ... [LIBRARIES ...]): a Google Benchmark program with a main of its own, or none and
# benchmark::benchmark_main among its LIBRARIES. It links the shared libraries, as an application does.
#
# LIBRARIES may be Qt5::Core, PkgConfig::GLIB, PkgConfig::UV, Boost::thread, Boost::boost (headers: Asio, Lockfree),
# Peer::concurrentqueue and Peer::readerwriterqueue.
function(kx_add_bench name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE
        KXAPI_build_flags KXAPI::Events benchmark::benchmark Threads::Threads ${arg_LIBRARIES})
    add_dependencies(benchmarks ${name})
endfunction()

foreach(folder queues keys actions names wakeup growth)
    add_subdirectory(${folder})
endforeach()

# Installs libraries, public headers, the CMake package and the pkg-config file. Programs have their own install
# rules and need the runtime component only.

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)

include("${CMAKE_CURRENT_LIST_DIR}/KXPublicHeaders.cmake")
foreach(header IN LISTS kx_public_headers)
    get_filename_component(folder "${header}" DIRECTORY)
    install(FILES "${header}" DESTINATION "${KXAPI_INCLUDE_DIR}/${folder}")
endforeach()

# The platform tests are sources.
set(kx_platform_tests_install_dir "${CMAKE_INSTALL_DATADIR}/KXAPI_Events/platform_tests")
install(DIRECTORY platform/tests/ DESTINATION "${kx_platform_tests_install_dir}"
    FILES_MATCHING PATTERN "*.cpp" PATTERN "*Kit.h")

get_property(kx_libraries GLOBAL PROPERTY KXAPI_INSTALLED_TARGETS)
install(TARGETS ${kx_libraries} EXPORT KXAPI_Events
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")

include(CMakePackageConfigHelpers)
set(kx_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/KXAPI_Events")
if(KXAPI_PLATFORM STREQUAL "none")
    set(kx_include_own_platform [[
set(kx_platform_headers "${KXAPI_EVENTS_INCLUDE_DIR}")
include("${CMAKE_CURRENT_LIST_DIR}/KXOwnPlatform.cmake")]])
    install(FILES cmake/KXOwnPlatform.cmake DESTINATION "${kx_package_dir}")
endif()
configure_package_config_file(cmake/KXAPI_EventsConfig.cmake.in
    "${PROJECT_BINARY_DIR}/KXAPI_EventsConfig.cmake" INSTALL_DESTINATION "${kx_package_dir}"
    PATH_VARS KXAPI_INCLUDE_DIR kx_platform_tests_install_dir)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/KXAPI_EventsConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/KXAPI_EventsConfig.cmake"
    "${PROJECT_BINARY_DIR}/KXAPI_EventsConfigVersion.cmake" cmake/KXPlatformTests.cmake DESTINATION "${kx_package_dir}")
install(EXPORT KXAPI_Events FILE KXAPI_EventsTargets.cmake NAMESPACE KXAPI:: DESTINATION "${kx_package_dir}")

# kx_add_pkg_config(NAME REQUIRES LIBRARIES [FLAG...]): of one library, as kxapi-NAME, with flags for the compiler. Its
# paths are relative to the file, so that the prefix can be moved.
function(kx_add_pkg_config name requires libraries)
    file(RELATIVE_PATH to_prefix "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
    string(JOIN " " cflags "" ${ARGN}) # begins with a blank, if there is one
    configure_file(cmake/kxapi.pc.in "${PROJECT_BINARY_DIR}/kxapi-${name}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/kxapi-${name}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endfunction()

kx_add_pkg_config(events "" "-lKXAPI_Events -lKXAPI_OS_ABS -lKXAPI_Hardware -lKXAPI_Utility -lboost_thread -pthread")
# The headers of Qt refuse other code, and its own files for pkg-config do not say so.
kx_add_pkg_config(toolkit "kxapi-events Qt${KXAPI_QT}Widgets" "-lKXAPI_Toolkit" -fPIC)
kx_add_pkg_config(recording kxapi-events "-lKXAPI_Recording")
kx_add_pkg_config(replay kxapi-recording "-Wl,--whole-archive,-lKXAPI_Simulated,--no-whole-archive -lKXAPI_Replay -lboost_context")

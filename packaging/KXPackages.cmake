# CPack makes Debian packages from the components of the install rules: see docs/packages.md.

find_program(KXAPI_DPKG_ARCHITECTURE dpkg-architecture REQUIRED)
mark_as_advanced(KXAPI_DPKG_ARCHITECTURE)
execute_process(
    COMMAND "${KXAPI_DPKG_ARCHITECTURE}" "-t${CMAKE_LIBRARY_ARCHITECTURE}" -qDEB_HOST_ARCH
    OUTPUT_VARIABLE kx_architecture OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)

# The changelog has the number of the package within a version.
set(kx_changelog "${PROJECT_SOURCE_DIR}/packaging/debian/changelog.in")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${kx_changelog}")
file(STRINGS "${kx_changelog}" kx_newest LIMIT_COUNT 1)
if(NOT kx_newest MATCHES "\\(${PROJECT_VERSION}-([0-9]+)\\)")
    message(FATAL_ERROR "${kx_changelog} does not begin with a package of version ${PROJECT_VERSION}")
endif()
set(kx_revision "${CMAKE_MATCH_1}")
set(kx_package_version "${PROJECT_VERSION}-${kx_revision}")
if(NOT kx_copyright_format)
    message(FATAL_ERROR "/usr/share/doc/dpkg/copyright does not name the machine-readable format")
endif()
configure_file("${kx_changelog}" "${PROJECT_BINARY_DIR}/debian/changelog" @ONLY)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has one of its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# What is stripped off a program or a library goes into a package of its own.
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_OBJCOPY_EXECUTABLE "${CMAKE_OBJCOPY}")
set(CPACK_READELF_EXECUTABLE "${CMAKE_READELF}")
set(CPACK_KXAPI_STRIP "${CMAKE_STRIP}")
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/packaging/KXPackageFiles.cmake")
set(CPACK_POST_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/packaging/KXPackageRevise.cmake")
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/packaging/KXPackageTools.cmake")
set(CPACK_KXAPI_DEBIAN_DIR "${PROJECT_SOURCE_DIR}/packaging/debian")
set(CPACK_KXAPI_MADE_DIR "${PROJECT_BINARY_DIR}/debian")
set(CPACK_KXAPI_CHANGES "${PROJECT_SOURCE_DIR}/CHANGELOG.md")
set(CPACK_KXAPI_SYSROOT "${CMAKE_SYSROOT}")

# These packages can be installed for several architectures side by side.
set(CPACK_KXAPI_MULTIARCH_SAME runtime development)

set(CPACK_COMPONENTS_ALL runtime development terminal tools)
if(NOT CMAKE_CROSSCOMPILING) # it is the same for all architectures
    list(APPEND CPACK_COMPONENTS_ALL documentation)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_PACKAGE_SOURCE kxapi-events)
set(CPACK_DEBIAN_PACKAGE_RELEASE "${kx_revision}")
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE "${kx_architecture}")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${KXAPI_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${KXAPI_HOMEPAGE}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

# dpkg-shlibdeps finds the dependencies, except for the libraries that are packaged here.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
foreach(library KXAPI_Events KXAPI_Toolkit KXAPI_Recording KXAPI_Replay KXAPI_OS_ABS KXAPI_Hardware KXAPI_Utility)
    get_target_property(folder ${library} BINARY_DIR)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${folder}")
endforeach()

set(kx_description "The libraries number and name events, carry them between threads, and turn
keys, mouse, wheel and rotary encoder, of a keypad on the CAN bus too, into
presses, double and long presses, releases and accelerated moves.
.
This package holds")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "libkxapi-events${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/debian/triggers")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "event layer of an embedded operator terminal
${kx_description} the libraries that programs need to run.")

# The symbols of earlier versions, with the version in which each came.
set(CPACK_KXAPI_SYMBOLS "${PROJECT_SOURCE_DIR}/packaging/debian/symbols.${kx_architecture}")
set(CPACK_KXAPI_SYMBOLS_PACKAGE "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME}")

set(kx_runtime_dependency "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${kx_package_version})")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkxapi-events-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS 
    "${kx_runtime_dependency}, libboost-context-dev (>= 1.74), libboost-thread-dev (>= 1.74)")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "qtbase5-dev (>= 5.15)") # for the headers of KXAPI::Toolkit
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "libgtest-dev, libkxapi-events-doc") # the former for the platform tests
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "event layer of an embedded operator terminal, for development
${kx_description} what programs are built with: the headers, the CMake
package KXAPI_Events, files for pkg-config, the simulated platform, on
which programs run in virtual time, and the tests that check a platform.")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME libkxapi-events-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DOCUMENTATION_DEBUGINFO_PACKAGE OFF)
set(CPACK_COMPONENT_DOCUMENTATION_DESCRIPTION "event layer of an embedded operator terminal, documentation
${kx_description} a guide that begins with a first application, and the
reference of all headers: /usr/share/doc/libkxapi-events-doc/html/index.html.")
# packaging/make-packages makes the site.
install(DIRECTORY "${PROJECT_BINARY_DIR}/site/html" COMPONENT documentation
    DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME}")
install(FILES packaging/debian/documentation.doc-base COMPONENT documentation
    DESTINATION "${CMAKE_INSTALL_DATADIR}/doc-base"
    RENAME "${CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME}.kxapi-events")

set(CPACK_DEBIAN_TERMINAL_PACKAGE_NAME kxterminal)
set(CPACK_DEBIAN_TERMINAL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TERMINAL_PACKAGE_DEPENDS "${kx_runtime_dependency}")
set(CPACK_DEBIAN_TERMINAL_PACKAGE_RECOMMENDS "fonts-dejavu-core | fonts-freefont-ttf") # without any font Qt draws no text
set(CPACK_DEBIAN_TERMINAL_PACKAGE_SUGGESTS kxapi-tools)
set(CPACK_COMPONENT_TERMINAL_DESCRIPTION "operator terminal in a window that shows its events
kxterminal shows and prints the events that come of keys, mouse, wheel, rotary
encoder and a keypad on the CAN bus. It records sessions and replays them, in
a window of a desktop or on a bare frame buffer.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kxapi-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${kx_runtime_dependency}")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "${CPACK_DEBIAN_TERMINAL_PACKAGE_RECOMMENDS}")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "tools for recorded sessions of an operator terminal, and for its CAN bus
kxreplay plays recorded sessions in virtual time and compares what comes of
them. It counts gestures over thousands of recordings, and draws time lines.
kxcan puts frames and logs onto a CAN bus. Neither needs a display.")

include(CPack)

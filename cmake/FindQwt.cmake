# Defines Qwt::Qwt, Qwt for Qt 5, which has no CMake package of its own. Debian calls the library qwt-qt5 and has a
# folder for its headers; other systems use plain names.

find_path(Qwt_INCLUDE_DIR qwt_global.h PATH_SUFFIXES qwt qwt-qt5 qwt6-qt5)
find_library(Qwt_LIBRARY NAMES qwt-qt5 qwt)
mark_as_advanced(Qwt_INCLUDE_DIR Qwt_LIBRARY)

if(Qwt_INCLUDE_DIR)
    set(version_line "#define[ \t]+QWT_VERSION_STR[ \t]+\"([0-9.]+)\"")
    file(STRINGS "${Qwt_INCLUDE_DIR}/qwt_global.h" Qwt_VERSION REGEX "${version_line}")
    string(REGEX REPLACE ".*${version_line}.*" "\\1" Qwt_VERSION "${Qwt_VERSION}")
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Qwt
    REQUIRED_VARS Qwt_LIBRARY Qwt_INCLUDE_DIR VERSION_VAR Qwt_VERSION)

if(Qwt_FOUND AND NOT TARGET Qwt::Qwt)
    add_library(Qwt::Qwt UNKNOWN IMPORTED)
    set_target_properties(Qwt::Qwt PROPERTIES
        IMPORTED_LOCATION "${Qwt_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${Qwt_INCLUDE_DIR}"
        INTERFACE_LINK_LIBRARIES Qt5::Widgets)
endif()

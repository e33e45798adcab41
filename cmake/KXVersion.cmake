# Sets kx_version to the version that events/KXVersion.h tells.

set(kx_version)
foreach(part MAJOR MINOR PATCH)
    set(line "^#define KXAPI_EVENTS_VERSION_${part} ([0-9]+)$")
    file(STRINGS "${CMAKE_CURRENT_LIST_DIR}/../events/KXVersion.h" found REGEX "${line}")
    if(NOT found MATCHES "${line}")
        message(FATAL_ERROR "events/KXVersion.h does not tell KXAPI_EVENTS_VERSION_${part}")
    endif()
    list(APPEND kx_version "${CMAKE_MATCH_1}")
endforeach()
list(JOIN kx_version . kx_version)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CMAKE_CURRENT_LIST_DIR}/../events/KXVersion.h")

# KXAPI_PLATFORM=none: the integrator brings the three platform libraries. An outer project may define the targets
# KXAPI::OS_ABS, KXAPI::Hardware and KXAPI::Utility first. CMake finds the others (CMAKE_PREFIX_PATH, or
# -DKXAPI_OS_ABS_LIBRARY=FILE and so on). kx_platform_headers is the folder of platform/, which they implement.
# The build and the installed package use this file.

foreach(library OS_ABS Hardware Utility)
    if(NOT TARGET KXAPI::${library})
        find_library(KXAPI_${library}_LIBRARY KXAPI_${library}
            DOC "The platform library libKXAPI_${library}")
        if(NOT KXAPI_${library}_LIBRARY)
            message(FATAL_ERROR "Your platform library libKXAPI_${library} is not found. Name its prefix with \
-DCMAKE_PREFIX_PATH, or its file with -DKXAPI_${library}_LIBRARY.")
        endif()
        add_library(KXAPI::${library} SHARED IMPORTED GLOBAL)
        set_target_properties(KXAPI::${library} PROPERTIES
            IMPORTED_LOCATION "${KXAPI_${library}_LIBRARY}"
            INTERFACE_INCLUDE_DIRECTORIES "${kx_platform_headers}")
    endif()
endforeach()

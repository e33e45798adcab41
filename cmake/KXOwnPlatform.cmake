# KXAPI_PLATFORM=none: the three platform libraries are the integrator's. A project that builds this one within itself
# defines KXAPI::OS_ABS, KXAPI::Hardware and KXAPI::Utility before; else the libraries are looked for where CMake looks
# for libraries (CMAKE_PREFIX_PATH, or -DKXAPI_OS_ABS_LIBRARY=FILE and so on). Used here and by the installed package.
# kx_platform_headers is the folder above platform/, whose headers the libraries implement.

foreach(library OS_ABS Hardware Utility)
    if(NOT TARGET KXAPI::${library})
        find_library(KXAPI_${library}_LIBRARY KXAPI_${library}
            DOC "The platform library libKXAPI_${library}" REQUIRED)
        add_library(KXAPI::${library} SHARED IMPORTED GLOBAL)
        set_target_properties(KXAPI::${library} PROPERTIES 
            IMPORTED_LOCATION "${KXAPI_${library}_LIBRARY}"
            INTERFACE_INCLUDE_DIRECTORIES "${kx_platform_headers}")
    endif()
endforeach()

# CPack reads it before it makes packages. Packages for another machine depend on that machine's packages.

if(CPACK_KXAPI_SYSROOT)
    set(ENV{KXAPI_SYSROOT} "${CPACK_KXAPI_SYSROOT}")
    set(ENV{KXAPI_ARCHITECTURE} "${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}")
    set(SHLIBDEPS_EXECUTABLE "${CPACK_KXAPI_DEBIAN_DIR}/../target-shlibdeps")
endif()

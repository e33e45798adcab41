# Read by CPack before it makes packages. What is built for another machine depends on that machine's packages, not
# on those that are installed here.

if(CPACK_KXAPI_SYSROOT)
    set(ENV{KXAPI_SYSROOT} "${CPACK_KXAPI_SYSROOT}")
    set(ENV{KXAPI_ARCHITECTURE} "${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}")
    set(SHLIBDEPS_EXECUTABLE "${CPACK_KXAPI_DEBIAN_DIR}/../target-shlibdeps")
endif()

# CPack runs it on the finished packages. Changes what CPack has no setting for.

find_program(dpkg_deb dpkg-deb REQUIRED)
find_program(dpkg_gensymbols dpkg-gensymbols REQUIRED)

function(run)
    execute_process(COMMAND ${ARGN} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# Tells which version of the libraries a program needs at least: that in which its symbols came. Fails when a symbol is
# gone. The list with the new symbols is written beside the packages.
function(add_symbols folder)
    set(reference)
    if(EXISTS "${CPACK_KXAPI_SYMBOLS}")
        set(reference "-I${CPACK_KXAPI_SYMBOLS}")
    endif()
    # It looks for the libraries in the folders of this architecture.
    set(ENV{DEB_HOST_ARCH} "${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}")
    run("${dpkg_gensymbols}" "-p${CPACK_KXAPI_SYMBOLS_PACKAGE}" "-v${CPACK_PACKAGE_VERSION}" "-P${folder}" ${reference}
        "-a${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}" "-O${folder}/DEBIAN/symbols" -c1)
    file(READ "${folder}/DEBIAN/symbols" symbols)
    string(REGEX REPLACE "\n\\* Build-Depends-Package: [^\n]*" "" symbols "${symbols}")
    string(REPLACE " #MINVER#\n" " #MINVER#\n* Build-Depends-Package: ${CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME}\n"
        symbols "${symbols}")
    file(WRITE "${folder}/DEBIAN/symbols" "${symbols}")
    file(COPY_FILE "${folder}/DEBIAN/symbols" "${CPACK_KXAPI_MADE_DIR}/symbols")
endfunction()

set(multi_arch_same)
foreach(component IN LISTS CPACK_KXAPI_MULTIARCH_SAME)
    string(TOUPPER "${component}" upper)
    list(APPEND multi_arch_same "${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
endforeach()

set(folder "${CPACK_TEMPORARY_DIRECTORY}/revised")
foreach(file IN LISTS CPACK_PACKAGE_FILES)
    file(REMOVE_RECURSE "${folder}")
    run("${dpkg_deb}" --raw-extract "${file}" "${folder}")

    file(READ "${folder}/DEBIAN/control" control)
    string(REGEX MATCH "Package: ([^\n]+)\n" line "${control}")
    set(package "${CMAKE_MATCH_1}")
    if(package IN_LIST multi_arch_same)
        string(REPLACE "${line}" "${line}Multi-Arch: same\n" control "${control}")
        file(WRITE "${folder}/DEBIAN/control" "${control}")
    endif()
    if(package STREQUAL CPACK_KXAPI_SYMBOLS_PACKAGE)
        add_symbols("${folder}")
    endif()

    # They call ldconfig; the trigger calls it once for all packages that are installed together.
    file(REMOVE "${folder}/DEBIAN/postinst" "${folder}/DEBIAN/postrm")

    run("${dpkg_deb}" --root-owner-group --build "${folder}" "${file}")
endforeach()
file(REMOVE_RECURSE "${folder}")

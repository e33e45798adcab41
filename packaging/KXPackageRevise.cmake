# CPack runs it on the finished packages. Changes what CPack has no setting for.

find_program(dpkg_deb dpkg-deb REQUIRED)

function(run)
    execute_process(COMMAND ${ARGN} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(multi_arch_same)
foreach(component IN LISTS CPACK_KXAPI_MULTIARCH_SAME)
    string(TOUPPER "${component}" upper)
    list(APPEND multi_arch_same "${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
endforeach()

set(folder "${CPACK_TEMPORARY_DIRECTORY}/revised")
foreach(package IN LISTS CPACK_PACKAGE_FILES)
    file(REMOVE_RECURSE "${folder}")
    run("${dpkg_deb}" --raw-extract "${package}" "${folder}")

    file(READ "${folder}/DEBIAN/control" control)
    string(REGEX MATCH "Package: ([^\n]+)\n" line "${control}")
    if(CMAKE_MATCH_1 IN_LIST multi_arch_same)
        string(REPLACE "${line}" "${line}Multi-Arch: same\n" control "${control}")
        file(WRITE "${folder}/DEBIAN/control" "${control}")
    endif()

    # They call ldconfig; the trigger calls it once for all packages that are installed together.
    file(REMOVE "${folder}/DEBIAN/postinst" "${folder}/DEBIAN/postrm")

    run("${dpkg_deb}" --root-owner-group --build "${folder}" "${package}")
endforeach()
file(REMOVE_RECURSE "${folder}")

# CPack runs it on the installed components. Adds the files that Debian wants in each package.

find_program(gzip gzip REQUIRED)

# Without the file's name and time, so that the same contents give the same package.
function(compress file)
    execute_process(COMMAND "${gzip}" -9nf "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# write(TEXT_FILE FOLDER NAME): copies the file so that everybody can read it.
function(write text_file folder name)
    file(MAKE_DIRECTORY "${folder}")
    configure_file("${text_file}" "${folder}/${name}" COPYONLY NO_SOURCE_PERMISSIONS)
endfunction()

# strip(FILE OPTIONS...): also takes off the compiler's version.
function(strip file)
    execute_process(COMMAND "${CPACK_KXAPI_STRIP}" ${ARGN} --remove-section=.comment --remove-section=.note "${file}"
        COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(debian "${CPACK_KXAPI_DEBIAN_DIR}")
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER "${component}" upper)
    set(package "${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
    set(share "${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share")

    write("${CPACK_KXAPI_MADE_DIR}/copyright" "${share}/doc/${package}" copyright)
    write("${CPACK_KXAPI_MADE_DIR}/changelog" "${share}/doc/${package}" changelog.Debian)
    write("${CPACK_KXAPI_CHANGES}" "${share}/doc/${package}" changelog)
    compress("${share}/doc/${package}/changelog.Debian")
    compress("${share}/doc/${package}/changelog")
    write("${debian}/${component}.lintian-overrides" "${share}/lintian/overrides" "${package}")

    file(GLOB_RECURSE manual_pages "${share}/man/*.[1-9]")
    foreach(page IN LISTS manual_pages)
        compress("${page}")
    endforeach()

    file(GLOB_RECURSE archives "${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/lib/*.a")
    foreach(archive IN LISTS archives)
        strip("${archive}" --strip-debug --enable-deterministic-archives)
    endforeach()
    # CPack takes the debug information off these.
    file(GLOB_RECURSE programs "${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/bin/*"
        "${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/lib/*.so.*.*")
    foreach(program IN LISTS programs)
        strip("${program}" --strip-dwo)
    endforeach()

    # CPack creates folders with the caller's umask.
    file(CHMOD_RECURSE "${share}" DIRECTORY_PERMISSIONS
        OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
endforeach()

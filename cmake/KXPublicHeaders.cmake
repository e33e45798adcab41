# The one list of installed headers, as kx_public_headers: the installation, the documents and tests use it.
# `cmake -P cmake/KXPublicHeaders.cmake` prints it, a header a line.

# The public headers tell by their names: what is exported bears the prefix. Others are the library's own.
if(CMAKE_SCRIPT_MODE_FILE)
    set(kx_watch_folders) # a script has no build that could depend on them
else()
    set(kx_watch_folders CONFIGURE_DEPENDS)
endif()
get_filename_component(kx_top "${CMAKE_CURRENT_LIST_DIR}" DIRECTORY)
set(kx_header_patterns
    events/KX*.h events/sync/KX*.h encoder/KX*.h actions/KX*.h input/KX*.h input/CANRemote*.h
    toolkit/KX*.h recording/KX*.h replay/KX*.h
    platform/KX*.h platform/simulated/KXSimulation.h platform/tests/KXPlatformAdapter.h)
list(TRANSFORM kx_header_patterns PREPEND "${kx_top}/")
file(GLOB kx_public_headers RELATIVE "${kx_top}" ${kx_watch_folders} ${kx_header_patterns})

if(CMAKE_SCRIPT_MODE_FILE)
    list(JOIN kx_public_headers "\n" kx_lines)
    execute_process(COMMAND "${CMAKE_COMMAND}" -E echo "${kx_lines}")
endif()

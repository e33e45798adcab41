# The programs of Qt that run while the project is built. To be included before Qt is looked for, whose package
# would otherwise offer those of the target.

if(NOT CMAKE_CROSSCOMPILING)
    return()
endif()

foreach(tool moc rcc uic)
    find_program(KXAPI_HOST_${tool} NAMES ${tool} HINTS /usr/lib/qt5/bin /usr/lib64/qt5/bin REQUIRED)
    mark_as_advanced(KXAPI_HOST_${tool})
    add_executable(Qt5::${tool} IMPORTED GLOBAL)
    set_target_properties(Qt5::${tool} PROPERTIES IMPORTED_LOCATION "${KXAPI_HOST_${tool}}")
endforeach()

# Qt 5's programs that run during the build. Include it before find_package(Qt5), which would use the target's
# programs. Qt 6 asks for QT_HOST_PATH instead.

if(NOT CMAKE_CROSSCOMPILING OR NOT KXAPI_QT EQUAL 5)
    return()
endif()

foreach(tool moc rcc uic)
    find_program(KXAPI_HOST_${tool} NAMES ${tool} HINTS /usr/lib/qt5/bin /usr/lib64/qt5/bin REQUIRED)
    mark_as_advanced(KXAPI_HOST_${tool})
    add_executable(Qt5::${tool} IMPORTED GLOBAL)
    set_target_properties(Qt5::${tool} PROPERTIES IMPORTED_LOCATION "${KXAPI_HOST_${tool}}")
endforeach()

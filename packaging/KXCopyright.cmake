# The licences of the project, and of what is compiled into its programs or linked with them. Who passes on programs
# passes on this file.

include(packaging/maker.cmake)

# A machine-readable copyright file begins with the name of its format. dpkg has one, and is on each Debian system.
set(kx_copyright_format "")
if(EXISTS /usr/share/doc/dpkg/copyright)
    file(STRINGS /usr/share/doc/dpkg/copyright kx_copyright_format LIMIT_COUNT 1
        REGEX "^Format: .*/copyright-format/1\\.0/$")
endif()
configure_file(packaging/debian/copyright.in "${PROJECT_BINARY_DIR}/debian/copyright" @ONLY)

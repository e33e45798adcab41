# Who makes the packages: put your own here, or hand them to CMake with -D. The packages, their change log and their
# copyright file name them, and SECURITY.md sends reports to the maintainer.

set(KXAPI_MAINTAINER "KXAPI_Events maintainers <maintainers@kxapi-events.example>" CACHE STRING
    "Name and address of the maintainer of the packages")
set(KXAPI_HOMEPAGE "https://kxapi-events.example" CACHE STRING "Where the project is told about")

# A big-endian machine: not one that routers are made of, but one that shows a wrong order of bytes.
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(quorvadArch s390x)
set(quorvadTriplet s390x-linux-gnu)
set(quorvadQemu s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)

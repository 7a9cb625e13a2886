# A big-endian machine: no router, but it reveals errors of byte order.
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(quorvadArch s390x)
set(quorvadTriplet s390x-linux-gnu)
set(quorvadQemu s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)

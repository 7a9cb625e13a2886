# 64-bit ARM.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(quorvadArch arm64)
set(quorvadTriplet aarch64-linux-gnu)
set(quorvadQemu aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)

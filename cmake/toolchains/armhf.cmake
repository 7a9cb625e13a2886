# 32-bit ARM, version 7 with a floating point unit.
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(quorvadArch armhf)
set(quorvadTriplet arm-linux-gnueabihf)
set(quorvadQemu arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)

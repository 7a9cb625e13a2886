# Shared by the toolchain files of all architectures: Debian's cross compiler, the libraries that scripts/build-sysroot
# fetched, and qemu-user to run programs. Set before: quorvadTriplet, quorvadArch (Debian's name), quorvadQemu
# (qemu-user's name).
set(CMAKE_SYSTEM_NAME Linux)
# This file is also read for try_compile, which knows only the variables named here.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUORVAD_DEPS_DIR)
# As a cache entry of this type, a relative path of the command line becomes absolute.
get_filename_component(quorvadRoot ${CMAKE_CURRENT_LIST_DIR}/../.. ABSOLUTE)
set(QUORVAD_DEPS_DIR ${quorvadRoot}/.deps/${quorvadArch} CACHE PATH "Folder of the private dependencies and the sysroot")
set(CMAKE_SYSROOT ${QUORVAD_DEPS_DIR}/sysroot)
set(CMAKE_C_COMPILER ${quorvadTriplet}-gcc)
set(CMAKE_CXX_COMPILER ${quorvadTriplet}-g++)
set(CMAKE_STRIP ${quorvadTriplet}-strip)
set(CMAKE_LIBRARY_ARCHITECTURE ${quorvadTriplet})

set(CMAKE_FIND_ROOT_PATH ${CMAKE_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${quorvadTriplet}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")

find_program(QUORVAD_QEMU qemu-${quorvadQemu})
if(QUORVAD_QEMU)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${QUORVAD_QEMU} -L ${CMAKE_SYSROOT})
endif()

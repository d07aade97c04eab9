# Shared part of the toolchain files arm64.cmake and armhf.cmake: Debian's cross
# compiler for PKGUPDATE_CROSS_TRIPLE, Qt's build tools (moc, rcc, uic, lrelease)
# from the build machine, and the device's libraries from a sysroot.
#
# PKGUPDATE_SYSROOT (cache or environment variable) names the sysroot, a tree of
# Debian's ARM packages (tools/cross makes one). Without it the ARM libraries are
# looked for where Debian's multiarch packages (qt6-base-dev:arm64) put them.
# PKGUPDATE_QEMU names the user-mode emulator that CTest starts the tests with.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${PKGUPDATE_CROSS_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${PKGUPDATE_CROSS_TRIPLE}-g++)

if(NOT PKGUPDATE_SYSROOT AND DEFINED ENV{PKGUPDATE_SYSROOT})
    set(PKGUPDATE_SYSROOT $ENV{PKGUPDATE_SYSROOT})
endif()
if(PKGUPDATE_SYSROOT)
    set(CMAKE_SYSROOT ${PKGUPDATE_SYSROOT})
endif()
# Test compilations made while configuring read this file again, without the cache.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PKGUPDATE_SYSROOT)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The build machine's Qt runs the code generators; Linguist's tools come from
# there too, as the ARM tree has none that could run here.
set(PKGUPDATE_HOST_CMAKE_DIR /usr/lib/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu/cmake)
set(QT_HOST_PATH /usr)
set(QT_HOST_PATH_CMAKE_DIR ${PKGUPDATE_HOST_CMAKE_DIR})
set(Qt6HostInfo_DIR ${PKGUPDATE_HOST_CMAKE_DIR}/Qt6HostInfo)
set(Qt5LinguistTools_DIR ${PKGUPDATE_HOST_CMAKE_DIR}/Qt5LinguistTools)

if(NOT PKGUPDATE_QEMU)
    set(PKGUPDATE_QEMU ${PKGUPDATE_QEMU_NAME})
endif()
if(PKGUPDATE_SYSROOT)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${PKGUPDATE_QEMU} -L ${PKGUPDATE_SYSROOT})
else()
    set(CMAKE_CROSSCOMPILING_EMULATOR ${PKGUPDATE_QEMU})
endif()

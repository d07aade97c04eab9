# Cross build for a 32-bit ARMv7 hard-float device (Debian architecture armhf);
# see debian-cross.cmake.
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(PKGUPDATE_CROSS_TRIPLE arm-linux-gnueabihf)
set(PKGUPDATE_QEMU_NAME qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)

# Cross build for a 64-bit ARM device (Debian architecture arm64); see debian-cross.cmake.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(PKGUPDATE_CROSS_TRIPLE aarch64-linux-gnu)
set(PKGUPDATE_QEMU_NAME qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)

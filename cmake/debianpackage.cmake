# "cpack -G DEB" in a build tree makes pkgupdate_<version>_<arch>.deb, which
# installs /usr/local/bin/pkgupdate. The architecture follows the compiler's
# target, so cross builds are packaged for the device, not for the build machine.
# The dependencies are named rather than computed by dpkg-shlibdeps, which cannot
# see the libraries of a cross build's sysroot.

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
    set(PKGUPDATE_DEB_ARCH arm64)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
    set(PKGUPDATE_DEB_ARCH armhf)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
    set(PKGUPDATE_DEB_ARCH amd64)
else()
    set(PKGUPDATE_DEB_ARCH ${CMAKE_SYSTEM_PROCESSOR})
endif()

# Qt's libraries and platform plugins (linuxfb on the device), and the programs
# the installer runs: openssl to verify, tar with bzip2 to unpack, mount to resize /tmp.
if(QT_VERSION_MAJOR EQUAL 5)
    set(PKGUPDATE_DEB_QT "libqt5core5a (>= 5.15), libqt5gui5 (>= 5.15), libqt5widgets5 (>= 5.15)")
else()
    set(PKGUPDATE_DEB_QT "libqt6core6 (>= 6.4), libqt6gui6 (>= 6.4), libqt6widgets6 (>= 6.4), qt6-qpa-plugins")
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME pkgupdate)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "corvane device software <software@corvane.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Software-update installer of the corvane touch panel")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr/local)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${PKGUPDATE_DEB_ARCH})
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6, libstdc++6, ${PKGUPDATE_DEB_QT}, openssl, tar, bzip2, mount")
include(CPack)

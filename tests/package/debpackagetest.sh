#!/usr/bin/env bash
# Usage: debpackagetest.sh BUILD_DIR DEVICE_SANDBOX
# Packages BUILD_DIR with cpack, installs the .deb with dpkg into /tmp/root of the
# simulated device, and checks what a device maker sees: the file name, the package's
# fields, the installed file, the machine its program is built for, and "-v".
set -euo pipefail
build=$1
sandbox=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

(cd "$scratch" && cpack --config "$build/CPackConfig.cmake" -B "$scratch/out" >"$scratch/cpack.log") ||
    { cat "$scratch/cpack.log"; fail "cpack"; }
debs=("$scratch"/out/*.deb)
[ ${#debs[@]} = 1 ] || fail "expected one package, got: ${debs[*]##*/}"
deb=${debs[0]}
version=$(dpkg-deb -f "$deb" Version)
arch=$(dpkg-deb -f "$deb" Architecture)
[ "${deb##*/}" = "pkgupdate_${version}_$arch.deb" ] || fail "file name ${deb##*/}"
[ "$(dpkg-deb -f "$deb" Package)" = pkgupdate ] || fail "package name"
dpkg-deb -f "$deb" Depends | grep -Eq 'libqt[56]widgets.*openssl.*bzip2' || fail "Depends: $(dpkg-deb -f "$deb" Depends)"

dpkg-deb -x "$deb" "$scratch/files"
machine=$(od -An -tx1 -j18 -N2 "$scratch/files/usr/local/bin/pkgupdate" | tr -d ' ')
case "$arch" in
    amd64) [ "$machine" = 3e00 ] ;;
    arm64) [ "$machine" = b700 ] ;;
    armhf) [ "$machine" = 2800 ] ;;
    *) false ;;
esac || fail "a program for ELF machine $machine in a package for $arch"

# shellcheck disable=SC2016 # expanded by the shell on the device
answer=$("$sandbox" --ro "$scratch/out" -- /bin/sh -c 'mkdir -p /tmp/root/var/lib/dpkg/info &&
    touch /tmp/root/var/lib/dpkg/status &&
    dpkg --root=/tmp/root --force-not-root --force-depends --force-architecture -i "$1" >/dev/null 2>&1 &&
    dpkg --root=/tmp/root -L pkgupdate | grep -x /usr/local/bin/pkgupdate >/dev/null &&
    /tmp/root/usr/local/bin/pkgupdate -v' sh "$deb") || fail "install and -v"
[ "$answer" = "$version" ] || fail "pkgupdate -v answered '$answer' from the package of version $version"
echo "$arch package $version: installed, answers -v with $version"

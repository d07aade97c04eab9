#!/usr/bin/env bash
# Builds the screenshot tool in a build directory and renders the installer's
# windows into an output directory.
#
# Usage: screenshots.sh <build directory> <output directory> [extra cmake options...]
# Example: tools/screenshots/screenshots.sh build/shots /tmp/pkgupdate-shots -DQT_VERSION_MAJOR=5
set -euo pipefail

if [ $# -lt 2 ]; then
    echo "usage: $0 <build directory> <output directory> [cmake option...]" >&2
    exit 2
fi
build=$(realpath -m "$1")
output=$(realpath -m "$2")
shift 2
cd "$(dirname "$0")/../.."

cmake --preset qt6 -B "$build" "$@" >/dev/null
cmake --build "$build" -j2 --target pkgupdate-screenshots
"$build/tools/screenshots/pkgupdate-screenshots" "$output"

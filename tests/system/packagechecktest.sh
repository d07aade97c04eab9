#!/usr/bin/env bash
# What the device maker's tools say about packages the installer would handle
# badly, compared with data/package-check.ref (PKGUPDATE_UPDATE_GOLDEN rewrites it).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tools="$here/../../tools"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
help="$work/links/usr/local/share/corvane/help"
mkdir -p "$help/img" "$work/big" "$work/out" && echo png >"$help/img/logo.png"
ln -s logo.png "$help/img/logo"
ln -s img "$help/images"
ln -s /usr/local/share/corvane "$help/share"
truncate -s 150000000 "$work/big/zeros"
tar --mtime=@0 --owner=0 --group=0 --numeric-owner -cjf "$work/out/big-1.0.0-BSP-1.36.0.tar.bz2" -C "$work/big" .
{
    "$tools/make-package" tree --name doc --version 1.0.0 --bsp 1.36.0 --no-signature --out "$work/out" \
        "$work/links" 2>&1 && echo "built" || echo "exit $?"
    ls "$work/out"
    "$tools/package-check" "$work/out/big-1.0.0-BSP-1.36.0.tar.bz2" || echo "exit $?"
} >"$work/actual"
if [ -n "${PKGUPDATE_UPDATE_GOLDEN:-}" ]; then cp "$work/actual" "$here/data/package-check.ref"; fi
diff -u "$here/data/package-check.ref" "$work/actual"

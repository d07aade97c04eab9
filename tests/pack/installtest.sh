#!/usr/bin/env bash
# pkgupdate-pack as a device maker installs it (cmake --install BUILD --component
# tools): simulate runs from the installed files and writes into the current
# directory; the man page and the bash completion come with it. Prints what a
# person would check and compares it with the expected lines below.
set -euo pipefail
build=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build" --component tools --prefix "$scratch/prefix" >/dev/null
cd "$scratch"
pack=$scratch/prefix/bin/pkgupdate-pack
{
    "$pack" keygen keys
    mkdir -p tree/usr/local/bin
    printf '#!/bin/sh\necho 3.1.0\n' >tree/usr/local/bin/corvane && chmod 755 tree/usr/local/bin/corvane
    "$pack" build tree --name bin --version 3.1.0 --bsp 1.36.0 --key keys/private.pem --out stick tree
} >/dev/null
actual=$(
    "$pack" simulate --key keys/public.pem stick | grep -E '^(== Next|  changed)'
    echo "reports here: $(find . -maxdepth 2 -path './simulate.*/report.txt' | wc -l)"
    grep -E '^\.SH (KEYGEN|BUILD|CHECK|SIMULATE|INFO|RESIGN)$' prefix/share/man/man1/pkgupdate-pack.1 | tr '\n' ' '
    echo
    # shellcheck source=/dev/null
    source prefix/share/bash-completion/completions/pkgupdate-pack
    COMP_WORDS=("$pack" re) && COMP_CWORD=1 && _pkgupdate_pack && echo "${COMPREPLY[*]}"
    COMP_WORDS=("$pack" info --j) && COMP_CWORD=2 && _pkgupdate_pack && echo "${COMPREPLY[*]}"
)
expected='  changed /usr/local/bin/corvane  755 2729e484f5fa7b33
== Next: reboot the device (/sbin/reboot)
reports here: 1
.SH KEYGEN .SH BUILD .SH CHECK .SH SIMULATE .SH INFO .SH RESIGN 
resign
--json'
diff <(echo "$expected") <(echo "$actual")

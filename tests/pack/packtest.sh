#!/usr/bin/env bash
# Runs the command lines of data/NAME.txt in a work directory ("pack" is the command
# given as the arguments after NAME) and compares what they print and their exit
# statuses with data/NAME.ref (PKGUPDATE_UPDATE_GOLDEN rewrites it). Lines starting
# with "> " prepare files and are not shown; "#" lines are comments.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
name=$1
shift
command=("$@")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/work"
cd "$scratch/work"
umask 022

# shellcheck disable=SC2317 # the functions are called from the table's lines
{
pack() { "${command[@]}" "$@"; }
interrupted() { timeout -s INT "$1" "${command[@]}" "${@:2}"; }
sandbox() { "$here/../../simdevice/device-sandbox" "$@"; }
# The archive's members with mode and size, without the dates and owners that change,
# in the order of their paths.
listing() { tar -tvjf "$1" | awk '{ $2 = $4 = $5 = ""; print }' | tr -s ' ' | sort -k3; }
conf() { tar -xOjf "$1" ./UPDATE.CONF; }
verify() { openssl dgst -sha1 -verify keys/public.pem -signature "$1.sha1" "$1"; }
}

while IFS= read -r line; do
    case "$line" in
        '' | '#'*) ;;
        '> '*) eval "${line#> }" </dev/null >/dev/null ;;
        *) printf '\n$ %s\n' "$line"
           status=0
           eval "$line" </dev/null >"$scratch/stdout" 2>"$scratch/stderr" || status=$?
           cat "$scratch/stdout"
           sed 's/^/stderr: /' "$scratch/stderr"
           echo "exit $status" ;;
    esac
done <"$here/data/$name.txt" | sed -E "s|$scratch/work|WORK|g; s/from [0-9]+ bytes/from N bytes/" >"$scratch/actual"
if [ -n "${PKGUPDATE_UPDATE_GOLDEN:-}" ]; then cp "$scratch/actual" "$here/data/$name.ref"; fi
diff -u "$here/data/$name.ref" "$scratch/actual"

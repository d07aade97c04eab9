#!/usr/bin/env python3
"""Writes the file trees that bench/mainjob packs into packages.

    makedata.py help DIR    1550 files, 30 MB, about 40 % of it incompressible,
                            under usr/local/share/corvane/help (a help-files package)
    makedata.py small DIR   10,000 files of 1 kB in 100 directories under usr/local/share
    makedata.py blob FILE MB  one file of MB megabytes that bzip2 can hardly shrink
    makedata.py mixed FILE MB one file of MB megabytes that bzip2 halves

The contents come from a fixed seed, so every run packs the same bytes.
"""
import os
import random
import sys

TEXT = (b"The technician taps Install; the panel verifies, unpacks and copies. " * 64)


def mixed_bytes(rng, size):
    """size bytes, about 40 % random and 60 % text, which bzip2 packs to about 43 %."""
    out = bytearray()
    while len(out) < size:
        out += rng.randbytes(1638)
        out += TEXT[: 2458]
    return bytes(out[:size])


def write(path, data, mode=0o644):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as f:
        f.write(data)
    os.chmod(path, mode)


def help_tree(top):
    rng = random.Random(1)
    base = os.path.join(top, "usr/local/share/corvane/help")
    total = 30 * 1024 * 1024
    count = 1550
    for i in range(count):
        size = total // count
        sub = ("de", "en", "fr", "it", "es")[i % 5]
        folder = os.path.join(base, sub, "chapter%02d" % (i // 50))
        write(os.path.join(folder, "page%04d.html" % i), mixed_bytes(rng, size))
    write(os.path.join(base, "version.txt"), b"version=9.9.9\n")


def small_tree(top):
    rng = random.Random(2)
    for d in range(100):
        for f in range(100):
            path = os.path.join(top, "usr/local/share/corvane/data/set%02d/item%03d.dat" % (d, f))
            write(path, mixed_bytes(rng, 1024))


def main():
    kind, target = sys.argv[1], sys.argv[2]
    if kind == "help":
        help_tree(target)
    elif kind == "small":
        small_tree(target)
    elif kind in ("blob", "mixed"):
        rng = random.Random(3)
        size = int(sys.argv[3]) * 1024 * 1024
        with open(target, "wb") as f:
            chunk = 1024 * 1024
            for _ in range(size // chunk):
                f.write(rng.randbytes(chunk) if kind == "blob" else mixed_bytes(rng, chunk))
        os.chmod(target, 0o755)
    else:
        sys.exit("unknown kind " + kind)


main()

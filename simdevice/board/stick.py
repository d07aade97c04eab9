"""USB sticks for the board: packages built with pkgupdate-pack, on a FAT file
system in a partition of an image file, made without root (mkfs.vfat and mcopy)."""

import hashlib
import json
import random
import shutil
import struct
import subprocess
import sys
import tarfile
from pathlib import Path

import devicelayer

# The armhf installer that "installer" packages carry (the board command sets it to
# the build tree's, the one the device layer's .deb was made from).
INSTALLER = None
STICK_SIZE_MB = 64  # at least; a stick for larger packages has room for them and 16 MB more
BENCH_DATA = Path(__file__).resolve().parents[2] / "bench/makedata.py"
PARTITION_START = 2048  # sectors of 512 bytes: the first partition at 1 MiB, as sticks come


def program_tree(directory, version, data_mb=0):
    """The stand-in program of the given version, where the device keeps it, and with
    data_mb, that many MB of the program's data that do not compress (a package that
    takes seconds to unpack on the board); the same for the same version."""
    program = directory / "usr/local/bin/corvane"
    program.parent.mkdir(parents=True)
    program.write_text(devicelayer.stand_in_program(version))
    program.chmod(0o755)
    if data_mb:
        data = directory / "usr/local/share/corvane/data.bin"
        data.parent.mkdir(parents=True)
        data.write_bytes(random.Random(version).randbytes(data_mb << 20))


def help_tree(directory, version, pages=40):
    """Help files in two languages with their version.txt."""
    help_dir = directory / "usr/local/share/corvane/help"
    for language in ("de", "en"):
        (help_dir / language).mkdir(parents=True)
        for page in range(1, pages // 2 + 1):
            (help_dir / language / f"page{page:02}.html").write_text(
                f"<h1>corvane {version}</h1>\n<p>{language} page {page}</p>\n" + "<p>text</p>\n" * 40)
    (help_dir / "index.html").write_text(f"<h1>corvane help {version}</h1>\n")
    (help_dir / "version.txt").write_text(f"version={version}\n")


def bench_help_tree(directory, version):
    """The bench's help files (1,550 files, 30 MB, partly incompressible) with their version.txt."""
    subprocess.run([sys.executable, str(BENCH_DATA), "help", str(directory)], check=True)
    (directory / "usr/local/share/corvane/help/version.txt").write_text(f"version={version}\n")


CONTENTS = {"program": program_tree, "help": help_tree, "bench-help": bench_help_tree}


def build_package(pack, private_key, out, row, work):
    """One package from a row "NAME VERSION CONTENT [pkgupdate-pack build options]"; CONTENT
    "installer" is the installer binary with the launcher that the hand-over starts,
    "program:MB" and "help:PAGES" give the tree's size."""
    name, version, content, *options = row.split()
    common = [str(pack), "build", "--name", name, "--version", version, "--bsp", devicelayer.BSP,
              "--key", str(private_key), "--out", str(out), *options]
    if content == "installer":
        copy = work / f"{name}-{version}" / "pkgupdate"
        copy.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy2(INSTALLER, copy)
        sources = ["files", "--launcher", f"{copy}=/usr/local/bin"]
    else:
        tree = work / f"{name}-{version}"
        shutil.rmtree(tree, ignore_errors=True)
        kind, _, size = content.partition(":")
        CONTENTS[kind](tree, version, *([int(size)] if size else []))
        sources = ["tree", str(tree)]
    subprocess.run(common[:2] + sources[:-1] + common[2:] + sources[-1:], check=True, stdout=subprocess.DEVNULL)


def package_contents(pack, archive):
    """The checksums of the files a package installs, by their path on the device: a
    file-list package's n-th file in the folder of its DEST_FILEn line, a tree
    package's members where they are (its UPDATE.CONF, which every tree package
    brings to the same place, left out). The script is read by pkgupdate-pack info,
    with the installer's own reader."""
    info = json.loads(subprocess.run([str(pack), "info", "--json", str(archive)], check=True,
                                     capture_output=True, text=True).stdout)
    keys = info["updateConf"] or {}  # null: a script without keys (a tree package)
    with tarfile.open(archive, "r:bz2") as tar:
        members = {member.name.removeprefix("./"): member for member in tar.getmembers() if member.isfile()}
        members.pop("UPDATE.CONF")
        names = keys.get("FILE_LIST", "").split()
        paths = {f"{keys[f'DEST_FILE{number}'].rstrip('/')}/{name}": name for number, name in enumerate(names, 1)} \
            if names else {"/" + name: name for name in members}
        return {path: hashlib.md5(tar.extractfile(members[name]).read()).hexdigest() for path, name in paths.items()}


def master_boot_record(start, sectors):
    """A DOS partition table with one FAT32 (LBA) partition."""
    entry = bytes([0, 0xFE, 0xFF, 0xFF, 0x0C, 0xFE, 0xFF, 0xFF]) + struct.pack("<II", start, sectors)
    return bytes(446) + entry + bytes(48) + b"\x55\xaa"


def make_image(files, image):
    """A partitioned stick image with one FAT partition holding the files."""
    image.unlink(missing_ok=True)
    size_mb = max(STICK_SIZE_MB, sum(path.stat().st_size for path in files) // (1 << 20) + 16)
    sectors = (size_mb << 20) // 512 - PARTITION_START
    with open(image, "wb") as handle:
        handle.write(master_boot_record(PARTITION_START, sectors))
        handle.truncate(size_mb << 20)
    subprocess.run(["mkfs.vfat", "-F", "32", "-n", "STICK", "--offset", str(PARTITION_START), str(image),
                    str(sectors // 2)], check=True, stdout=subprocess.DEVNULL)
    partition = f"{image}@@{PARTITION_START * 512}"
    for path in sorted(files):
        subprocess.run(["mcopy", "-i", partition, str(path), "::/"], check=True)


def make_stick(pack, private_key, rows, work):
    """Builds the packages of the rows and the stick image; returns the image and the files."""
    out = work / "stick"
    shutil.rmtree(out, ignore_errors=True)
    out.mkdir(parents=True)
    for row in rows:
        build_package(pack, private_key, out, row, work / "sources")
    files = sorted(out.iterdir())
    make_image(files, work / "stick.img")
    return work / "stick.img", [path.name for path in files]

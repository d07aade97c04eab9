"""The board's base image, made once and kept per machine, keyed by their inputs.

The base (slow to make, changes rarely): Debian 12's armmp kernel, an initramfs
with busybox and the virtual hardware's drivers, and a Debian armhf root file
system unpacked with mmdebstrap (no maintainer scripts, no emulation).
The device layer (cheap, remade when the installer or the board's scripts
change): the base's root with the installer's own armhf .deb unpacked into it,
the stand-ins and the board's scripts, written into an ext4 flash image.

Both live in the cache (~/.cache/pkgupdate-board, or $PKGUPDATE_BOARD_CACHE), so
that a fresh clone on the same machine finds them; build/board/image names the
one in use. Nothing on the build machine changes: no package source, no dpkg
architecture, every helper unpacked under the cache or build/.
"""

import gzip
import hashlib
import os
import shutil
import subprocess
from pathlib import Path

HERE = Path(__file__).resolve().parent
GUEST = HERE / "guest"
MIRROR = "http://deb.debian.org/debian"
ARCH_TRIPLE = "arm-linux-gnueabihf"
FLASH_SIZE = "640M"
KEEP_BASES = 2
KEEP_LAYERS = 3


def cache_dir():
    return Path(os.environ.get("PKGUPDATE_BOARD_CACHE", Path.home() / ".cache" / "pkgupdate-board"))


def log(text):
    print(f"board: {text}", flush=True)


def run(*command, **options):
    subprocess.run([str(part) for part in command], check=True, **options)


def digest(*parts):
    """A short key from file contents (paths) and texts."""
    hasher = hashlib.sha256()
    for part in parts:
        if isinstance(part, Path):
            hasher.update(part.name.encode() + b"\0")
            part = part.read_bytes()
        hasher.update(part if isinstance(part, bytes) else str(part).encode())
        hasher.update(b"\0")
    return hasher.hexdigest()[:16]


def tree_digest(root):
    """A key from a directory tree's paths, modes and contents (not its times)."""
    parts = []
    for path in sorted(Path(root).rglob("*")):
        relative = path.relative_to(root).as_posix()
        if path.is_symlink():
            parts.append(f"{relative} -> {os.readlink(path)}")
        elif path.is_file():
            parts += [f"{relative} {path.stat().st_mode:o}", path.read_bytes()]
    return digest(*parts)


def list_file(path):
    return [line.split("#")[0].strip() for line in path.read_text().splitlines() if line.split("#")[0].strip()]


def prune(prefix, keep, current):
    """Removes all but the newest `keep` cache entries of one kind."""
    entries = sorted(cache_dir().glob(prefix + "-*"), key=lambda entry: entry.stat().st_mtime, reverse=True)
    for entry in entries[keep:]:
        if entry != current:
            shutil.rmtree(entry, ignore_errors=True)


# --- the base -------------------------------------------------------------------


def base_key():
    return digest(HERE / "packages.txt", HERE / "modules.txt", GUEST / "initramfs-init", Path(__file__))


def base(force=False):
    """The cached base for the current inputs, made first when missing."""
    directory = cache_dir() / f"base-{base_key()}"
    if (directory / ".complete").exists() and not force:
        return directory
    log(f"making the base in {directory}")
    shutil.rmtree(directory, ignore_errors=True)
    directory.mkdir(parents=True)
    tree = directory / "debian"
    run("mmdebstrap", "--quiet", "--variant=extract", "--arch=armhf",
        "--include=" + ",".join(list_file(HERE / "packages.txt")), "bookworm", tree,
        f"deb {MIRROR} bookworm main", f"deb {MIRROR} bookworm-updates main")
    merge_usr(tree)
    kernel = next((tree / "boot").glob("vmlinuz-*"))
    version = kernel.name[len("vmlinuz-"):]
    shutil.copy(kernel, directory / "vmlinuz")
    write_initramfs(directory / "initrd.img", tree, version)
    strip_root(tree)
    link_applets(tree)
    (directory / "kernel-version").write_text(version + "\n")
    (directory / ".complete").touch()
    prune("base", KEEP_BASES, directory)
    return directory


def merge_usr(tree):
    """/bin, /sbin and /lib into /usr, as on Debian 12 itself (usrmerge)."""
    for name in ("bin", "sbin", "lib"):
        top = tree / name
        if top.is_dir() and not top.is_symlink():
            run("cp", "-a", f"{top}/.", tree / "usr" / name)
            shutil.rmtree(top)
            top.symlink_to(f"usr/{name}")


def strip_root(tree):
    """What the device's flash does without: the kernel's files, documentation, translations."""
    for name in ("boot", "usr/lib/modules", "usr/share/doc", "usr/share/man", "usr/share/info",
                 "usr/share/locale", "var/cache/apt", "var/lib/apt/lists"):
        shutil.rmtree(tree / name, ignore_errors=True)


# The busybox commands the board's scripts and the installer use, where Debian's
# packages of the base bring none of their own.
APPLETS = """sh ash init reboot poweroff halt mdev mount umount mkdir rmdir cat echo sleep ls df du
sync kill killall ps grep sed head tail cp mv rm ln chmod chown date stat find xargs md5sum
base64 setsid env true false test [ printf tr wc sort cut uname dmesg awk od hostname seq
touch readlink realpath basename dirname id which insmod lsmod modprobe stty free uptime""".split()


def link_applets(tree):
    for applet in APPLETS:
        bin_dir = "usr/sbin" if applet in ("init", "reboot", "poweroff", "halt", "mdev") else "usr/bin"
        if not any((tree / d / applet).exists() or (tree / d / applet).is_symlink()
                   for d in ("usr/bin", "usr/sbin")):
            (tree / bin_dir / applet).symlink_to("/usr/bin/busybox")


def module_files(tree, version):
    """The modules of modules.txt with their dependencies, each after what it needs."""
    root = tree / "usr/lib/modules" / version
    builtin = {Path(line).stem.replace("-", "_") for line in (root / "modules.builtin").read_text().split()}
    found = {path.stem.replace("-", "_"): path for path in root.rglob("*.ko")}
    ordered = []

    def add(name):
        name = name.replace("-", "_")
        if name in builtin or found.get(name) in ordered:
            return
        if name not in found:
            raise SystemExit(f"board: kernel module {name} not found in {version}")
        for dependency in module_depends(found[name]):
            add(dependency)
        ordered.append(found[name])

    for name in list_file(HERE / "modules.txt"):
        add(name)
    return ordered


def module_depends(module):
    """The "depends=" entry of a module's .modinfo section."""
    data = module.read_bytes()
    start = data.find(b"\0depends=")
    if start < 0:
        return []
    value = data[start + len(b"\0depends="):data.index(b"\0", start + 1)].decode()
    return [name for name in value.split(",") if name]


def cpio_entry(name, mode, data=b"", rdev=(0, 0)):
    """One entry of a "newc" cpio archive, the initramfs format."""
    name_bytes = name.encode() + b"\0"
    fields = [0, mode, 0, 0, 1, 0, len(data), 0, 0, rdev[0], rdev[1], len(name_bytes), 0]
    header = b"070701" + b"".join(b"%08x" % field for field in fields)
    pad = lambda length: b"\0" * (-length % 4)
    return header + name_bytes + pad(len(header) + len(name_bytes)) + data + pad(len(data))


def write_initramfs(target, tree, version):
    modules = module_files(tree, version)
    entries = [cpio_entry(directory, 0o40755) for directory in ("bin", "dev", "modules", "proc", "sys", "flash")]
    entries.append(cpio_entry("dev/console", 0o20600, rdev=(5, 1)))
    entries.append(cpio_entry("bin/busybox", 0o100755, (tree / "usr/bin/busybox").read_bytes()))
    entries.append(cpio_entry("init", 0o100755, (GUEST / "initramfs-init").read_bytes()))
    entries += [cpio_entry(f"modules/{module.name}", 0o100644, module.read_bytes()) for module in modules]
    order = "".join(module.name + "\n" for module in modules).encode()
    entries.append(cpio_entry("modules/order", 0o100644, order))
    entries.append(cpio_entry("TRAILER!!!", 0))
    target.write_bytes(gzip.compress(b"".join(entries), compresslevel=6))

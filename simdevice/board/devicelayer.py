"""The board's device layer: the device as a technician meets it, on an ext4 flash
image made from the base's root file system (see baseimage.py).

Onto the base go the installer from the project's own armhf .deb (unpacked as
dpkg would), the BSP's public key, a stand-in corvane that draws its name and
version on the frame buffer, a real /etc/init.d/corvane (pid file), busybox's
init and reboot, the stick's hot-plug handler, the touch-screen bridge and the
driver's command channel. The image is kept in the cache under a key made of
all of that, so that only a change of one of them makes it again.
"""

import os
import shutil
import subprocess
import tempfile
from pathlib import Path

import baseimage
from baseimage import ARCH_TRIPLE, GUEST, digest, log, run, tree_digest

TOP = baseimage.HERE.parent.parent
# The BSP the board's kernel names in /proc/version (the eighth dash-separated field).
BSP = "1.36.0"
# What the technician finds installed before an update.
PROGRAM_VERSION = "3.0.0"
HELP_VERSION = "3.0.0"
PUBLIC_KEY = "usr/local/share/corvane/qelsslkey.pem"  # the BSP's key, where the installer reads it
# The panel's kernel names the BSP as the eighth dash-separated field.
PROC_VERSION = ("Linux version 3.0.35-vesta-r4 (builder@vesta) (gcc version 4.6.2-glibc-2.13-linaro)"
                " #1 PREEMPT-BSP-{bsp}-20140311\n")
SCRIPTS = {
    "etc/inittab": "inittab",
    "etc/mdev.conf": "mdev.conf",
    "etc/board/rcS": "rcS",
    "etc/board/shutdown": "shutdown",
    "etc/board/agent": "agent",
    "etc/board/stick": "stick",
    "etc/board/start-installer": "start-installer",
    "etc/init.d/corvane": "corvane.init",
}
CONFIG_FILES = ("etc/inittab", "etc/mdev.conf")


def installer_package(build):
    """The installer's armhf .deb made by cpack in an armhf build tree."""
    out = build / "board-deb"
    shutil.rmtree(out, ignore_errors=True)
    run("cpack", "-G", "DEB", "--config", build / "CPackConfig.cmake", "-B", out, stdout=subprocess.DEVNULL)
    return next(out.glob("pkgupdate_*_armhf.deb"))


def build_installer(sysroot, build):
    """A release build of the installer and the widget probe for armhf."""
    if not (build / "CMakeCache.txt").exists():
        launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        run("cmake", "-S", TOP, "-B", build, f"-DCMAKE_TOOLCHAIN_FILE={TOP}/cmake/armhf.cmake",
            f"-DPKGUPDATE_SYSROOT={sysroot}", "-DCMAKE_BUILD_TYPE=Release", "-DPKGUPDATE_TESTS=OFF",
            "-DPKGUPDATE_TOOLS=ON", *launcher, stdout=subprocess.DEVNULL)
    run("cmake", "--build", build, "-j", os.cpu_count() or 2, "--target", "pkgupdate", "widgetprobe")


def compile_helpers(sysroot, out):
    """The touch-screen bridge (C, static), the installer's markers (C, preloaded) and the
    stand-in's face (Qt 6)."""
    warnings = ["-O2", "-Wall", "-Wextra", "-Werror"]
    run(f"{ARCH_TRIPLE}-gcc", *warnings, "-static", "-o", out / "touchbridge", GUEST / "touchbridge.c")
    run(f"{ARCH_TRIPLE}-gcc", *warnings, "-shared", "-fPIC", "-o", out / "markers.so", GUEST / "markers.c", "-ldl")
    qt = sysroot / "usr/include" / ARCH_TRIPLE / "qt6"
    includes = [f"-I{qt}"] + [f"-I{qt}/{module}" for module in ("QtCore", "QtGui", "QtWidgets")]
    run(f"{ARCH_TRIPLE}-g++", "-std=c++17", "-O2", "-fPIC", "-Wall", "-Wextra", "-Werror", f"--sysroot={sysroot}",
        *includes, "-o", out / "corvane-face", GUEST / "corvane-face.cpp",
        f"-Wl,-rpath-link,{sysroot}/usr/lib/{ARCH_TRIPLE}", "-lQt6Widgets", "-lQt6Gui", "-lQt6Core")


def widget_probe(build):
    """The widget probe plugin of the build tree (in plugins/generic beside its sources' build)."""
    found = sorted(build.glob("**/plugins/generic/libwidgetprobe.so"))
    if not found:
        raise SystemExit(f"board: no widget probe plugin in {build}")
    return found[0]


def unpacked_deb(deb, into):
    run("dpkg-deb", "-x", deb, into)
    return into


def layer_key(base, unpacked, probe, public_key):
    sources = sorted(path for path in GUEST.iterdir() if path.name != "initramfs-init")
    return digest(base.name, tree_digest(unpacked), probe, public_key, *sources, Path(__file__), BSP,
                  PROGRAM_VERSION, HELP_VERSION)


def put(path, data, mode=0o644):
    """Writes a file of the device; an entry of the base is replaced, never written through
    (the device's root shares the base's files by hard links)."""
    path.parent.mkdir(parents=True, exist_ok=True)
    if path.exists() or path.is_symlink():
        path.unlink()
    path.write_bytes(data if isinstance(data, bytes) else data.encode())
    path.chmod(mode)


def stand_in_program(version):
    return (GUEST / "corvane").read_text().replace("@VERSION@", version)


def populate(root, unpacked, helpers, probe, public_key):
    run("cp", "-a", f"{unpacked}/.", root)
    for target, source in SCRIPTS.items():
        put(root / target, (GUEST / source).read_bytes(), 0o644 if target in CONFIG_FILES else 0o755)
    put(root / "etc/board/proc-version", PROC_VERSION.format(bsp=BSP))
    put(root / "etc/passwd", "root:x:0:0:root:/root:/bin/sh\n")
    put(root / "etc/group", "root:x:0:\n")
    put(root / "etc/hostname", "corvane\n")
    put(root / "usr/local/bin/corvane", stand_in_program(PROGRAM_VERSION), 0o755)
    lib = root / "usr/local/lib/board"
    for name in ("touchbridge", "corvane-face", "markers.so"):
        put(lib / name, (helpers / name).read_bytes(), 0o755)
    put(lib / "plugins/generic" / probe.name, probe.read_bytes(), 0o755)
    share = root / "usr/local/share/corvane"
    put(root / PUBLIC_KEY, public_key.read_bytes())
    put(share / "help/version.txt", f"version={HELP_VERSION}\n")
    put(share / "help/index.html", f"<h1>corvane help {HELP_VERSION}</h1>\n")
    for directory in ("proc", "sys", "dev", "tmp", "run", "media/usb", "var/log", "root"):
        (root / directory).mkdir(parents=True, exist_ok=True)
    (root / "tmp").chmod(0o1777)


def link_tree(source, target):
    """The base's root as hard links (cheap), or a copy where links cannot be made."""
    if subprocess.run(["cp", "-al", source, target], stderr=subprocess.DEVNULL).returncode != 0:
        shutil.rmtree(target, ignore_errors=True)
        run("cp", "-a", source, target)


def device_layer(base, installer_build, sysroot, public_key, force=False):
    """The flash image of the device for these inputs, made first when missing."""
    work = Path(tempfile.mkdtemp(prefix="layer-", dir=baseimage.cache_dir()))
    try:
        deb = installer_package(installer_build)
        probe = widget_probe(installer_build)
        unpacked = unpacked_deb(deb, work / "deb")
        directory = baseimage.cache_dir() / f"layer-{layer_key(base, unpacked, probe, public_key)}"
        if (directory / ".complete").exists() and not force:
            return directory
        log(f"making the device layer in {directory} (installer {deb.name})")
        (work / "helpers").mkdir()
        compile_helpers(sysroot, work / "helpers")
        link_tree(base / "debian", work / "root")
        populate(work / "root", unpacked, work / "helpers", probe, public_key)
        shutil.rmtree(directory, ignore_errors=True)
        directory.mkdir(parents=True)
        run("mke2fs", "-q", "-t", "ext4", "-L", "flash", "-d", work / "root", directory / "flash.img", baseimage.FLASH_SIZE)
        (directory / "base").symlink_to(base)
        (directory / "installer").write_text(deb.name + "\n")
        (directory / ".complete").touch()
        baseimage.prune("layer", baseimage.KEEP_LAYERS, directory)
        return directory
    finally:
        shutil.rmtree(work, ignore_errors=True)


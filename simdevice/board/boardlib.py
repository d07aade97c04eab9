"""The board driver: one virtual ARM board in QEMU, driven as a technician and a
power supply would.

    board = Board(layer_directory, run_directory)
    board.boot()                          # fresh flash from the device layer
    board.plug_stick(stick_image)         # the stick appears, the device mounts it
    board.start_installer()               # as the panel starts it, on the frame buffer
    board.tap_widget("install")           # a tap on the touch screen
    board.screenshot(path)                # the frame buffer, as a PNG
    board.cut_power_when(message="...")   # a power cut at a chosen point
    board.shell("corvane -v")             # a command on the device

The board's serial console carries the kernel's, the board scripts' ("board: ...")
and the installer's console lines, and the widget probe's reports of the
installer's window (what the screen shows, with each widget's position, so that a
tap lands on it). Commands reach the device over a separate virtio serial port.
Everything runs inside QEMU; the only files on this machine it writes are in the
run directory, and a lock beside the image that lets one board run at a time.
"""

import base64
import fcntl
import json
import re
import signal
import socket
import subprocess
import threading
import time
from pathlib import Path

SCREEN = (800, 480)
TABLET_MAX = 32767
BOOT_TIMEOUT = 180
SETTLED = 0.6  # seconds without a change on the screen
# Where the installer's buttons are on the 800x480 panel at 72 dpi (their centres, as the
# widget probe reports them), for taps on an installer started without the probe; the
# remove-stick box's OK button is its default button.
LAYOUT = {"install": (104, 406), "quit": (301, 406), "language": (498, 406), "help": (695, 406),
          "msgbox_default": (390, 232)}


class BoardError(Exception):
    pass


def probe_message(line):
    """The text of a message-line report of the widget probe, or None for other lines."""
    if not line.startswith("widgetprobe\tmessage\t"):
        return None
    fields = line.split("\t", 3)
    return fields[3] if len(fields) > 3 else ""


def connect_unix(path, timeout=30):
    deadline = time.monotonic() + timeout
    while True:
        try:
            sock = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
            sock.connect(str(path))
            return sock
        except OSError:
            sock.close()
            if time.monotonic() > deadline:
                raise BoardError(f"no socket {path}")
            time.sleep(0.05)


class Qmp:
    """QEMU's machine protocol on a unix socket: commands and their answers; events kept."""

    def __init__(self, path):
        self.sock = connect_unix(path)
        self.reader = self.sock.makefile("r")
        self.lock = threading.Lock()
        self.events = []
        self._answer()
        self.execute("qmp_capabilities")

    def _answer(self):
        while True:
            line = self.reader.readline()
            if not line:
                raise BoardError("QEMU closed its machine protocol")
            message = json.loads(line)
            if "event" in message:
                self.events.append(message)
            else:
                return message

    def execute(self, command, **arguments):
        with self.lock:
            request = {"execute": command, **({"arguments": arguments} if arguments else {})}
            self.sock.sendall(json.dumps(request).encode() + b"\n")
            answer = self._answer()
        if "error" in answer:
            raise BoardError(f"{command}: {answer['error'].get('desc')}")
        return answer.get("return")

    def close(self):
        self.sock.close()


class Console:
    """The serial console: every line kept with its time, written to a log, and the
    widget probe's reports parsed into the window's current state."""

    def __init__(self, path, log_path):
        self.sock = connect_unix(path)
        self.lines = []
        self.times = []  # time.monotonic() when each line came
        self.log = open(log_path, "a", buffering=1)
        self.changed = threading.Condition()
        self.watchers = []
        self.widgets = {}
        self.windows = []
        self.messages = []
        self._snapshot = None
        self.last_snapshot = 0.0
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        pending = b""
        while True:
            try:
                data = self.sock.recv(4096)
            except OSError:
                data = b""
            if not data:
                return
            pending += data
            *complete, pending = pending.split(b"\n")
            for raw in complete:
                # What a terminal shows of a line that returns to its start (busybox init's "\rThe system ...").
                segments = [part for part in raw.decode("utf-8", "replace").split("\r") if part]
                self._add(segments[-1] if segments else "")

    def _add(self, line):
        self.log.write(line + "\n")
        if line.startswith("widgetprobe\t"):
            self._probe(line.split("\t")[1:])
        with self.changed:
            self.times.append(time.monotonic())
            self.lines.append(line)
            self.changed.notify_all()
        for watcher in list(self.watchers):
            watcher(line)

    def _probe(self, fields):
        kind = fields[0]
        if kind == "message":
            self.messages.append(fields[2] if len(fields) > 2 else "")
        elif kind == "begin":
            self._snapshot = ({}, [])
        elif kind == "widget" and self._snapshot:
            name, x, y, width, height, enabled, checked, text = (fields[1:] + [""] * 8)[:8]
            self._snapshot[0][name] = {"name": name, "rect": (int(x), int(y), int(width), int(height)),
                                       "enabled": enabled == "1", "checked": checked, "text": text,
                                       "window": len(self._snapshot[1]) - 1}
        elif kind == "window" and self._snapshot:
            klass, name, x, y, width, height, title, text = (fields[1:] + [""] * 8)[:8]
            self._snapshot[1].append({"class": klass, "name": name, "title": title, "text": text,
                                      "rect": (int(x), int(y), int(width), int(height))})
        elif kind == "end" and self._snapshot:
            self.widgets, self.windows = self._snapshot
            self._snapshot = None
            self.last_snapshot = time.monotonic()

    def wait(self, predicate, timeout, since=0, what="a console line"):
        """Waits for a line (from index `since`) that the predicate accepts; returns its index."""
        deadline = time.monotonic() + timeout
        with self.changed:
            index = since
            while True:
                while index < len(self.lines):
                    if predicate(self.lines[index]):
                        return index
                    index += 1
                left = deadline - time.monotonic()
                if left <= 0:
                    raise BoardError(f"timed out after {timeout} s waiting for {what}")
                self.changed.wait(left)

    def close(self):
        self.sock.close()
        self.log.close()


class Agent:
    """The device's command channel: a shell script in, its output and status out."""

    def __init__(self, path):
        self.sock = connect_unix(path)
        self.sock.settimeout(None)
        self.reader = self.sock.makefile("rb")
        self.counter = 0

    def wait_ready(self, timeout):
        self.sock.settimeout(timeout)
        try:
            while self.reader.readline().strip() != b"@@ready":
                pass
        except (socket.timeout, OSError):
            raise BoardError("the device's command channel did not start")
        finally:
            self.sock.settimeout(None)

    def run(self, script, timeout=120):
        self.counter += 1
        request = f"{self.counter} {base64.b64encode(script.encode()).decode()}\n"
        self.sock.sendall(request.encode())
        self.sock.settimeout(timeout)
        output = []
        try:
            while True:
                line = self.reader.readline().decode("utf-8", "replace")
                if not line:
                    raise BoardError("the device's command channel closed")
                match = re.fullmatch(rf"@@end {self.counter} (\d+)\n", line)
                if match:
                    return int(match.group(1)), "".join(output)
                output.append(line)
        except socket.timeout:
            raise BoardError(f"no answer within {timeout} s to: {script}")
        finally:
            self.sock.settimeout(None)

    def close(self):
        self.sock.close()


class Board:
    def __init__(self, layer, run_directory):
        self.layer = Path(layer)
        self.base = (self.layer / "base").resolve()
        self.dir = Path(run_directory)
        self.dir.mkdir(parents=True, exist_ok=True)
        self.flash = self.dir / "flash.qcow2"
        self.qemu = None
        self.console = None
        self.qmp = None
        self.agent = None
        self.stick = None
        self.power_cuts = 0
        self.cut_done = threading.Event()
        self.cut_line = 0  # the console lines the device wrote before the cut
        self.machine_lock = None
        self.cut_timer = None
        self.probed = True
        self.taps = 0
        self.frame_buffer = True  # False: the board boots without its GPU (no /dev/fb0)
        self.puller = None  # the thread of a pull set off by a console line
        self.pull_line = None  # the console lines the device wrote before that pull

    # --- power ------------------------------------------------------------------

    def qemu_command(self):
        run = self.dir
        return [
            "qemu-system-arm", "-M", "virt,highmem=off", "-cpu", "cortex-a15", "-smp", "1", "-m", "512",
            "-nodefaults", "-display", "none", "-no-user-config",
            "-kernel", self.base / "vmlinuz", "-initrd", self.base / "initrd.img",
            "-append", "console=ttyAMA0 quiet",
            "-chardev", f"socket,id=serial,path={run}/serial.sock,server=on,wait=on", "-serial", "chardev:serial",
            "-qmp", f"unix:{run}/qmp.sock,server=on,wait=off",
            "-drive", f"if=none,id=flash,file={self.flash},format=qcow2", "-device", "virtio-blk-pci,drive=flash",
            *(["-device", f"virtio-gpu-pci,id=video0,xres={SCREEN[0]},yres={SCREEN[1]}"] if self.frame_buffer else []),
            "-device", "virtio-tablet-pci" + (",display=video0" if self.frame_buffer else ""),
            "-device", "qemu-xhci,id=xhci",
            "-device", "virtio-serial-pci",
            "-chardev", f"socket,id=agent,path={run}/agent.sock,server=on,wait=off",
            "-device", "virtserialport,chardev=agent,name=board.agent",
        ]

    def boot(self, fresh=True, timeout=BOOT_TIMEOUT):
        """Powers the board on; a fresh boot starts from the device layer's flash. One board
        runs at a time on a machine: a second waits until the first is switched off."""
        self.take_machine()
        if fresh:
            self.flash.unlink(missing_ok=True)
            subprocess.run(["qemu-img", "create", "-q", "-f", "qcow2", "-F", "raw", "-b",
                            self.layer / "flash.img", self.flash], check=True)
        for name in ("serial.sock", "qmp.sock", "agent.sock"):
            (self.dir / name).unlink(missing_ok=True)
        self.cut_done.clear()
        with open(self.dir / "qemu.log", "a") as log:
            self.qemu = subprocess.Popen([str(part) for part in self.qemu_command()], stdin=subprocess.DEVNULL,
                                         stdout=log, stderr=subprocess.STDOUT)
        self.console = Console(self.dir / "serial.sock", self.dir / "console.log")
        self.qmp = Qmp(self.dir / "qmp.sock")
        self.agent = Agent(self.dir / "agent.sock")
        self.wait_ready(0, timeout)

    def wait_ready(self, since, timeout=BOOT_TIMEOUT):
        self.console.wait(lambda line: line == "board: ready", timeout, since, "the board to boot")
        self.agent.wait_ready(timeout)

    def reboot_expected(self, since, timeout=BOOT_TIMEOUT):
        """Waits until the device has rebooted (by itself) and is ready again."""
        restart = self.console.wait(lambda line: line.startswith("board: stopped"), timeout, since,
                                    "the device to reboot")
        self.wait_ready(restart, timeout)

    def power_off(self):
        """Pulls the plug: the machine stops at once and QEMU is killed; what the guest's
        kernel had not written to the flash is lost."""
        if self.cut_timer:
            self.cut_timer.cancel()
            self.cut_timer = None
        if self.qemu and self.qemu.poll() is None:
            try:
                self.qmp.execute("stop")
            except (BoardError, OSError):
                pass
            self.qemu.send_signal(signal.SIGKILL)
            self.qemu.wait()
        for part in (self.console, self.qmp, self.agent):
            if part:
                part.close()
        self.qemu = self.console = self.qmp = self.agent = None
        self.stick = None

    def take_machine(self):
        if self.machine_lock is None:
            self.machine_lock = open(self.layer.parent / "qemu.lock", "w")
            fcntl.flock(self.machine_lock, fcntl.LOCK_EX)

    def release_machine(self):
        if self.machine_lock is not None:
            self.machine_lock.close()
            self.machine_lock = None

    def cut_power_when(self, console=None, message=None, count=1, after=None):
        """Arms a power cut: at the count-th console line containing `console`, at the
        count-th message line containing `message` (the installer's message line, as
        the probe reports it), or `after` seconds from now. `console` may be a tuple of
        texts: lines containing any of them count."""
        if after is not None:
            self.cut_timer = threading.Timer(after, self._cut)
            self.cut_timer.start()
            return
        seen = [0]
        needles = (console if isinstance(console, tuple) else (console,)) if console is not None else (message,)

        def watch(line):
            text = probe_message(line) if message is not None else (line if console is not None else None)
            if text is not None and any(needle in text for needle in needles):
                seen[0] += 1
                if seen[0] == count:
                    self.console.watchers.remove(watch)
                    self._cut()

        self.console.watchers.append(watch)

    def _cut(self):
        self.cut_line = len(self.console.lines) if self.console else 0
        if self.qemu and self.qemu.poll() is None:
            try:
                self.qmp.execute("stop")
            except (BoardError, OSError):
                pass  # the machine is gone already
            self.qemu.send_signal(signal.SIGKILL)
            self.power_cuts += 1
        self.cut_done.set()

    def wait_power_cut(self, timeout):
        """Waits until an armed power cut has happened (the console keeps what came before)."""
        if not self.cut_done.wait(timeout):
            raise BoardError(f"no power cut within {timeout} s")

    # --- the device's hands and eyes ---------------------------------------------

    def shell(self, script, timeout=120, check=True):
        status, output = self.agent.run(script, timeout)
        if check and status != 0:
            raise BoardError(f"'{script}' ended with {status}: {output}")
        return output

    def plug_stick(self, image, timeout=60):
        self.join_puller()
        since = len(self.console.lines)
        self.qmp.execute("blockdev-add", driver="raw", **{"node-name": "stick"},
                         file={"driver": "file", "filename": str(image)})
        self.qmp.execute("device_add", driver="usb-storage", id="stick", bus="xhci.0", drive="stick",
                         removable=True)
        self.stick = image
        self.console.wait(lambda line: line.startswith("board: stick mounted"), timeout, since,
                          "the stick to be mounted")

    def pull_stick(self, timeout=60):
        since = len(self.console.lines)
        self.qmp.execute("device_del", id="stick")
        self.console.wait(lambda line: line.startswith("board: stick removed"), timeout, since,
                          "the stick to be gone")
        deadline = time.monotonic() + timeout
        while time.monotonic() < deadline:
            try:
                self.qmp.execute("blockdev-del", **{"node-name": "stick"})
                break
            except BoardError:
                time.sleep(0.2)
        self.stick = None

    def pull_stick_when(self, console=None, message=None, count=1, delay=0.0):
        """Arms a pull of the stick `delay` seconds after the count-th console or message
        line containing the text (as cut_power_when); the pull runs beside the console's
        reader, and pull_line counts the console lines the device wrote before it."""
        needle = console if console is not None else message

        def pull():
            time.sleep(delay)
            self.pull_line = len(self.console.lines)
            self.pull_stick()

        def watch(line):
            text = probe_message(line) if message is not None else line
            if text is not None and needle in text:
                watch.seen += 1
                if watch.seen == count:
                    self.console.watchers.remove(watch)
                    self.puller = threading.Thread(target=pull, daemon=True)
                    self.puller.start()
        watch.seen = 0
        self.console.watchers.append(watch)

    def join_puller(self, timeout=120):
        """Waits until a pull set off by a console line is over."""
        if self.puller is not None:
            self.puller.join(timeout)
            self.puller = None

    def start_installer(self, probe=True, markers=True):
        """Starts the installer on the stick as the panel does; with the probe (the default)
        its window's widgets are reported, and with the markers its renames and syncs
        marked, on the console."""
        self.probed = probe
        # What an earlier installer's window showed is gone with it.
        self.console.widgets, self.console.windows, self.console.messages = {}, [], []
        mode = ("probe" if markers else "probe no-markers") if probe else ""
        self.shell(f"setsid /etc/board/start-installer {mode} </dev/null >/dev/console 2>&1 &")

    def screenshot(self, path):
        self.qmp.execute("screendump", filename=str(Path(path).resolve()), format="png")

    def tap(self, x, y, hold=0.15):
        """A finger on the touch screen at pixel (x, y), then lifted."""
        # The kernel passes on an axis only when its value changes, and a program that opens
        # the touch screen later learns it only from a change: each tap differs from the one
        # before by a unit (less than a pixel) on both axes.
        self.taps += 1
        axes = [{"type": "abs", "data": {"axis": axis, "value": round(value * TABLET_MAX / (size - 1)) ^ self.taps % 2}}
                for axis, value, size in (("x", x, SCREEN[0]), ("y", y, SCREEN[1]))]
        self.qmp.execute("input-send-event", device="video0", events=axes)
        time.sleep(0.05)
        for down in (True, False):
            self.qmp.execute("input-send-event", device="video0", events=[{"type": "btn", "data": {"button": "left", "down": down}}])
            time.sleep(hold)

    def widget(self, name, timeout=60):
        """The widget of the installer's window as the probe last saw it, waiting until it is
        shown and the window has settled (a window is laid out again when it is maximised)."""
        deadline = time.monotonic() + timeout
        while name not in self.console.widgets or not self.console.widgets[name]["enabled"] \
                or time.monotonic() - self.console.last_snapshot < SETTLED:
            if time.monotonic() > deadline:
                raise BoardError(f"no widget '{name}' on the screen within {timeout} s")
            time.sleep(0.2)
        return self.console.widgets[name]

    def wait_box(self, timeout=60):
        """Waits until the probe sees a message box."""
        deadline = time.monotonic() + timeout
        while not any(window["class"] == "QMessageBox" for window in self.console.windows):
            if time.monotonic() > deadline:
                raise BoardError(f"no message box within {timeout} s")
            time.sleep(0.05)

    def tap_widget(self, name, timeout=60):
        """A tap on the widget where the probe sees it, or, when the installer was started
        without the probe, where the layout table says it is."""
        if not self.probed:
            self.tap(*LAYOUT[name])
            return
        x, y, width, height = self.widget(name, timeout)["rect"]
        self.tap(x + width // 2, y + height // 2)

    def close(self):
        self.power_off()
        self.release_machine()

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()



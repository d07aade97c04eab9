"""Scenarios on the board: a text file of steps, one a line, run by the driver,
writing a transcript of what the screen showed, what the device ran (its
console), what changed on its flash and what it answers afterwards.

Steps ("#" starts a comment):
    stick NAME VERSION CONTENT [options]  a package on the stick (before "boot"); CONTENT is
                                          "program", "help" or "installer" (the board's installer
                                          with a launcher), options go to pkgupdate-pack build;
                                          "program:MB" adds MB of incompressible data, "help:N"
                                          has N pages
    boot [no-frame-buffer]                power on with a fresh flash; waits for the application;
                                          "no-frame-buffer": the board without its GPU
    power-on                              power on again with the flash as the cut left it
    flash-mark                            remember the flash's files (for show-flash)
    plug / pull                           the stick in / out
    pull-at message|console TEXT [COUNT] [+SECONDS]
                                          the stick pulled at the COUNT-th (default 1) such line,
                                          or that many seconds after it (the transcript says
                                          "stick pulled" where it was)
    installer [plain]                     start the installer as the panel does; "plain": exactly
                                          so, without the widget probe and the markers (taps then
                                          use the layout table in boardlib.py; nothing to show)
    pause SECONDS                         let time pass
    wait-widget NAME                      until the window shows the widget, enabled
    wait-box                              until a message box is shown
    wait-console TEXT                     until a console line starts with TEXT
    wait-message TEXT                     until the message line shows a text containing TEXT
    wait-reboot                           until the device has rebooted and is ready
    tap NAME                              a tap on the widget's centre
    screenshot NAME                       the frame buffer into NAME.png
    show-window                           the window's widgets and boxes, as the probe saw them
    show-flash                            files added, removed and changed since flash-mark
    run COMMAND                           a command on the device and its output
    cut-at message|console TEXT [COUNT]   a power cut at the COUNT-th (default 1) such line; the
                                          console has "board: renamed PATH" after each file the
                                          installer renames into place ("board: linked PATH" for a
                                          settings file it creates), "board: sync begins" and
                                          "board: sync done" around each sync, "board: syncfs
                                          begins"/"done" around each flush of a file system
    cut-after SECONDS                     a power cut after that time
    wait-cut                              until the cut has happened (the transcript keeps the
                                          console up to the line that set it off)
    check-files DIR                       every file under DIR on the flash is wholly old (as at
                                          flash-mark) or wholly new (as in a package of the stick)
"""

import hashlib
import os
import re
import shlex
import shutil
import time
from pathlib import Path

import boardlib
import stick

STEP_TIMEOUT = 300
# Steps that set off what the device does next: its console lines go to the step
# that waits for the outcome, so that each step's share does not depend on timing.
SET_OFF = ("tap", "installer", "cut-at", "cut-after", "pull-at", "stick")
FACE_MARKER = re.compile(r"board: corvane \S+ (on the screen|without a screen)")
NORMALISE = [
    (re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ"), "<time>"),
    (re.compile(r"used=\d+s"), "used=<n>s"),
    (re.compile(r"^\[\s*\d+\.\d+\] .*$"), None),
    # The RAM disk as the installer shows it after a failed unpack (df, ls -l, du): how
    # much tar had written depends on when it failed.
    (re.compile(r"^(tmp\s+\S+)\s+\S+\s+\S+\s+\d+%(\s+/tmp)$"), r"\1 <used> <free> <n>%\2"),
    (re.compile(r"^\d+(\.\d+)?[KMG]?(\t/tmp\S*)$"), r"<size>\2"),
    (re.compile(r"\b[A-Z][a-z]{2} [ \d]\d \d\d:\d\d\b"), "<date>"),
    # openssl's error lines start with the number of the thread.
    (re.compile(r"\b[0-9A-F]{8}:error:"), "<thread>:error:"),
]
MANIFEST = r"""cd / && find . -xdev \( -type f -o -type l \) -exec stat -c '%n|%F|%a|%s|%Z' {} + ; echo '=='
find ./usr/local ./etc -xdev -type f -exec md5sum {} +"""


def normalise(line):
    for pattern, replacement in NORMALISE:
        if replacement is None and pattern.search(line):
            return None
        if replacement is not None:
            line = pattern.sub(replacement, line)
    return line


MESSAGE = "  screen message: "
PULLED = "  stick pulled"
REMOVED = "board: stick removed"
RENAMED = "  console: board: renamed "


def tree_order_key(paths):
    """Orders paths as the installer copies a tree, subdirectories before files at
    each level, but by name within each: it takes a directory's entries in the order
    the file system lists them, which differs between file systems."""
    directories = {path.rsplit("/", depth)[0] for path in paths for depth in range(1, path.count("/"))}
    directories |= {path for path in paths if any(other.startswith(path + "/") for other in paths)}

    def key(path):
        parts = path.split("/")[1:]
        return [(0 if "/" + "/".join(parts[:index + 1]) in directories else 1, part)
                for index, part in enumerate(parts)]
    return key


def path_prefix(line):
    """The prefix of a line naming a file (a message of the copy, a rename), or None."""
    return next((prefix for prefix in (MESSAGE, RENAMED) if line is not None and line.startswith(prefix + "/")),
                None)


def regroup_path_runs(lines, emit):
    """The lines with each run of lines naming files (see path_prefix) replaced by
    emit(prefix, paths)."""
    result, run, prefix = [], [], None
    for line in lines + [None]:
        if run and path_prefix(line) != prefix:
            result += emit(prefix, run)
            run = []
        prefix = path_prefix(line)
        if prefix:
            run.append(line[len(prefix):])
        elif line is not None:
            result.append(line)
    return result


def in_listing_order(lines):
    """The lines with each run of messages or renames naming files put in tree order (see
    tree_order_key)."""
    return regroup_path_runs(lines, lambda prefix, run: [prefix + path for path in sorted(run, key=tree_order_key(run))])


def counted_paths(lines):
    """Runs of lines naming files as a count under their common directory: which files a
    cut after the n-th one leaves named depends on the order the file system lists them."""
    def counted(prefix, run):
        if len(run) > 1:
            return [f"{prefix}({len(run)} paths under {os.path.commonpath(run)})"]
        return [prefix + path for path in run]
    return regroup_path_runs(lines, counted)


def plain(text):
    """A widget's text without markup, on one line."""
    text = re.sub(r"<[^>]*>", " ", text)
    return " ".join(text.replace("&nbsp;", " ").split())


def line_trigger(rest):
    """The line that a cut-at or pull-at step names: "message|console TEXT [COUNT]"."""
    kind, *words = shlex.split(rest)
    count = int(words.pop()) if len(words) > 1 and words[-1].isdigit() else 1
    return {kind: " ".join(words), "count": count}


def read_steps(path):
    steps = []
    for line in Path(path).read_text().splitlines():
        line = line.split(" #")[0].strip() if not line.lstrip().startswith("#") else ""
        if line:
            steps.append(line)
    return steps


def manifest(board):
    listing, _, sums = board.shell(MANIFEST, timeout=STEP_TIMEOUT).partition("==\n")
    files = {}
    for line in listing.splitlines():
        name, kind, mode, size, changed = line.rsplit("|", 4)
        files[name[1:]] = {"kind": kind, "mode": mode, "size": size, "changed": changed, "sum": None}
    for line in sums.splitlines():
        checksum, name = line.split(None, 1)
        files[name[1:]]["sum"] = checksum
    return files


def new_contents(pack, stick_directory):
    """The checksums of the files the stick's packages install, by their path on the device."""
    sums = {}
    for archive in sorted(Path(stick_directory).glob("*.tar.bz2")):
        sums.update(stick.package_contents(pack, archive))
    return sums


def flash_changes(before, after, built=None):
    """The files added, removed or changed between two manifests. A file whose checksum is in
    `built` is named by its label there instead of its size, which changes with the compiler."""
    built = built or {}
    lines = []
    for name in sorted(set(before) | set(after)):
        old, new = before.get(name), after.get(name)
        describe = lambda entry: f"{entry['kind']} {entry['mode']} " + \
            built.get(entry["sum"], f"{entry['size']} bytes")
        if old is None:
            lines.append(f"added     {name}  {describe(new)}")
        elif new is None:
            lines.append(f"removed   {name}")
        elif any(old[key] != new[key] for key in ("kind", "mode", "size", "sum")):
            lines.append(f"changed   {name}  {describe(new)}")
        elif old["changed"] != new["changed"]:
            lines.append(f"rewritten {name}  (same contents)")
    return lines or ["(no change)"]


class Runner:
    def __init__(self, layer, out, pack, private_key):
        self.out = Path(out)
        shutil.rmtree(self.out, ignore_errors=True)
        self.screens = self.out / "screens"
        self.screens.mkdir(parents=True, exist_ok=True)
        self.board = boardlib.Board(layer, self.out / "board")
        self.pack = pack
        self.private_key = private_key
        self.packages = []
        self.stick_image = None
        self.mark = None
        self.console_seen = 0
        self.transcript = []
        self.pull_armed = False  # a pull-at's removal line is still to be hidden

    def say(self, line):
        self.transcript.append(line)

    def new_console_lines(self, end=None):
        """The console since the last step (up to line `end`): the device's lines and the
        message line's texts."""
        console = self.board.console
        if console is None:
            return
        end = len(console.lines) if end is None else end
        start, self.console_seen = self.console_seen, end
        said = []
        for index, line in enumerate(console.lines[start:end], start):
            # A pull set off by a line is shown after it; the automounter's line of its
            # removal comes when the kernel has noticed, at no fixed place.
            if self.pull_armed and index == self.board.pull_line:
                said.append(PULLED)
            if self.pull_armed and line == REMOVED and self.board.pull_line is not None:
                self.pull_armed = False
            elif boardlib.probe_message(line) is not None:
                said.append(MESSAGE + boardlib.probe_message(line))
            elif not line.startswith("widgetprobe\t"):
                text = normalise(line)
                if text is not None and text.strip():
                    said.append("  console: " + text)
        self.transcript += in_listing_order(said)

    def run(self, steps):
        try:
            for step in steps:
                started = time.monotonic()
                self.say("> " + step)
                self.do(step)
                if step.split()[0] not in SET_OFF:
                    self.new_console_lines()
                print(f"board: {time.monotonic() - started:6.1f} s  {step}", flush=True)
        finally:
            self.board.close()
        return "\n".join(self.transcript) + "\n"

    def do(self, step):
        verb, _, rest = step.partition(" ")
        handler = getattr(self, "step_" + verb.replace("-", "_"), None)
        if handler is None:
            raise boardlib.BoardError(f"unknown step: {step}")
        handler(rest)

    # --- steps ----------------------------------------------------------------------

    def step_stick(self, row):
        self.packages.append(row)

    def make_stick(self):
        self.stick_image, files = stick.make_stick(self.pack, self.private_key, self.packages, self.out / "stick")
        self.say("  stick: " + ", ".join(files))

    def step_boot(self, mode):
        if self.packages and self.stick_image is None:
            self.make_stick()
        self.board.frame_buffer = mode != "no-frame-buffer"
        self.board.boot(fresh=True)
        self.console_seen = 0
        self.wait_face(0)

    def step_power_on(self, _):
        self.board.boot(fresh=False)
        self.console_seen = 0
        self.wait_face(0)

    def wait_face(self, since):
        self.board.console.wait(lambda line: FACE_MARKER.fullmatch(line) is not None, STEP_TIMEOUT, since,
                                "the application on the screen")

    def step_flash_mark(self, _):
        self.mark = manifest(self.board)

    def step_plug(self, _):
        self.board.plug_stick(self.stick_image)

    def step_pull(self, _):
        self.board.pull_stick()

    def step_pull_at(self, rest):
        before, _, last = rest.rpartition(" ")
        delay = float(last[1:]) if last.startswith("+") else 0.0
        self.pull_armed = True
        self.board.pull_stick_when(**line_trigger(before if last.startswith("+") else rest), delay=delay)

    def step_installer(self, mode):
        self.board.start_installer(probe=mode != "plain")

    def step_pause(self, seconds):
        time.sleep(float(seconds))

    def step_wait_widget(self, name):
        self.board.widget(name, STEP_TIMEOUT)

    def step_wait_box(self, _):
        self.board.wait_box(STEP_TIMEOUT)

    def step_wait_console(self, text):
        self.board.console.wait(lambda line: line.startswith(text), STEP_TIMEOUT, self.console_seen, repr(text))

    def step_wait_message(self, text):
        self.board.console.wait(lambda line: text in (boardlib.probe_message(line) or ""), STEP_TIMEOUT,
                                self.console_seen, f"the message {text!r}")

    def step_wait_reboot(self, _):
        since = self.console_seen
        self.board.reboot_expected(since)
        self.wait_face(since)

    def step_tap(self, name):
        self.board.tap_widget(name, STEP_TIMEOUT)

    def step_screenshot(self, name):
        time.sleep(1)  # the last frame painted
        self.board.screenshot(self.screens / f"{name}.png")
        self.say(f"  screenshot {name}.png")

    def step_show_window(self, _):
        console = self.board.console
        # The toolkit lists its windows in no fixed order.
        for index, window in sorted(enumerate(console.windows), key=lambda pair: (pair[1]["class"], pair[1]["title"])):
            self.say(f"  window {window['class']} {plain(window['title'])!r} {plain(window['text'])}".rstrip())
            widgets = sorted((widget for widget in console.widgets.values() if widget["window"] == index),
                             key=lambda widget: (widget["rect"][1], widget["rect"][0]))
            for widget in widgets:
                state = ("" if widget["enabled"] else " (disabled)") + \
                    {"1": " [x]", "0": " [ ]"}.get(widget["checked"], "")
                self.say(f"    {widget['name']}: {plain(widget['text'])}{state}".rstrip())

    def step_show_flash(self, _):
        built = {}
        if stick.INSTALLER is not None:
            built[hashlib.md5(Path(stick.INSTALLER).read_bytes()).hexdigest()] = "(the installer as built)"
        for line in flash_changes(self.mark, manifest(self.board), built):
            self.say("  flash: " + line)

    def step_check_files(self, directory):
        new = new_contents(self.pack, self.out / "stick" / "stick")
        files = {name: entry for name, entry in manifest(self.board).items() if name.startswith(directory + "/")}
        torn, leftovers = [], []
        for name, entry in sorted(files.items()):
            if Path(name).name.endswith(".pkgupdate"):
                leftovers.append(name)
            elif entry["sum"] not in (new.get(name), self.mark.get(name, {}).get("sum")):
                torn.append(name)
        self.say(f"  files under {directory}: " + ("each wholly old or wholly new" if not torn else "TORN:"))
        self.transcript += [f"    {name}" for name in torn]
        print(f"board: {len(files)} files under {directory}, {len(leftovers)} hidden leftovers of a copy", flush=True)

    def step_run(self, command):
        for line in self.board.shell(command, timeout=STEP_TIMEOUT, check=False).splitlines():
            text = normalise(line)
            if text is not None:
                self.say("  | " + text)

    def step_cut_at(self, rest):
        self.board.cut_power_when(**line_trigger(rest))

    def step_cut_after(self, seconds):
        self.board.cut_power_when(after=float(seconds))

    def step_wait_cut(self, _):
        self.board.wait_power_cut(STEP_TIMEOUT)
        # What came after the line that set off the cut depends on how quickly it landed.
        shown = len(self.transcript)
        self.new_console_lines(self.board.cut_line)
        self.transcript[shown:] = counted_paths(self.transcript[shown:])
        self.board.power_off()
        self.say("  power cut")

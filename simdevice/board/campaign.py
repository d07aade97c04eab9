"""Power cuts at random points of updates of every package shape, one after another.

The rounds take the shapes in turn: a program (with 8 MB of data), help files that
replace the old tree (DELETE), both together, and a new installer (the hand-over).
Each round starts from a fresh flash, taps Install and cuts the power either at a
random time within the installation or at a random one of the points the markers
report (a file renamed into place, the start of a file system's flush, the start of
the sync before the hand-over). What a shape's installation takes, in
seconds and in such points, is learnt from its first uncut installation.

After the board is back it checks what the device guarantees: no file of the
packages is torn (each is wholly old, wholly new or, under a tree the package
deletes, not there yet), nothing else of the flash is missing, the program answers
-v, update.log holds whole lines and installer.ini reads back. Then the technician
installs the same stick again and the device must end with every file of the
stick's packages new, no staging copy left, and the application on the screen.
Prints one line per round and a table.
"""

import random
import re
import time

import boardlib
import scenario
import stick

HELP = "/usr/local/share/corvane/help"
SHAPES = {
    "program": ["bin 3.1.0 program:8"],
    "help": [f"doc 3.1.0 help:400 --delete {HELP}"],
    "program+help": ["bin 3.1.0 program:8", f"doc 3.1.0 help:400 --delete {HELP}"],
    "installer": ["ins 2.1.0 installer"],
}
QUIT_RETRY = 3  # seconds between taps on the new installer's Quit
FIRST_WINDOW = 4.0  # seconds within which a shape's first cut falls, before its time is known
TIMEOUT = 300
MARKERS = ("board: renamed ", "board: linked ", "board: syncfs begins", "board: sync begins")
OWN_FILES = ("/usr/local/share/corvane/update.log", "/usr/local/share/corvane/installer.ini")
LOG_LINE = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ \S+\.tar\.bz2")
INI_LINE = re.compile(r"\[\w+\]|\w+=.*|")


class Shape:
    """One package shape: its stick, the new contents, and what its installation takes."""

    def __init__(self, name, pack, private_key, out):
        self.name = name
        work = out / "sticks" / name.replace("+", "-")
        self.image, _ = stick.make_stick(pack, private_key, SHAPES[name], work)
        self.new = scenario.new_contents(pack, work / "stick")
        self.deletes = HELP if any("--delete" in row for row in SHAPES[name]) else None
        self.seconds = None  # from the tap on Install to the end, once seen
        self.markers = None  # marker lines in that time
        self.fresh = None  # the files of a fresh flash

    def cut_point(self, rng):
        """("time", seconds) or ("marker", n)."""
        if self.markers is None or rng.random() < 0.5:
            return "time", round(rng.uniform(0.0, self.seconds or FIRST_WINDOW), 2)
        return "marker", rng.randint(1, self.markers)


def is_marker(line):
    return line.startswith(MARKERS)


def start_installer(board):
    """Starts the installer and waits for its window (Quit is enabled also when Install,
    with nothing to install, is not)."""
    board.start_installer()
    board.widget("quit", TIMEOUT)


def installation_ended(shape, line):
    """The last line of an installation: the sync before the hand-over, the box asking
    for the stick to be removed (the sync before the reboot follows the tap on OK), or
    for help files alone the message line's "Ready"."""
    if shape.name == "installer":
        return line == "board: sync done"
    if shape.name == "help":
        return boardlib.probe_message(line) == "Ready"
    return line.startswith("widgetprobe\twindow\tQMessageBox")


def finish(board, shape, since, end):
    """What the technician does once the installation has run: remove the stick and
    confirm (reboot), Quit (help files alone), or Quit in the new installer."""
    console = board.console
    if shape.name == "installer":
        # The new installer runs without the probe: Quit is tapped where the layout puts
        # it, again until the application is back (the window takes seconds to appear).
        console.wait(lambda line: line.startswith("update found"), TIMEOUT, end, "the new installer")
        board.probed = False
        for _ in range(TIMEOUT // QUIT_RETRY):
            time.sleep(QUIT_RETRY)
            board.tap_widget("quit")
            if any(scenario.FACE_MARKER.fullmatch(line) for line in console.lines[end:]):
                break
    elif shape.name == "help":
        board.tap_widget("quit", TIMEOUT)
    else:
        board.wait_box(TIMEOUT)
        board.pull_stick()
        board.tap_widget("msgbox_default")
        board.reboot_expected(since)
    console.wait(lambda line: scenario.FACE_MARKER.fullmatch(line) is not None, TIMEOUT, since,
                 "the application on the screen")


def install_again(board, shape):
    """The technician's update once more; learns the shape's time and marker count."""
    board.plug_stick(shape.image)
    start_installer(board)
    if not any(widget["checked"] == "1" for widget in board.console.widgets.values()):
        board.tap_widget("quit")
        return "nothing left to install"
    since = len(board.console.lines)
    board.tap_widget("install")
    started = time.monotonic()
    end = board.console.wait(lambda line: installation_ended(shape, line), TIMEOUT, since, "the installation")
    if shape.seconds is None:
        shape.seconds = time.monotonic() - started
        shape.markers = sum(map(is_marker, board.console.lines[since:end]))
    finish(board, shape, since, end)
    return "installed again"


def cut_during_install(board, shape, point):
    """Boots a fresh board, taps Install and cuts the power at the point; returns the
    flash's files before, where the cut came and the last thing the device said
    before it."""
    board.boot(fresh=True)
    if shape.fresh is None:
        shape.fresh = scenario.manifest(board)  # every round starts from the same flash
    board.plug_stick(shape.image)
    start_installer(board)
    kind, value = point
    cut = f"{value} s" if kind == "time" else f"marker {value}"
    since = len(board.console.lines)
    if kind == "marker":
        board.cut_power_when(console=MARKERS, count=value)
    board.tap_widget("install")
    if kind == "time":
        board.cut_power_when(after=value)
    elif not board.cut_done.wait(2 * shape.seconds + 30):
        # An installation on a fresh flash may pass fewer points than the one the count
        # was learnt from (a settings file replaced, not created): cut after its end.
        board.console.watchers.clear()
        board.cut_power_when(after=0)
        seen = sum(map(is_marker, board.console.lines[since:]))
        shape.markers = min(shape.markers, seen)
        cut = f"marker {value} (only {seen} came: after the end)"
    board.wait_power_cut(TIMEOUT)
    said = [line if line.startswith("board: ") else boardlib.probe_message(line)
            for line in board.console.lines[:board.cut_line]]
    said = [text for text in said if text and text.strip()]
    board.power_off()
    return shape.fresh, cut, said[-1] if said else ""


def state_after_cut(board, shape, mark):
    """The package's files as new/old/not there, and what breaks the device's promises."""
    files = scenario.manifest(board)
    counts = {"new": 0, "old": 0, "absent": 0}
    problems = []
    for name, checksum in shape.new.items():
        entry = files.get(name)
        if entry is None:
            counts["absent"] += 1
            if name in mark and not (shape.deletes and name.startswith(shape.deletes + "/")):
                problems.append(f"missing: {name}")
        elif entry["sum"] == checksum:
            counts["new"] += 1
        elif entry["sum"] == mark.get(name, {}).get("sum"):
            counts["old"] += 1
        else:
            problems.append(f"torn: {name}")
    for name in mark:
        gone = name not in files and name not in shape.new and name.startswith("/usr/local/")
        if gone and not (shape.deletes and name.startswith(shape.deletes + "/")):
            problems.append(f"missing: {name}")
    log = board.shell(f"cat {OWN_FILES[0]} 2>/dev/null || true").splitlines()
    problems += [f"update.log line {line!r}" for line in log if not LOG_LINE.fullmatch(line)]
    ini = board.shell(f"cat {OWN_FILES[1]} 2>/dev/null || true").splitlines()
    problems += [f"installer.ini line {line!r}" for line in ini if not INI_LINE.fullmatch(line)]
    program = board.shell("corvane -v", check=False).strip()
    if not program:
        problems.append("the program does not answer -v")
    return counts, program, problems


def final_problems(board, shape):
    files = scenario.manifest(board)
    stale = [name for name, checksum in shape.new.items() if files.get(name, {}).get("sum") != checksum]
    leftovers = [name for name in files if name.endswith(".pkgupdate")]
    return ([f"{len(stale)} files not new, e.g. {stale[0]}"] if stale else []) + \
        ([f"staging copies left: {', '.join(leftovers)}"] if leftovers else [])


def one_round(board, shape, point):
    mark, cut, last = cut_during_install(board, shape, point)
    board.boot(fresh=False)
    counts, program, problems = state_after_cut(board, shape, mark)
    recovery = install_again(board, shape)
    problems += final_problems(board, shape)
    board.power_off()
    return {"shape": shape.name, "cut": cut, "last": last, "files": f"{counts['new']} new, {counts['old']} old, {counts['absent']} not there",
            "boot": f"corvane {program or '-'}", "again": recovery, "problems": problems}


def table(rows):
    lines = ["| round | shape | cut at | last line before the cut | package's files after the cut "
             "| after the cut | same stick again | result |", "|---|---|---|---|---|---|---|---|"]
    for number, row in enumerate(rows, 1):
        result = "; ".join(row["problems"]) or "ok"
        lines.append(f"| {number} | {row['shape']} | {row['cut']} | {row['last'][:60]} | {row['files']} "
                     f"| {row['boot']} | {row['again']} | {result} |")
    return "\n".join(lines)


def run(layer, out, pack, private_key, rounds, seed):
    rng = random.Random(seed)
    shapes = [Shape(name, pack, private_key, out) for name in SHAPES]
    rows = []
    with boardlib.Board(layer, out / "board") as board:
        for number in range(1, rounds + 1):
            shape = shapes[(number - 1) % len(shapes)]
            point = shape.cut_point(rng)
            try:
                row = one_round(board, shape, point)
            except boardlib.BoardError as error:
                board.power_off()
                row = {"shape": shape.name, "cut": str(point), "last": "", "files": "", "boot": "",
                       "again": "", "problems": [f"board: {error}"]}
            rows.append(row)
            print(f"round {number}: {row['shape']}, cut at {row['cut']} after {row['last']!r}: {row['files']}; "
                  f"{row['boot']}; {row['again']}; " + ("; ".join(row["problems"]) or "ok"), flush=True)
    failed = sum(bool(row["problems"]) for row in rows)
    (out / "table.md").write_text(table(rows) + "\n")
    print(table(rows))
    print(f"power cuts: {rounds - failed} of {rounds} rounds ok (seed {seed}; table in {out / 'table.md'})")
    return failed == 0

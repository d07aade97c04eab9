"""Power cuts at random times during the technician's update, one after another.

Each round starts from a fresh flash, taps Install and cuts the power at a random
time within the installation. After the board is back it checks what the device
guarantees: no installed file is torn (each is wholly old or wholly new), the
program answers -v, and update.log holds whole lines. Then the technician installs
the same stick again and the device must end with everything new: program and
help files of the stick, every help file its new contents.
"""

import random
import re
import time

import boardlib
import scenario
import stick

PACKAGES = ["bin 3.1.0 program", "doc 3.1.0 help --delete /usr/local/share/corvane/help"]
NEW_VERSION = "3.1.0"
WINDOW = 4.0  # seconds from the tap on Install within which the cut falls (the update takes about 3)
TIMEOUT = 300
# The installer's own files, which grow or change with each run (update.log is checked line by line).
OWN_FILES = ("/usr/local/share/corvane/update.log", "/usr/local/share/corvane/installer.ini")
LOG_LINE = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ \S+\.tar\.bz2")


def start_installer(board):
    """Starts the installer and waits for its window (Quit is enabled also when Install,
    with nothing to install, is not)."""
    board.start_installer()
    board.widget("quit", TIMEOUT)


def install_all(board, image):
    """The technician's update once more; returns what happened."""
    board.plug_stick(image)
    start_installer(board)
    if not any(widget["checked"] == "1" for widget in board.console.widgets.values()):
        board.tap_widget("quit")
        return "nothing left to install"
    since = len(board.console.lines)
    board.tap_widget("install")
    deadline = time.monotonic() + TIMEOUT
    while not any(window["class"] == "QMessageBox" for window in board.console.windows):
        if time.monotonic() > deadline:
            raise boardlib.BoardError("no message box after Install")
        time.sleep(0.2)
    board.pull_stick()
    board.tap_widget("msgbox_default")
    board.reboot_expected(since)
    return "installed again"


def final_problems(board, new):
    problems = []
    if board.shell("corvane -v").strip() != NEW_VERSION:
        problems.append("program not new")
    if board.shell("cat /usr/local/share/corvane/help/version.txt").strip() != f"version={NEW_VERSION}":
        problems.append("help version not new")
    files = scenario.manifest(board)
    stale = [name for name, checksum in new.items()
             if name.startswith("/usr/local/share/corvane/help/") and files.get(name, {}).get("sum") != checksum]
    if stale:
        problems.append(f"{len(stale)} help files not new, e.g. {stale[0]}")
    return problems


def cut_during_install(board, image, at):
    """Boots a fresh board, taps Install and cuts the power `at` seconds later; returns the
    flash's files before and the last thing the device said before the cut."""
    board.boot(fresh=True)
    mark = scenario.manifest(board)
    board.plug_stick(image)
    start_installer(board)
    board.tap_widget("install")
    board.cut_power_when(after=at)
    board.wait_power_cut(TIMEOUT)
    said = [line if line.startswith("board: ") else boardlib.probe_message(line)
            for line in board.console.lines[:board.cut_line]]
    said = [text for text in said if text and text.strip()]
    board.power_off()
    return mark, said[-1] if said else ""


def state_after_cut(board, mark, new):
    """What the device guarantees after a cut: (torn files, broken update.log lines, program answer)."""
    torn = [name for name, entry in sorted(scenario.manifest(board).items())
            if name.startswith("/usr/local/") and not name.endswith(".pkgupdate") and name not in OWN_FILES
            and entry["sum"] not in (new.get(name), mark.get(name, {}).get("sum"))]
    log_lines = board.shell("cat /usr/local/share/corvane/update.log 2>/dev/null || true").splitlines()
    broken = [line for line in log_lines if not LOG_LINE.fullmatch(line)]
    return torn, broken, board.shell("corvane -v", check=False).strip()


def one_round(board, image, new, at):
    mark, last = cut_during_install(board, image, at)
    board.boot(fresh=False)
    torn, broken, program = state_after_cut(board, mark, new)
    recovery = install_all(board, image)
    problems = final_problems(board, new)
    board.power_off()
    if torn:
        problems.append("torn: " + ", ".join(torn))
    if broken:
        problems.append("update.log broken: " + "; ".join(broken))
    if not program:
        problems.append("the program does not answer -v")
    print(f"cut {at:5.2f} s after Install, after {last!r}: program {program or '-'}; {recovery}; "
          + ("; ".join(problems) if problems else "ok"), flush=True)
    return not problems


def run(layer, out, pack, private_key, rounds, seed):
    rng = random.Random(seed)
    image, _ = stick.make_stick(pack, private_key, PACKAGES, out / "stick")
    new = scenario.new_contents(out / "stick" / "sources")
    failed = 0
    with boardlib.Board(layer, out / "board") as board:
        for number in range(1, rounds + 1):
            print(f"round {number}: ", end="", flush=True)
            failed += not one_round(board, image, new, round(rng.uniform(0.0, WINDOW), 2))
    print(f"power cuts: {rounds - failed} of {rounds} rounds ok (seed {seed})")
    return failed == 0

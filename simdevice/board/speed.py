"""The installer's speed where a slow device's costs show: on the board, in one boot,
the stick's packages installed through the window against the same packages
installed by hand with the same tools.

Each round boots a fresh board with the stick in. First the technician's update:
the installer on the frame buffer, Install tapped, timed until the box asking to
remove the stick appears, less the fixed one-second pause the installer makes before
each package. Then, while that box waits, the hand pipeline on the same packages,
timed on the device:
    openssl dgst -sha1 -verify, tar -xjf into /tmp, the tree copied with cp -a
    (a help-files package's old tree removed first, as its DELETE line does), sync
Before each, written data is flushed and the page cache dropped, so both read the
stick and write the flash cold. The installer runs with the widget probe (one
console line per message, as the taps need it) but without the markers.
Not a test: nothing passes or fails on a time.
"""

import statistics
import time

import boardlib
import devicelayer
import stick

PACKAGES = ["bin 3.1.0 program:50", "doc 3.1.0 bench-help --delete /usr/local/share/corvane/help"]
PAUSE_PER_PACKAGE = 1.0  # the installer's pause after making its unpack directory
TIMEOUT = 900
COLD = "sync; echo 3 >/proc/sys/vm/drop_caches"

# By hand, each package: its DELETE lines, then verify, unpack and copy; one sync at
# the end. Prints the device's clock before each step, a line per package, and then
# before and after the sync.
HAND = r"""
now() { read -r up _ </proc/uptime; printf '%s ' "$up"; }
for package in /media/usb/*.tar.bz2; do
    rm -rf /tmp/hand && mkdir /tmp/hand
    now
    openssl dgst -sha1 -verify /KEY -signature "$package.sha1" "$package" >/dev/null
    now
    tar -xjf "$package" -C /tmp/hand
    now
    sed -n 's/^DELETE *= *//p' /tmp/hand/UPDATE.CONF | while read -r tree; do rm -rf "$tree"; done
    cp -a /tmp/hand/usr/. /usr/
    now; echo
done
rm -rf /tmp/hand
now; sync; now; echo
""".replace("KEY", devicelayer.PUBLIC_KEY)
STEPS = ("verify", "unpack", "copy", "rest")
# The first word of a message and the step it begins (None: between steps); any other
# message is a file being copied.
STEP_OF_MESSAGE = {"Start": None, "Starting": None, "Verify": "verify", "Unpacking...": "unpack", "Ready": None}


def window_steps(console, since, started, ended):
    """The window's seconds in each step, from the message line's texts as they came:
    "Verify key from NAME", "Unpacking...", the files' paths, "Ready"; "rest" is
    the pauses, the syncs and the box."""
    steps = dict.fromkeys(STEPS, 0.0)
    step, began = None, None
    for line, at in zip(console.lines[since:], console.times[since:]):
        text = boardlib.probe_message(line)
        if text is None:
            continue
        new = STEP_OF_MESSAGE.get(text.split(" ")[0], "copy")
        if new == step:
            continue
        if step is not None:
            steps[step] += at - began
        step, began = new, at
    steps["rest"] = ended - started - sum(steps.values())
    return steps


def window_round(board):
    """The window's seconds, less the pauses, in all and per step; and its messages."""
    board.shell(COLD)
    board.start_installer(markers=False)
    board.widget("install", TIMEOUT)
    since = len(board.console.lines)
    board.tap_widget("install")
    started = time.monotonic()
    board.wait_box(TIMEOUT)
    ended = board.console.last_snapshot
    steps = window_steps(board.console, since, started, ended)
    steps["rest"] -= PAUSE_PER_PACKAGE * len(PACKAGES)
    return sum(steps.values()), steps, len(board.console.messages)


def hand_round(board):
    """The hand pipeline's seconds, in all and per step (the sync as "rest")."""
    board.shell(COLD)
    *packages, sync = [list(map(float, line.split())) for line in board.shell(HAND, timeout=TIMEOUT).splitlines()]
    steps = {step: sum(clock[index + 1] - clock[index] for clock in packages) for index, step in enumerate(STEPS[:3])}
    steps["rest"] = sync[1] - sync[0]
    return sum(steps.values()), steps


def describe(steps):
    return ", ".join(f"{name} {seconds:.1f}" for name, seconds in steps.items())


def run(layer, out, pack, private_key, rounds):
    image, files = stick.make_stick(pack, private_key, PACKAGES, out / "stick")
    print("speed: stick " + ", ".join(f"{name} ({(out / 'stick' / 'stick' / name).stat().st_size / 1e6:.1f} MB)"
                                      for name in files if name.endswith(".bz2")), flush=True)
    window, hand = [], []
    with boardlib.Board(layer, out / "board") as board:
        for number in range(1, rounds + 1):
            board.boot(fresh=True)
            board.plug_stick(image)
            seconds, steps, messages = window_round(board)
            window.append(seconds)
            print(f"speed: round {number}: through the window {seconds:.2f} s ({describe(steps)}; "
                  f"{messages} messages)", flush=True)
            seconds, steps = hand_round(board)
            hand.append(seconds)
            board.power_off()
            print(f"speed: round {number}: by hand {seconds:.2f} s ({describe(steps)}), "
                  f"ratio {window[-1] / hand[-1]:.2f}x", flush=True)
    ratio = statistics.median(w / h for w, h in zip(window, hand))
    print(f"speed: through the window {statistics.median(window):.2f} s, by hand {statistics.median(hand):.2f} s, "
          f"ratio {ratio:.2f}x (medians of {rounds} rounds in one boot each)")

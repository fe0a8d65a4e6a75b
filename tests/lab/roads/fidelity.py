"""The faults that the simulation and the virtual server are compared by: what each of them is on either side."""

import re
import subprocess
from typing import NamedTuple

from kv6000.paths import build_folder

IDENTIFY, UPDATE, APPLY = "identify-ipmitool", "update-ipmitool", "apply-ipmitool"
DEVICE, CONNECT = "request .* raw 0x06 0x01", "request .* raw 0x34 0x8c 0x55 0xaa 0x01"
CONNECTED, WAIT = "request .* raw 0x34 0x8d", "request .* raw 0x34 0x2c"
RECORDS = "/srv/orv/repository/state.json"
NEW_RECORDS = RECORDS + ".XXXXXX"
# The shell that runs ipmitool is a child of orvhost.
KILL_THE_TOOL = "kill -9 $(sed -n 's/^PPid:[^0-9]*//p' /proc/$PPID/status)"


class Cell(NamedTuple):
    """A fault at a step of a road, and how the virtual server gets it: `means` is what kind of thing is done there, with
    `detail` for it."""

    fault: str
    road: str
    step: str  # how its line in the story begins, behind the number
    number: int  # which of these, from 1 on
    means: str
    detail: object


def order(fault: str, step: str, words: str) -> Cell:
    return Cell(fault, UPDATE, step, 1, "orders", [words])


def tool(fault: str, step: str, script: str, road: str = UPDATE, number: int = 1) -> Cell:
    """ipmitool does this once: $0.real is the real one."""
    return Cell(fault, road, step, number, "tool", script)


CELLS = (
    order("busy", CONNECT, "fail 34 8c C0"),
    order("busy-for-good", CONNECTED, "fail 34 8d C0 always"),
    order("wrong-state", CONNECT, "fail 34 8c D5"),
    order("invalid-command", WAIT, "fail 34 2c C1"),
    order("wrong-length", WAIT, "fail 34 2c C7"),
    order("invalid-data", CONNECT, "fail 34 8c CC"),
    order("cannot-answer", CONNECTED, "fail 34 8d CE"),
    order("unspecified", CONNECTED, "fail 34 8d FF"),
    order("short", CONNECTED, "short 34 8d 1"),
    order("long", CONNECTED, "long 34 8d 10"),
    order("silent", CONNECTED, "silent 34 8d"),
    Cell("silent-for-good", UPDATE, CONNECTED, 1, "orders", ["silent 34 8d always", "silent 34 8c 1000 55 aa 00"]),
    tool("garbage", CONNECTED, 'echo "the device"; echo "answers: something entirely different, as words"'),
    tool("garbage", DEVICE, 'echo "the device"; echo "answers: something entirely different, as words"', IDENTIFY),
    tool("three-characters", CONNECTED, '"$0.real" "$@" | sed "\\$s/\\$/ 123/"'),
    tool("nothing", DEVICE, '"$0.real" "$@" >/dev/null', IDENTIFY),
    tool("nothing", CONNECTED, '"$0.real" "$@" >/dev/null'),
    tool("not-found", CONNECT, "exit 127"),
    tool("not-executable", CONNECT, "exit 126"),
    tool("exit-1", DEVICE, "exit 1", IDENTIFY),
    tool("exit-1-after", CONNECT, '"$0.real" "$@"; exit 1'),
    tool("exit-2-after", DEVICE, '"$0.real" "$@"; exit 2', IDENTIFY),
    tool("signal", CONNECT, "kill -9 $$"),
    tool("output-lost", DEVICE, '"$0.real" "$@"; rm -f /srv/orv/tmp/KV6KBMC/IPMIResult*', IDENTIFY),
    tool("clock-back", CONNECT, 'date -s @$(($(date +%s) - 3600)) >/dev/null; exec "$0.real" "$@"'),
    tool("clock-forward", CONNECT, 'date -s @$(($(date +%s) + 86400)) >/dev/null; exec "$0.real" "$@"'),
    tool("kill", CONNECTED, KILL_THE_TOOL),
    tool("kill", DEVICE, KILL_THE_TOOL, number=2),
    Cell("hangs", UPDATE, "flash ", 1, "flash", ["hang"]),
    Cell("exit-1", UPDATE, "flash ", 1, "flash", [1]),
    Cell("missing", APPLY, f"read {RECORDS}", 1, "records", None),
    Cell("empty", APPLY, f"read {RECORDS}", 1, "records", ""),
    Cell("unreadable", APPLY, f"read {RECORDS}", 1, "call", ("read", 1)),
    Cell("rename-fails", UPDATE, f"rename {RECORDS}", 4, "call", ("rename", 4)),
    Cell("sync-fails", UPDATE, f"sync {NEW_RECORDS}", 2, "call", ("fsync", 3)),
    Cell("disk-full", UPDATE, f"write {NEW_RECORDS}", 1, "full disk", None),
    Cell("kill-during", UPDATE, "flash ", 1, "in the flash", "kill"),
    Cell("power-during", UPDATE, "flash ", 1, "in the flash", "power"),
    tool("power", CONNECTED, "touch /share/at-the-step; sleep 60"),
)


class Ending(NamedTuple):
    """How a run of the tool ends: for one that is cut off, what "diagnose" says of it."""

    verdict: str
    exit: int  # None for a run that was cut off
    touched: bool  # the flash, as the BMC saw it


def replay(text: str) -> str:
    program = build_folder() / "explore" / "kestrel_explore"
    done = subprocess.run([program, "--replay", text], capture_output=True, text=True, check=False)
    assert done.returncode in (0, 1), done.stdout
    return done.stdout


def text_of(cell: Cell) -> str:
    """The cell's scenario, with the number that its step has today."""
    numbers = re.findall(rf"(?m)^  (\d+) {cell.step}", replay(cell.road))
    return f"{cell.road} {numbers[cell.number - 1]}:{cell.fault}"


def simulated(text: str) -> Ending:
    story = replay(text)
    verdict, code, touched = re.search(r"(?m)^The faults end in: ([\w-]+), (?:no exit code|exit code (\d+)), flash "
                                       r"(un)?touched\.", story).groups()
    diagnosed = re.search(r"(?m)^orvhost diagnose\n(?: .*\n)*?  exit 0, ([\w-]+)$", story)
    return Ending(verdict if code else f"{verdict}, {diagnosed.group(1)}", int(code) if code else None, touched is None)

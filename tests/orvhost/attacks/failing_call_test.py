"""An update in which one system call that touches a file fails, for every such call there is, in every way it can fail.

Each half of the calls is tried in a process namespace of its own, in which nobody else's processes come and go, so that
the n-th call is the same one in every run."""

import json
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from machine import APART, Machine, Untrue
from truth import judge

WATCH_CALLS = os.environ["WATCH_CALLS"]
HALVES = 2
FAULTS = ("error", "short", "interrupted", "full")
MAY_BE_INTERRUPTED = {"read", "write", "pread64", "fsync", "fdatasync"}
MEMORY = "/dev/shm"  # bringing a file to the disk takes no time there


def is_interruptible(name: str, file: str) -> bool:
    """The loader's calls are none: it begins before the program can get a signal that it lives through."""
    return name in MAY_BE_INTERRUPTED and ".so" not in file


class Sweep:
    def __init__(self, folder: Path, half: int):
        self.machine = Machine(folder)
        self.half = half
        self.list = folder / "list"
        self.found = []
        self.tried = {fault: 0 for fault in FAULTS}
        self.calls = self._count()

    def _around(self, fault: str, number: int) -> tuple:
        return WATCH_CALLS, str(self.list), fault, str(number)

    def _lines(self) -> list[list[str]]:
        return [line.split(" ", 3) for line in self.list.read_text().splitlines()]

    def _count(self) -> list[list[str]]:
        self.machine.renew()
        ended = self.machine.update(self._around("none", 0))
        if ended.code != 0:
            raise RuntimeError(f"the update that is only watched ends with {ended.code}: {ended.out}{ended.err}")
        self.machine.expected = self.machine.files()
        return self._lines()

    def go(self):
        for number, name, room, file in self.calls[self.half::HALVES]:
            self.attempt("error", int(number))
            if name == "write":
                self.attempt("short", int(number))
            if is_interruptible(name, file):
                self.attempt("interrupted", int(number))
            if room == "room":
                self.attempt("full", int(number))

    def attempt(self, fault: str, number: int):
        self.machine.renew()
        try:
            ended = self.machine.update(self._around(fault, number))
            failed = self._lines()
            if not failed:
                return
            self.tried[fault] += 1
            judge(self.machine, ended)
        except Untrue as untrue:
            call = self._lines()[:1]
            self.found.append(f"{fault} {call}: {untrue}")


def one_half(half: int):
    with tempfile.TemporaryDirectory(dir=MEMORY if Path(MEMORY).is_dir() else None) as folder:
        sweep = Sweep(Path(folder), half)
        only = os.environ.get("ATTACK_ONLY")  # such as "error 512", to look at one
        if only:
            sweep.attempt(only.split()[0], int(only.split()[1]))
        else:
            sweep.go()
    print(json.dumps({"found": sweep.found, "tried": sweep.tried, "calls": len(sweep.calls)}))


class FailingCall(unittest.TestCase):
    tried = "none"

    def test_an_update_in_which_any_call_fails_tells_the_truth_and_leaves_nothing(self):
        command = [sys.executable, __file__]
        if subprocess.run([*APART, "true"], check=False).returncode == 0:
            command = [*APART, *command]
        halves = [subprocess.Popen([*command, str(half)], stdout=subprocess.PIPE, text=True) for half in range(HALVES)]
        told = [json.loads(half.communicate()[0]) for half in halves]
        found = [line for half in told for line in half["found"]]
        tried = {fault: sum(half["tried"][fault] for half in told) for fault in FAULTS}
        self.assertEqual(found, [], "\n" + "\n".join(found))
        self.assertGreater(tried["error"], 500)
        FailingCall.tried = f"{told[0]['calls']} calls; " + ", ".join(f"{fault}: {tried[fault]}" for fault in FAULTS)


if __name__ == "__main__":
    if sys.argv[1:] in (["0"], ["1"]):
        one_half(int(sys.argv[1]))
    else:
        program = unittest.main(exit=False)
        print("tried:", FailingCall.tried, file=sys.stderr)
        sys.exit(not program.result.wasSuccessful())

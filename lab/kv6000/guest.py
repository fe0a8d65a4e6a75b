"""The guest of a running server: waits for its boots and runs commands in it.

A job is a folder on the share: the client writes `script`, the agent in the guest writes `out`, `err` and, last,
`exit`. A serial line is only the bell between the two, so that neither has to poll. Each boot is a process of its own
with a bell of its own, so every look at the guest begins with the question whether the bell at hand still is the machine's.
"""

import select
import shlex
import socket
import time
from pathlib import Path
from typing import Callable, NamedTuple

from kv6000.boot import ready_file
from kv6000.errors import LabError, last_lines


class Result(NamedTuple):
    exit: int
    out: str
    err: str


def as_script(command) -> str:
    """A command line for `sh`, or a list of words that reach the program unchanged."""
    return command if isinstance(command, str) else shlex.join(command)


def hung_up(line: socket.socket) -> bool:
    """Whether the other end of a connection has gone, even when something that it sent is still to be read."""
    poller = select.poll()
    poller.register(line, select.POLLRDHUP)
    return bool(poller.poll(0))


class Guest:
    def __init__(self, folder: Path, bmc: Callable):
        self._folder = folder
        self._bmc = bmc
        self._share = folder / "share"
        self._bell = None
        self._next_job = 0
        self._known_boot = ""  # the last one that the caller has seen at work

    def current_boot(self) -> str:
        """The identity of the boot that takes commands, "" while the machine starts."""
        try:
            return ready_file(self._folder).read_text().strip()
        except OSError:
            return ""

    def wait_for_new_boot(self, time_limit: float):
        """Waits until a boot takes commands that the caller has not seen at work yet; that may long be so."""
        limit = time.monotonic() + time_limit
        while (boot := self.current_boot()) in ("", self._known_boot):
            if time.monotonic() > limit:
                self._fail(f"The guest is not ready after {time_limit:g} s.")
            if self._has_panicked():
                self._fail("The guest's kernel panicked.")
            if self._bmc("state")["power"] == "off":
                self._fail("The machine is off and nothing powers it on.")
            self._listen(0.2)
        self._connect()
        self._known_boot = boot

    def wait_for_off(self, time_limit: float):
        limit = time.monotonic() + time_limit
        while self._bmc("state")["power"] != "off":
            if time.monotonic() > limit:
                self._fail(f"The machine is still on after {time_limit:g} s.")
            self._listen(0.2)

    def start(self, command) -> "Job":
        if not self._connect():
            self._fail("The machine is off; it cannot run a command.")
        boot = self.current_boot()
        if not boot:
            self._fail("The machine is starting; it cannot run a command yet.")
        self._known_boot = boot
        # Several clients may use one server: the folder that can be made is the job's own.
        while True:
            self._next_job += 1
            folder = self._share / "lab" / "jobs" / str(self._next_job)
            try:
                folder.mkdir()
                break
            except FileExistsError:
                pass
        (folder / "script").write_text(as_script(command) + "\n")
        try:
            self._bell.sendall(f"run {folder.name}\n".encode())
        except OSError:
            self.release()
            self._fail("The machine went off; it cannot run a command.")
        return Job(self, folder, command, boot)

    def release(self):
        """Lets go of the bell, which only one client can hold at a time."""
        if self._bell:
            self._bell.close()
        self._bell = None

    def _connect(self) -> bool:
        """Takes hold of the bell of the machine that is on. False when none is."""
        if self._bell and hung_up(self._bell):
            self.release()
        if not self._bell:
            bell = socket.socket(socket.AF_UNIX)
            try:
                bell.connect(str(self._folder / "bell.sock"))
            except OSError:
                bell.close()
                return False
            self._bell = bell
        return True

    def _listen(self, seconds: float):
        """Returns when the bell rings, the machine goes off or the time is over."""
        if not self._connect():
            time.sleep(min(seconds, 0.05))
            return
        ready, _, _ = select.select([self._bell], [], [], seconds)
        if ready:
            try:
                rung = self._bell.recv(4096)
            except OSError:
                rung = b""
            if not rung:
                self.release()

    def _has_panicked(self) -> bool:
        console = self._folder / "console.log"
        return console.exists() and b"Kernel panic" in console.read_bytes()

    def _fail(self, cause: str):
        machine = self._folder / "machine.log"
        evidence = [last_lines(self._folder / "console.log")]
        if machine.exists() and machine.stat().st_size:
            evidence.append(last_lines(machine))
        raise LabError(cause, "\n".join(evidence), f"The run folder is {self._folder}; start the server with keep to "
                       "look into it afterwards.")


class Job:
    """A command that runs in the guest."""

    def __init__(self, guest: Guest, folder: Path, command, boot: str):
        self._guest = guest
        self._folder = folder
        self._command = command
        self._boot = boot

    def done(self) -> bool:
        # The code is written with its newline at once, but the file is there a moment before.
        return self.output("exit").endswith("\n")

    def wait(self, time_limit: float = 60) -> Result:
        """The result of the command; LabError when the time is over or the machine goes down before it ends."""
        limit = time.monotonic() + time_limit
        while True:
            # In this order: what ended before the machine went down has ended well.
            gone = not self._guest._connect() or self._guest.current_boot() != self._boot
            if self.done():
                break
            if gone:
                self._guest._fail(f"The machine went down while it ran '{self._command}'.")
            if time.monotonic() > limit:
                self._guest._fail(f"No end of '{self._command}' in the guest after {time_limit:g} s.")
            self._guest._listen(0.5)
        return Result(int(self.output("exit")), self.output("out"), self.output("err"))

    def output(self, name: str = "out") -> str:
        """What the command has written so far to "out" or "err"."""
        path = self._folder / name
        return path.read_text(errors="replace") if path.exists() else ""

"""Keeps one virtual server: starts the BMC's process on demand, and when its client lets go, ends all processes of the
server and removes the run folder. A process of its own, so that this also happens when the client is killed.

Arguments: run folder, then the command that starts the BMC. Standard input is held by the client, whose lines are
"start" and "keep" (spare the folder); "ended" goes to standard output whenever the BMC's process has ended.
"""

import ctypes
import os
import select
import shutil
import signal
import subprocess
import sys

PR_SET_PDEATHSIG = 1
PR_SET_CHILD_SUBREAPER = 36
LIBC = ctypes.CDLL(None, use_errno=True)


def die_with_parent():
    LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGKILL, 0, 0, 0)


class Keeper:
    def __init__(self, folder: str, command: list):
        self._folder = folder
        self._command = command
        self._bmc = None

    def serve(self) -> bool:
        """Obeys the client until it lets go. True when the run folder is to be spared."""
        keep = False
        while True:
            watched = [0] + ([self._bmc] if self._bmc else [])
            ready, _, _ = select.select(watched, [], [])
            if 0 in ready:
                words = os.read(0, 100).split()
                if not words:
                    return keep
                keep = keep or b"keep" in words
                if b"start" in words:
                    self._start()
            elif ready:
                self.end_all()
                os.write(1, b"ended\n")

    def _start(self):
        with open(os.path.join(self._folder, "bmc.log"), "wb") as log:
            process = subprocess.Popen(self._command, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                       cwd=self._folder, preexec_fn=die_with_parent)
        self._bmc = os.pidfd_open(process.pid)

    def end_all(self):
        """Ends the BMC's process; the machine's process ends with it. Returns when both are gone."""
        if self._bmc:
            try:
                signal.pidfd_send_signal(self._bmc, signal.SIGKILL)
            except ProcessLookupError:
                pass
            os.close(self._bmc)
            self._bmc = None
        try:
            while True:
                os.wait()
        except ChildProcessError:
            pass


def main():
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGPIPE):
        signal.signal(number, signal.SIG_IGN)
    # The machine's process becomes a child of this one when the BMC's process ends before it.
    LIBC.prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
    folder, command = sys.argv[1], sys.argv[2:]
    keeper = Keeper(folder, command)
    keep = keeper.serve()
    keeper.end_all()
    if not keep:
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    main()

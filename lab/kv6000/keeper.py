"""Keeps one virtual server: starts the BMC's process, and when its driver lets go, ends all processes of the server and
removes the run folder. Runs as a process of its own, so that this also happens when the driver is killed.

Arguments: run folder, then the command. Standard input is held by the driver; the line "keep" there spares the folder.
"""

import ctypes
import os
import select
import shutil
import signal
import subprocess
import sys

PR_SET_CHILD_SUBREAPER = 36
PR_SET_PDEATHSIG = 1
LIBC = ctypes.CDLL(None, use_errno=True)


def die_with_parent():
    LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGKILL, 0, 0, 0)


def wait_for_end(bmc):
    """Returns (spare the run folder, the driver asked for the end)."""
    ended = os.pidfd_open(bmc.pid)
    keep = False
    while True:
        ready, _, _ = select.select([0, ended], [], [])
        if 0 in ready:
            text = os.read(0, 100)
            if not text:
                return keep, True
            keep = keep or b"keep" in text
        elif ended in ready:
            return True, False


def main():
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, signal.SIG_IGN)
    # The machine's process becomes a child of this one when the BMC's process ends before it.
    LIBC.prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
    folder, command = sys.argv[1], sys.argv[2:]
    with open(os.path.join(folder, "bmc.log"), "ab") as log:
        bmc = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log, stderr=log, cwd=folder,
                               preexec_fn=die_with_parent)
    keep, asked = wait_for_end(bmc)
    bmc.kill()
    bmc.wait()
    try:
        while True:
            os.wait()
    except ChildProcessError:
        pass
    if not keep:
        shutil.rmtree(folder, ignore_errors=True)
    sys.exit(0 if asked else 1)


if __name__ == "__main__":
    main()

"""Connects this terminal to the serial shell of a server."""

import os
import select
import socket
import sys
import termios
import time
import tty
from pathlib import Path

LEAVE = b"\x1d"  # Ctrl-]


def attach(path: Path, say):
    """Passes everything between the terminal and the server until Ctrl-]. Waits while the machine is off."""
    before = termios.tcgetattr(0)
    try:
        tty.setraw(0)
        while True:
            if _pass_until_gone(path):
                return
            say("the machine went down\r")
            if not _wait_for_line(path):
                return
    finally:
        termios.tcsetattr(0, termios.TCSADRAIN, before)
        print(file=sys.stderr)


def _pass_until_gone(path: Path) -> bool:
    """True when the person leaves, False when the machine goes down."""
    with socket.socket(socket.AF_UNIX) as line:
        try:
            line.connect(str(path))
        except OSError:
            return False
        line.sendall(b"\n")  # the shell shows its prompt again
        while True:
            ready, _, _ = select.select([0, line], [], [])
            if line in ready:
                text = line.recv(4096)
                if not text:
                    return False
                os.write(1, text)
            if 0 in ready:
                text = os.read(0, 1024)
                if not text or LEAVE in text:
                    return True
                line.sendall(text)


def _wait_for_line(path: Path) -> bool:
    """Waits for the machine to be powered on. False when the person leaves before."""
    while True:
        with socket.socket(socket.AF_UNIX) as probe:
            if probe.connect_ex(str(path)) == 0:
                return True
        ready, _, _ = select.select([0], [], [], 0)
        if ready and LEAVE in os.read(0, 1024):
            return False
        time.sleep(0.1)

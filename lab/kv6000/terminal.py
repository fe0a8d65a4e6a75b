"""Connects this terminal to the serial shell of a server."""

import os
import select
import socket
import sys
import termios
import tty
from pathlib import Path
from typing import Callable

LEAVE = b"\x1d"  # Ctrl-]


def attach(path: Path, say: Callable[[str], None]):
    """Passes everything between the terminal and the server until Ctrl-]. Waits while the machine is off."""
    before = termios.tcgetattr(0)
    try:
        tty.setraw(0)
        while line := _wait_for_line(path):
            with line:
                if _pass_until_gone(line):
                    return
            say("the machine went down\r")
    finally:
        termios.tcsetattr(0, termios.TCSADRAIN, before)
        print(file=sys.stderr)


def _wait_for_line(path: Path) -> socket.socket | None:
    """A connection to the machine's shell, once the machine is on. None when the person leaves before."""
    while True:
        line = socket.socket(socket.AF_UNIX)
        if line.connect_ex(str(path)) == 0:
            return line
        line.close()
        typed, _, _ = select.select([0], [], [], 0.1)
        if typed and _asks_to_leave(os.read(0, 1024)):
            return None


def _pass_until_gone(line: socket.socket) -> bool:
    """True when the person leaves, False when the machine goes down."""
    is_on = _send(line, b"\n")  # the shell shows its prompt again
    while is_on:
        ready, _, _ = select.select([0, line], [], [])
        if line in ready:
            text = _receive(line)
            is_on = text != b""
            os.write(1, text)
        if 0 in ready:
            text = os.read(0, 1024)
            if _asks_to_leave(text):
                return True
            is_on = is_on and _send(line, text)
    return False


def _asks_to_leave(typed: bytes) -> bool:
    return not typed or LEAVE in typed


def _send(line: socket.socket, text: bytes) -> bool:
    """False when the machine went down."""
    try:
        line.sendall(text)
    except ConnectionError:
        return False
    return True


def _receive(line: socket.socket) -> bytes:
    """What the machine printed; nothing when it went down. With typed text that it has not read yet its end is an
    error."""
    try:
        return line.recv(4096)
    except ConnectionError:
        return b""

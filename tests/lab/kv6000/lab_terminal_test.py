"""The terminal of `lab/lab run` at a serial shell that the test plays, whose machine goes down. Nothing boots."""

import os
import select
import shutil
import socket
import sys
import tempfile
import unittest
from pathlib import Path

from kv6000.paths import LAB
from lab_support import Person

ATTACH = """
import sys
from pathlib import Path
from kv6000.terminal import attach
attach(Path(sys.argv[1]), lambda text: print(text, flush=True))
print("the person has left")
"""


class ATerminal(unittest.TestCase):
    def setUp(self):
        folder = Path(tempfile.mkdtemp(prefix="lab-test-"))
        self.addCleanup(shutil.rmtree, folder)
        self.path = folder / "shell.sock"
        self.power_on()
        self.person = Person([sys.executable, "-c", ATTACH, str(self.path)], env=dict(os.environ, PYTHONPATH=str(LAB)))
        self.addCleanup(self.person.close)
        self.take_line()

    def power_on(self):
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(str(self.path))
        self.listener.listen()
        self.listener.settimeout(10)
        self.addCleanup(self.listener.close)

    def take_line(self):
        """Takes the next connection, which asks for a prompt."""
        self.line, _ = self.listener.accept()
        self.line.settimeout(10)
        self.addCleanup(self.line.close)
        self.assertEqual(self.line.recv(100), b"\n")

    def power_off(self):
        """In this order, so that the terminal cannot connect to a machine that is going down."""
        self.listener.close()
        self.path.unlink()
        self.line.close()

    def test_shows_what_the_shell_prints_and_sends_what_is_typed(self):
        self.line.sendall(b"kv6000# ")
        self.person.sees("kv6000# ")
        self.person.types("ls\r")
        self.assertEqual(self.line.recv(100), b"ls\r")

    def test_waits_for_the_next_power_on_when_the_machine_goes_down(self):
        self.power_off()
        self.person.sees("the machine went down")
        self.power_on()
        self.take_line()
        self.line.sendall(b"kv6000# ")
        self.person.sees("kv6000# ")

    def test_waits_for_the_next_power_on_when_the_power_goes_with_typed_text_on_its_way(self):
        self.person.types("not read")
        select.select([self.line], [], [], 10)
        self.power_off()
        self.person.sees("the machine went down")
        self.power_on()
        self.take_line()
        self.line.sendall(b"kv6000# ")
        self.person.sees("kv6000# ")

    def test_lets_the_person_leave_while_the_machine_is_on(self):
        self.leave()

    def test_lets_the_person_leave_while_the_machine_is_off(self):
        self.power_off()
        self.person.sees("the machine went down")
        self.leave()

    def leave(self):
        self.person.types("\x1d")
        self.person.sees("the person has left")
        self.assertEqual(self.person.process.wait(10), 0)


if __name__ == "__main__":
    unittest.main()

"""What orvhost shows at a pseudo-terminal: its live line, its tables and its colours, for terminals of any width."""

import fcntl
import os
import pty
import re
import shutil
import signal
import struct
import tempfile
import termios
import unittest
import zipfile
from pathlib import Path

import pyte

ORVHOST = os.environ["ORVHOST"]
PLUGIN = os.environ["TEST_PLUGIN_PATH"]
ROWS = 24
MODULE = ('{"name": "KV6000 BMC firmware", "version": "01-24", "server_types": ["kv6000"], "files": {"kv6000.ima": '
          '{"size": 5, "sha256": "6105d6cc76af400325e94d588ce511be5bfdbb73b437dc51eca43917d7a43e3d"}}}')


class Session:
    """One run of orvhost at a terminal. Times on the screen are made equal: they depend on the machine."""

    def __init__(self, arguments: list[str], columns: int, environment: dict[str, str]):
        self.output = b""
        self.screen = pyte.Screen(columns, ROWS)
        self._stream = pyte.ByteStream(self.screen)
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", ROWS, columns, 0, 0))
            os.execve(ORVHOST, ["orvhost", *arguments], environment)

    def resize(self, columns: int):
        fcntl.ioctl(self.terminal, termios.TIOCSWINSZ, struct.pack("HHHH", ROWS, columns, 0, 0))

    def read(self) -> bool:
        """Takes what comes next; false at the end."""
        try:
            data = os.read(self.terminal, 4096)
        except OSError:  # the other side is closed
            data = b""
        self.output += data
        self._stream.feed(data)
        return bool(data)

    def read_until(self, text: bytes):
        while text not in self.output:
            if not self.read():
                raise AssertionError(f"{text!r} did not come: {self.output!r}")

    def lines(self) -> list[str]:
        lines = [re.sub(r"\d+:\d\d", "M:SS", line.rstrip()) for line in self.screen.display]
        return [line for line in lines if line]

    def end(self) -> int:
        """Reads the rest; the exit code, negative for a signal."""
        while self.read():
            pass
        os.close(self.terminal)
        return os.waitstatus_to_exitcode(os.waitpid(self.process, 0)[1])


class LiveProgress(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="orvhost progress "))
        self.addCleanup(shutil.rmtree, self.folder)
        os.mkfifo(self.folder / "gate")
        with zipfile.ZipFile(self.folder / "p.zip", "w") as package:
            package.writestr("module.json", MODULE)
            package.writestr("kv6000.ima", "image")
        (self.folder / "orvhost.conf").write_text("signatures = off\n")

    def start(self, *arguments: str, columns: int = 80, **environment: str) -> Session:
        flash_tool = self.folder / "path" / "KV6KBMC" / "Yafuflash"
        flash_tool.parent.mkdir(parents=True, exist_ok=True)
        flash_tool.write_text("#!/bin/sh\n")
        flash_tool.chmod(0o755)
        return Session(["update", str(self.folder / "p.zip"), "--install-path", str(self.folder / "path"), "--plugin",
                        PLUGIN, "--server-type", "kv6000", *arguments], columns,
                       {"PATH": os.environ["PATH"], "TERM": "xterm", "TEST_PLUGIN": "connects-slowly",
                        "TEST_PLUGIN_GATE": str(self.folder / "gate"), "ORVHOST_LAB_MACHINE": "1",
                        "ORVHOST_LAB_CONFIGURATION": str(self.folder / "orvhost.conf"),
                        "ORVHOST_LAB_LOCK_FOLDER": str(self.folder / "runs"), **environment})

    def finish(self, session: Session) -> int:
        """Opens the gate, whether somebody stands there already or not, and reads the rest."""
        gate = os.open(self.folder / "gate", os.O_RDWR)
        os.write(gate, b"x\n")
        code = session.end()
        os.close(gate)
        return code

    def screen_at_the_gate(self, columns: int, until: bytes) -> list[str]:
        session = self.start(columns=columns)
        session.read_until(until)
        lines = session.lines()
        self.assertEqual((session.screen.cursor.x, session.screen.cursor.hidden), (0, False))
        self.assertEqual(self.finish(session), 0)
        text = " ".join(session.lines())
        self.assertIn("Firmware version 01-24 is written; the BMC still runs 01-23.", " ".join(text.split()))
        self.assertNotIn("Connecting", text)
        self.assertNotIn("try 2 of 3", text)
        return lines

    BEFORE = ["Package: KV6000 BMC firmware 01-24", "Running: 01-23",
              "Writing: 01-24; this takes minutes, keep the machine powered"]

    def test_80_columns(self):
        self.assertEqual(self.screen_at_the_gate(80, b"at most"), self.BEFORE + [
            "[10 of 11, M:SS] Connecting the virtual media (try 2 of 3, at most M:SS more)"])

    def test_70_columns(self):
        lines = self.screen_at_the_gate(70, b"try 2 of 3")
        self.assertEqual(lines[-1], "[10 of 11, M:SS] Connecting the virtual media (try 2 of 3)")

    def test_140_columns(self):
        self.assertEqual(self.screen_at_the_gate(140, b"at most"), self.BEFORE + [
            "[10 of 11, M:SS] Connecting the virtual media (try 2 of 3, at most M:SS more): ipmitool"])

    def test_20_columns(self):
        session = self.start(columns=20)
        session.read_until(b"Co\r")
        lines = session.lines()
        self.assertEqual(self.finish(session), 0)
        self.assertEqual(lines, [
            "Package: KV6000 BMC", "  firmware 01-24", "Running: 01-23", "Writing: 01-24; this", "  takes minutes,",
            "  keep the machine", "  powered", "[10 of 11, M:SS] Co"])

    def test_a_terminal_that_becomes_narrower(self):
        session = self.start()
        session.read_until(b"try 2 of 3")
        session.output = b""
        session.resize(50)
        session.read_until(b"\r\x1b[J[")
        session.read_until(b"media\r")
        self.assertEqual(self.finish(session), 0)

    def test_a_run_that_is_asked_to_end_says_so_in_a_line_of_its_own(self):
        for number in (signal.SIGTERM, signal.SIGQUIT):
            with self.subTest(number):
                shutil.rmtree(self.folder / "path", ignore_errors=True)
                session = self.start()
                session.read_until(b"try 2 of 3")
                os.kill(session.process, number)
                session.read_until(b"attempt.\r\n")
                self.assertEqual(self.finish(session), 0)
                self.assertEqual(session.lines()[:4], self.BEFORE + [
                    "orvhost: The firmware is being written; this cannot be interrupted. At most 15"])
                self.assertEqual(session.lines()[4], "  min for this attempt.")

    def test_without_a_live_line(self):
        for arguments, environment in (((), {"TERM": "dumb"}), ((), {"TERM": ""}), (("--quiet",), {}),
                                       (("--json",), {}), (("-v",), {})):
            with self.subTest(arguments=arguments, environment=environment):
                shutil.rmtree(self.folder / "path", ignore_errors=True)
                session = self.start(*arguments, **environment)
                self.assertEqual(self.finish(session), 0)
                self.assertNotIn(b"\x1b", session.output)
                self.assertNotIn(b"try 2 of 3", session.output)
                if "--quiet" in arguments:
                    self.assertEqual(session.output, b"")
                if "--json" in arguments:
                    self.assertRegex(session.output, rb'^\{"schema":2,.*\}\r\n$')

    def failing(self, *arguments: str, **environment: str) -> bytes:
        """What a failure prints at a terminal."""
        shutil.rmtree(self.folder / "path", ignore_errors=True)
        session = self.start(*arguments, TEST_PLUGIN="connect-fails", **environment)
        self.assertEqual(session.end(), 7)
        return session.output

    def test_no_other_word_is_coloured(self):
        session = Session(["explain", "update-failed"], 80, {"PATH": os.environ["PATH"], "TERM": "xterm"})
        self.assertEqual(session.end(), 2)
        self.assertEqual(re.findall(rb"\x1b\[31m(.*?)\x1b", session.output), [b"unknown-code"])

    def test_a_command_line_that_is_wrong_may_ask_for_no_colour_too(self):
        for words in (["--color", "never"], ["--color=never"]):
            session = Session([*words, "history", "--log-file"], 80, {"PATH": os.environ["PATH"], "TERM": "xterm"})
            self.assertEqual(session.end(), 2)
            self.assertNotIn(b"\x1b", session.output)

    def test_the_verdict_is_red_in_a_failure(self):
        self.assertIn(b"verdict:         \x1b[31mupdate-failed\x1b[0m, exit code 7\r\n", self.failing())

    def test_without_colour_the_words_are_the_same(self):
        for arguments, environment in (((), {"NO_COLOR": "1"}), (("--color", "never"), {}), ((), {"TERM": "dumb"})):
            with self.subTest(arguments=arguments, environment=environment):
                output = self.failing(*arguments, **environment)
                self.assertIn(b"verdict:         update-failed, exit code 7\r\n", output)
                self.assertNotIn(b"\x1b[3", output)

    def test_live_line_needs_no_colour(self):
        session = self.start(NO_COLOR="1")
        session.read_until(b"try 2 of 3")
        self.assertEqual(self.finish(session), 0)
        self.assertEqual(set(re.findall(rb"\x1b\[[0-9;?]*[a-zA-Z]", session.output)), {b"\x1b[J"})


class History(unittest.TestCase):
    """The runs as a table, whose rows stay rows where the terminal has room for what matters most of them."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="orvhost-history-"))
        self.addCleanup(shutil.rmtree, self.folder)
        with zipfile.ZipFile(self.folder / "a-rather-long-name-of-a-package.zip", "w") as package:
            package.writestr("module.json", MODULE)
            package.writestr("kv6000.ima", "image")
        (self.folder / "orvhost.conf").write_text("signatures = off\n")
        self.run_tool("identify")
        self.run_tool("check", str(self.folder / "a-rather-long-name-of-a-package.zip"))

    def run_tool(self, *arguments: str, columns: int = 80) -> list[str]:
        session = Session([*arguments, "--install-path", str(self.folder / "path"), "--plugin", PLUGIN,
                           "--server-type", "kv6000"], columns,
                          {"PATH": os.environ["PATH"], "TERM": "xterm", "ORVHOST_LAB_MACHINE": "1",
                           "ORVHOST_LAB_CONFIGURATION": str(self.folder / "orvhost.conf"),
                        "ORVHOST_LAB_LOCK_FOLDER": str(self.folder / "runs")})
        session.end()
        return [re.sub(r"\d{8}T\d{6}Z", "TIME", re.sub(r"\b\d+\.\d\b", "S.S", line)) for line in session.lines()]

    def test_a_wide_terminal_gets_it_all(self):
        self.assertEqual(self.run_tool("history", columns=140), [
            "RUN                        SECONDS  COMMAND   PACKAGE, VERSION                           VERDICT            "
            "    EXIT",
            "00000001-TIME  S.S      identify  01-23                                      identified             0",
            "00000002-TIME  S.S      check     a-rather-long-name-of-a-package.zip 01-23  prerequisites-missing  4"])

    def test_80_columns(self):
        self.assertEqual(self.run_tool("history", columns=80), [
            "RUN                        COMMAND   VERSION  VERDICT                EXIT",
            "00000001-TIME  identify  01-23    identified             0",
            "00000002-TIME  check     01-23    prerequisites-missing  4"])

    def test_a_terminal_without_room_breaks_the_rows(self):
        self.assertEqual(self.run_tool("history", columns=30), [
            "RUN       COMMAND   VERSION", "  VERDICT                EXIT", "00000001  identify  01-23",
            "  identified             0", "00000002  check     01-23", "  prerequisites-missing  4"])


if __name__ == "__main__":
    unittest.main()

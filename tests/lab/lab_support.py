"""What the tests of whole virtual servers share: one server for the tests of a class, and the steps of an update."""

import os
import pty
import select
import subprocess
import time
import unittest
from pathlib import Path
from typing import Callable

from kv6000 import Server, ServerSettings
from kv6000.packages import make_image

MAKER_TOOL = "/opt/kestrel/node_keeper/ipmi_tools/ipmicmd"
FLASH = "/srv/orv/KV6KBMC/Yafuflash -cd -preserve-config -silent "
CONNECT = (0x34, 0x8c, 0x55, 0xaa, 0x01)
CHECK_CONNECT = (0x34, 0x8d)
DISCONNECT = (0x34, 0x8c, 0x55, 0xaa, 0x00)
WAIT_DISABLED = (0x34, 0x2c, 0x00)
CHECK_WAIT = (0x34, 0x2d)
SET_REBOOT_FLAG = (0x34, 0x5e, 0x55, 0xaa, 0x01)
CHECK_REBOOT_FLAG = (0x34, 0x5f)
TCPIP_INFO = (0x3c, 0x13)
GET_CAPABILITY = (0x3c, 0x04)
SIGNATURE = bytes.fromhex("51544c4d50")


def processes_of(folder: Path) -> list:
    """The processes that work in a run folder or name it in their command line."""
    found = []
    for entry in Path("/proc").iterdir():
        try:
            words = (entry / "cmdline").read_bytes()
            where = os.readlink(entry / "cwd")
        except OSError:
            continue
        if str(folder).encode() in words or where == str(folder):
            found.append(words.replace(b"\0", b" ").decode(errors="replace"))
    return found


def wait_until(condition: Callable[[], object], what: str, seconds: float = 20):
    """Waits for something that another process does."""
    limit = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > limit:
            raise AssertionError(f"not within {seconds:g} s: {what}")
        time.sleep(0.02)


class Person:
    """Sits at a terminal in which a process runs."""

    def __init__(self, command: list, **options):
        self._keyboard, terminal = pty.openpty()
        self.process = subprocess.Popen(command, stdin=terminal, stdout=terminal, stderr=terminal, **options)
        os.close(terminal)
        self.screen = ""

    def types(self, text: str):
        """In pieces, with a look at the screen between: a terminal whose screen is full takes no more keys."""
        for start in range(0, len(text), 500):
            os.write(self._keyboard, text[start:start + 500].encode())
            self._look(0)

    def sees(self, text: str, seconds: float = 10):
        """Waits until the text appears on the screen, and forgets what was there before it."""
        limit = time.monotonic() + seconds
        while text not in self.screen:
            if not self._look(0.1) or time.monotonic() > limit:
                raise AssertionError(f"'{text}' is not on the screen, but:\n{self.screen}")
        self.screen = self.screen.split(text, 1)[1]

    def _look(self, seconds: float) -> bool:
        """Reads what appears within the time. False when the process has ended."""
        ready, _, _ = select.select([self._keyboard], [], [], seconds)
        try:
            self.screen += os.read(self._keyboard, 65536).decode() if ready else ""
        except OSError:
            return False
        return True

    def close(self):
        self.process.kill()
        self.process.wait()
        os.close(self._keyboard)


class SharedServer(unittest.TestCase):
    """One server, started with `settings`, for all tests of the class; each test finds the BMC without ordered faults."""

    settings = ServerSettings()

    @classmethod
    def setUpClass(cls):
        cls.server = cls.enterClassContext(Server(cls.settings))

    def setUp(self):
        self.server.bmc("clear")

    def raw(self, *request) -> tuple:
        """Sends a request with ipmitool: (exit code, answered data bytes as text)."""
        done = self.server.run(["/usr/bin/ipmitool", "raw", *(f"0x{byte:02x}" for byte in request)])
        return done.exit, done.out.strip()

    def lock_file(self, file: int) -> tuple:
        return self.raw(0x3c, 0x6a, 5, file, 1, 0, 0, 0, 0, 0)

    def write_file(self, file: int, offset: int, piece: bytes) -> tuple:
        return self.raw(0x3c, 0x69, 5, file, 0, 0, *offset.to_bytes(4, "little"), *piece)

    def unlock_file(self, file: int) -> tuple:
        return self.raw(0x3c, 0x6b, 5, file, 0, 0, 0, 0, 0, 0)

    def prepare_flash(self, version: str):
        """An image on the share, the drive connected, the BMC not waiting, the SCSI generic driver loaded."""
        (self.server.install / "image.ima").write_bytes(make_image(version))
        self.assertEqual(self.server.run("modprobe sg").exit, 0)
        self.assertEqual(self.raw(*CONNECT), (0, ""))
        self.server.wait_bmc("media", "connected")
        self.assertEqual(self.raw(*WAIT_DISABLED), (0, ""))
        self.assertEqual(self.raw(*CHECK_WAIT), (0, "00"))

    def flash(self):
        return self.server.run(FLASH + "/srv/orv/image.ima")

    def running_version(self) -> str:
        """What Get Device ID answers, in the form 01-23."""
        code, answer = self.raw(0x06, 0x01)
        self.assertEqual(code, 0)
        data = answer.split()
        return f"{data[2]}-{data[3]}"

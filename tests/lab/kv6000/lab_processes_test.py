"""The driver of virtual servers as a guest of its machine: several at once, and nothing left behind, however it ends."""

import contextlib
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path
from unittest import mock

from kv6000 import LabError, Server, server
from kv6000.paths import LAB
from lab_support import processes_of

READY = "run folder "


def wait_until(condition, what: str, seconds: float = 20):
    """Waits for something that another process does."""
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"not within {seconds:g} s: {what}")
        time.sleep(0.02)


def start_driver(parent: str) -> tuple:
    """`lab run` as a process of its own, once its server is ready: (process, run folder)."""
    driver = subprocess.Popen([sys.executable, str(LAB / "lab"), "run"], stdin=subprocess.PIPE, stderr=subprocess.PIPE,
                              text=True, env=dict(os.environ, TMPDIR=parent))
    for line in driver.stderr:
        if READY in line:
            return driver, Path(line.split(READY)[1].split()[0])
    raise AssertionError(f"lab run ended with {driver.wait()}")


class ADriverThatEnds(unittest.TestCase):
    def setUp(self):
        self.parent = self.enterContext(tempfile.TemporaryDirectory(prefix="lab-test-"))

    def assert_leaves_nothing(self, number: int):
        driver, folder = start_driver(self.parent)
        with driver.stdin, driver.stderr:
            self.assertEqual(len(processes_of(folder)), 3)
            driver.send_signal(number)
            driver.wait()
            wait_until(lambda: not folder.exists(), "the run folder is removed")
            wait_until(lambda: not processes_of(folder), "its processes end")
            self.assertEqual(os.listdir(self.parent), [])

    def test_by_sigint_leaves_no_process_and_no_file(self):
        self.assert_leaves_nothing(signal.SIGINT)

    def test_by_sigterm_leaves_no_process_and_no_file(self):
        self.assert_leaves_nothing(signal.SIGTERM)

    def test_by_sigkill_leaves_no_process_and_no_file(self):
        self.assert_leaves_nothing(signal.SIGKILL)

    def test_by_sigint_during_the_boot_leaves_no_process_and_no_file(self):
        driver = subprocess.Popen([sys.executable, str(LAB / "lab"), "run"], stdin=subprocess.PIPE,
                                  stderr=subprocess.PIPE, env=dict(os.environ, TMPDIR=self.parent))
        with driver.stdin, driver.stderr:
            wait_until(lambda: list(Path(self.parent).glob("*/console.log")), "the machine is on")
            folder = next(Path(self.parent).iterdir())
            driver.send_signal(signal.SIGINT)
            self.assertEqual(driver.wait(), 130)
            self.assertEqual(processes_of(folder), [])
            self.assertEqual(os.listdir(self.parent), [])

    def test_after_its_bmc_was_killed_leaves_no_process_and_no_file(self):
        driver, folder = start_driver(self.parent)
        with driver.stdin, driver.stderr:
            bmc = [path for path in Path("/proc").glob("[0-9]*/cmdline")
                   if path.read_bytes().startswith(b"/usr/bin/ipmi_sim") and
                   os.readlink(path.parent / "cwd") == str(folder)]
            os.kill(int(bmc[0].parent.name), signal.SIGKILL)
            wait_until(lambda: len(processes_of(folder)) == 1, "the machine's process ends with the BMC's")
            driver.stdin.close()
            self.assertEqual(driver.wait(), 0)
            self.assertEqual(os.listdir(self.parent), [])


class TwoServers(unittest.TestCase):
    def test_run_side_by_side_without_knowing_of_each_other(self):
        with Server(firmware="01-23") as first, Server(firmware="16-05") as second:
            self.assertNotEqual(first.folder, second.folder)
            first.bmc("fail 06 01 C0 always")
            self.assertEqual(first.run("ipmitool raw 0x06 0x01").exit, 1)
            self.assertEqual(second.run("ipmitool raw 0x06 0x01").out.split()[2:4], ["16", "05"])
            second.bmc("power-loss")
            second.wait_off()
            self.assertEqual(first.run("true").exit, 0)


class AServerWithAWishForEverything(unittest.TestCase):
    """One start for what does not touch each other."""

    def test_finds_another_port_has_its_overlay_and_leaves_its_folder(self):
        parent = self.enterContext(tempfile.TemporaryDirectory(prefix="lab-test-"))
        staged = Path(self.enterContext(tempfile.TemporaryDirectory(prefix="lab-test-")))
        self.stage_a_program(staged)
        with mock.patch.dict(os.environ, TMPDIR=parent), self.taken_port() as ports, \
                mock.patch.object(server, "free_port", lambda: next(ports)), \
                Server(overlay=staged, keep=True) as started:
            folder = started.folder
            with self.subTest("the port that another process has is not taken"):
                self.assertEqual(started.run("ipmitool raw 0x06 0x01").exit, 0)
                self.assertEqual(list(ports), [])
            with self.subTest("the overlay is laid over the root with the libraries of its programs"):
                done = started.run("/opt/product/bin/program --version && cat /usr/lib/marker")
                self.assertEqual((done.exit, done.err), (0, ""))
                self.assertRegex(done.out, r"^\d+\.\d+.*\nin /usr/lib\n$")
        with self.subTest("the run folder is kept"):
            self.assertEqual(folder.parent, Path(parent))
            self.assertTrue((folder / "console.log").exists())
            self.assertEqual(processes_of(folder), [])

    def stage_a_program(self, staged: Path):
        program = staged / "opt/product/bin/program"
        program.parent.mkdir(parents=True)
        # Of all programs of the build it is the one that surely is there; the guest has no C++ library otherwise.
        shutil.copy("/usr/bin/ninja", program)
        (staged / "lib").mkdir()
        (staged / "lib/marker").write_text("in /usr/lib\n")

    @contextlib.contextmanager
    def taken_port(self):
        """The ports that are tried: twice one that is taken, then a free one."""
        with socket.socket() as other:
            other.bind(("127.0.0.1", 0))
            other.listen()
            taken = other.getsockname()[1]
            yield iter([taken, taken, server.free_port()])


class AServerThatDoesNotComeUp(unittest.TestCase):
    def assert_told(self, kernel_line: str, pattern: str):
        with mock.patch.object(server, "KERNEL_LINE", kernel_line):
            started = Server()
            with self.assertRaisesRegex(LabError, pattern), started:
                self.fail("it started")
        self.assertFalse(started.folder.exists())

    def test_because_its_kernel_panicked_is_told_with_the_console(self):
        self.assert_told("console=ttyS0 rdinit=/nowhere init=/nowhere panic=0",
                         r"(?s)kernel panicked.*console\.log ends with.*Kernel panic")

    def test_because_its_emulator_ended_is_told_with_what_that_said(self):
        command = Server._machine_command
        with mock.patch.object(Server, "_machine_command", lambda *args: command(*args) + ["-no-such-option"]):
            self.assert_told(server.KERNEL_LINE, r"(?s)machine is off.*machine\.log ends with.*no-such-option")


class AServerThatCannotBe(unittest.TestCase):
    def test_is_refused_with_the_reason(self):
        for options, reason in (({"tool": "hammer"}, "no tool 'hammer'"), ({"firmware": "1.23"}, "'1.23' is not"),
                                ({"firmware": "zz-23"}, "'zz-23' is not"), ({"firmware": "80-00"}, "'80-00' is not"),
                                ({"install_path": "srv"}, "not absolute"), ({"overlay": "/nowhere"}, "/nowhere"),
                                ({"lan": {"adress": "10.0.0.1"}}, "no network setting 'adress'"),
                                ({"lan": {"address": "10.0.0.256"}}, "address '10.0.0.256' is not"),
                                ({"lan": {"mac": "02:4b"}}, "'02:4b' is not a MAC"),
                                ({"capability": 256}, "256 are not one byte"),
                                ({"sdr": {"size": 3}}, "no SDR setting 'size'"),
                                ({"sdr": {"records": 2001}}, "not 2001"),
                                ({"sdr": {"records": 5, "version_record": 6}}, "Of 5 records none has the number 6"),
                                ({"sdr": {"version": "x" * 109}}, "does not fit into a record"),
                                ({"bare_tables": ("chassis",)}, "no DMI table 'chassis'")):
            with self.subTest(options), self.assertRaisesRegex(LabError, reason):
                with Server(**options):
                    self.fail("it started")


if __name__ == "__main__":
    unittest.main()

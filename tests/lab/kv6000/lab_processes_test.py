"""The lab's client on its machine: several servers at once, and no process and no file left over, however it ends."""

import contextlib
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

from kv6000 import LabError, Server, ServerSettings, bmc, boot, server
from kv6000.paths import LAB
from lab_support import Person, processes_of, wait_until

READY = "run folder "
PROMPT = "kv6000:/# "
LEAVE = "\x1d"  # Ctrl-]


def start_client(parent: str) -> tuple:
    """`lab run` as a process of its own, once its server is ready: (process, run folder)."""
    client = subprocess.Popen([sys.executable, str(LAB / "lab"), "run"], stdin=subprocess.PIPE, stderr=subprocess.PIPE,
                              text=True, env=dict(os.environ, TMPDIR=parent))
    for line in client.stderr:
        if READY in line:
            return client, Path(line.split(READY)[1].split()[0])
    raise AssertionError(f"lab run ended with {client.wait()}")


class AClientThatEnds(unittest.TestCase):
    def setUp(self):
        self.parent = self.enterContext(tempfile.TemporaryDirectory(prefix="lab-test-"))

    def assert_leaves_nothing(self, number: int):
        client, folder = start_client(self.parent)
        with client.stdin, client.stderr:
            self.assertEqual(len(processes_of(folder)), 3)
            client.send_signal(number)
            client.wait()
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
        client = subprocess.Popen([sys.executable, str(LAB / "lab"), "run"], stdin=subprocess.PIPE,
                                  stderr=subprocess.PIPE, env=dict(os.environ, TMPDIR=self.parent))
        with client.stdin, client.stderr:
            wait_until(lambda: list(Path(self.parent).glob("*/console.log")), "the machine is on")
            folder = next(Path(self.parent).iterdir())
            client.send_signal(signal.SIGINT)
            self.assertEqual(client.wait(), 130)
            self.assertEqual(processes_of(folder), [])
            self.assertEqual(os.listdir(self.parent), [])

    def test_after_its_bmc_was_killed_leaves_no_process_and_no_file(self):
        client, folder = start_client(self.parent)
        with client.stdin, client.stderr:
            bmc = [path for path in Path("/proc").glob("[0-9]*/cmdline")
                   if path.read_bytes().startswith(b"/usr/bin/ipmi_sim") and
                   os.readlink(path.parent / "cwd") == str(folder)]
            os.kill(int(bmc[0].parent.name), signal.SIGKILL)
            wait_until(lambda: len(processes_of(folder)) == 1, "the machine's process ends with the BMC's")
            client.stdin.close()
            self.assertEqual(client.wait(), 0)
            self.assertEqual(os.listdir(self.parent), [])


class TwoServers(unittest.TestCase):
    def test_run_side_by_side_without_knowing_of_each_other(self):
        with Server() as first, Server(ServerSettings(firmware="16-05")) as second:
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
                Server(ServerSettings(overlay=staged, keep=True)) as started:
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


class AnInteractiveServer(unittest.TestCase):
    def test_comes_back_by_power_on_after_a_loss_of_power_with_typed_text_on_its_way(self):
        parent = self.enterContext(tempfile.TemporaryDirectory(prefix="lab-test-"))
        person = Person([sys.executable, str(LAB / "lab"), "run"], env=dict(os.environ, TMPDIR=parent))
        self.addCleanup(person.close)
        person.sees(READY, 60)
        folder = next(Path(parent).iterdir())
        person.sees(PROMPT)
        person.types("sleep 100\r")
        person.sees("sleep 100")
        person.types(50000 * "x")  # the machine takes seconds to read them
        bmc.order(folder, "power-loss")
        person.sees("the machine went down")
        bmc.order(folder, "power-on")
        person.sees(PROMPT, 60)
        person.types(LEAVE)
        self.assertEqual(person.process.wait(20), 0)
        self.assertEqual(os.listdir(parent), [])


class AServerThatFailsToComeUp(unittest.TestCase):
    def assert_fails(self, pattern: str):
        started = Server()
        with self.assertRaisesRegex(LabError, pattern), started:
            self.fail("it started")
        self.assertFalse(started.folder.exists())

    def test_because_its_kernel_panicked_says_so_and_shows_the_console(self):
        with mock.patch.object(boot, "KERNEL_LINE", "console=ttyS0 rdinit=/nowhere init=/nowhere panic=0"):
            self.assert_fails(r"(?s)kernel panicked.*console\.log ends with.*Kernel panic")

    def test_because_its_emulator_ended_says_so_and_shows_what_that_said(self):
        command = boot.machine_command
        with mock.patch.object(boot, "machine_command", lambda *args: command(*args) + ["-no-such-option"]):
            self.assert_fails(r"(?s)machine is off.*machine\.log ends with.*no-such-option")


if __name__ == "__main__":
    unittest.main()

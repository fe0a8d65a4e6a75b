"""The lab's client at a machine that the test plays: a bell to connect to and a shared folder. Nothing boots."""

import shutil
import socket
import tempfile
import unittest
from pathlib import Path

from kv6000 import LabError
from kv6000.boot import ready_file
from kv6000.guest import Guest


class PlayedMachine:
    """What a client sees of a machine, on at first and ready in its first boot."""

    def __init__(self, folder: Path):
        self._folder = folder
        self._boots = 0
        self._listener = None
        self._line = None
        (folder / "share" / "lab" / "jobs").mkdir(parents=True)
        self.power_on()
        self.come_up()

    def power_on(self):
        ready_file(self._folder).unlink(missing_ok=True)
        (self._folder / "bell.sock").unlink(missing_ok=True)
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(str(self._folder / "bell.sock"))
        self._listener.listen()
        self._listener.settimeout(5)

    def come_up(self):
        self._boots += 1
        ready_file(self._folder).write_text(f"boot-{self._boots}\n")

    def go_off(self):
        """The name of the bell's socket stays, as a process leaves it that is killed."""
        for end in (self._line, self._listener):
            if end:
                end.close()
        self._line = self._listener = None

    def state(self, _):
        return {"power": "on" if self._listener else "off"}

    def answer(self, output: str = ""):
        """Carries out the command that is rung for: it prints `output`."""
        if not self._line:
            self._line, _ = self._listener.accept()
            self._line.settimeout(5)
        word, number = self._line.recv(100).decode().split()
        assert word == "run", word
        job = self._folder / "share" / "lab" / "jobs" / number
        (job / "out").write_text(output)
        (job / "exit").write_text("0\n")
        self._line.sendall(f"done {number}\n".encode())


class AClient(unittest.TestCase):
    def setUp(self):
        folder = Path(tempfile.mkdtemp(prefix="lab-test-"))
        self.addCleanup(shutil.rmtree, folder)
        self.machine = PlayedMachine(folder)
        self.addCleanup(self.machine.go_off)
        self.client = Guest(folder, self.machine.state)
        self.addCleanup(self.client.release)
        self.client.wait_for_new_boot(0)
        self.assertEqual(self.run_command("first"), "first")

    def run_command(self, output: str) -> str:
        job = self.client.start("a command")
        self.machine.answer(output)
        return job.wait(5).out

    def go_through_a_power_cycle(self):
        self.machine.go_off()
        self.machine.power_on()
        self.machine.come_up()

    def test_that_is_asked_long_after_a_power_cycle_writes_to_the_new_machine(self):
        self.go_through_a_power_cycle()
        self.client.wait_for_new_boot(0)
        self.assertEqual(self.run_command("second"), "second")

    def test_that_was_not_asked_at_all_after_a_power_cycle_writes_to_the_new_machine(self):
        self.go_through_a_power_cycle()
        self.assertEqual(self.run_command("second"), "second")

    def test_knows_a_boot_in_which_it_has_run_a_command(self):
        self.go_through_a_power_cycle()
        self.run_command("second")
        with self.assertRaisesRegex(LabError, "not ready after 0 s"):
            self.client.wait_for_new_boot(0)

    def test_fails_to_run_a_command_while_the_machine_starts(self):
        self.machine.go_off()
        self.machine.power_on()
        with self.assertRaisesRegex(LabError, "The machine is starting"):
            self.client.start("a command")
        self.machine.come_up()
        self.assertEqual(self.run_command("second"), "second")

    def test_fails_to_run_a_command_while_the_machine_is_off(self):
        self.machine.go_off()
        with self.assertRaisesRegex(LabError, "The machine is off"):
            self.client.start("a command")

    def test_fails_to_wait_for_a_command_whose_machine_went_through_a_power_cycle(self):
        job = self.client.start("a command")
        self.go_through_a_power_cycle()
        with self.assertRaisesRegex(LabError, "went down while it ran 'a command'"):
            job.wait(5)

    def test_has_the_result_of_a_command_that_ended_before_the_machine_went_off(self):
        job = self.client.start("shutdown -h now")
        self.machine.answer("going down")
        self.machine.go_off()
        self.assertEqual(job.wait(5).out, "going down")


if __name__ == "__main__":
    unittest.main()

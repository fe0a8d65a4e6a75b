"""Runs the commands of the documents that need a virtual server: those of lab/lab from outside, those of orvhost and of
the system in it. Servers are started as the documents tell to, by `lab/lab run`."""

import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

import commands
import product
from kv6000 import bmc, management
from kv6000.guest import Guest
from kv6000.packages import make_packages
from kv6000.paths import REPOSITORY

LINES = commands.commands_for(commands.SERVER)
STARTS = [line for line in LINES if line.startswith("lab/lab run")]
HALTS = "orvhost apply"
PAUSES = "ORVHOST_LAB_SLEEP_SCALE=0.1"

# What a reader fills in, or leaves out.
FILL_IN = {"PACKAGE": "/share/good-01-24.zip", "[--out DIR]": "--out /share", "[RUN]": "1", "RUN": "1"}


class LabServer:
    """A server that `lab/lab run` has started, as a context."""

    def __init__(self, line: str, folder: Path, *more):
        self._folder = folder
        folder.mkdir()
        self._process = subprocess.Popen(["bash", "-c", 'exec ' + line + ' "$@"', "bash", *more], cwd=REPOSITORY,
                                         stdin=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                         env=dict(os.environ, TMPDIR=str(folder)))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    def wait(self) -> "LabServer":
        stated = []
        for line in self._process.stderr:
            stated.append(line)
            if "run folder" in line:
                break
        else:
            raise AssertionError("The server did not start:\n" + "".join(stated))
        self.run = next(self._folder.glob("kv6000-*"))
        self.guest = Guest(self.run, self.order)
        return self

    def order(self, line: str):
        return bmc.order(self.run, line)

    def end(self) -> int:
        """Ends the server as its user does; the exit code of `lab/lab run`."""
        self._process.stdin.close()
        code = self._process.wait(30)
        self._process.stderr.close()
        return code


class DocumentCommands(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="kestrel-documents-")))
        overlay = product.install(cls.folder / "overlay")
        # The first one serves for all commands, with both tools and the product; all boot at the same time.
        cls.server = cls.enterClassContext(LabServer(STARTS[0], cls.folder / "0", "--tool", "both", "--overlay", overlay))
        cls.others = {line: cls.enterClassContext(LabServer(line, cls.folder / str(number)))
                      for number, line in enumerate(STARTS[1:], 1)}
        cls.server.wait()
        make_packages(cls.folder / "packages")
        shutil.copy(cls.folder / "packages" / "good-01-24.zip", cls.server.run / "share")
        # As after a run that failed, so that there is one to look into.
        cls.in_guest(f"{PAUSES} orvhost --install-path /srv/orv check /share/missing.zip")

    @classmethod
    def in_guest(cls, line: str, time_limit=120):
        result = cls.server.guest.start(line).wait(time_limit)
        cls.server.guest.release()  # for the commands of lab/lab
        return result

    def succeed(self, line: str) -> str:
        """Runs a line of a document in the server, with what a reader fills in; its output."""
        text = re.sub("|".join(map(re.escape, FILL_IN)), lambda found: FILL_IN[found.group()], line)
        done = self.in_guest(re.sub(r"^orvhost", f"{PAUSES} orvhost --install-path /srv/orv", text))
        self.assertEqual(done.exit, 0, f"{text}\n{done.out}{done.err}")
        return done.out

    def test_1_servers_start_and_end_as_documented(self):
        self.assertGreaterEqual(len(STARTS), 3)
        for line, server in self.others.items():
            with self.subTest(line):
                running = server.wait().order("state")["running"]
                wanted = re.search(r"--firmware (\S+)", line)
                self.assertEqual(running, wanted.group(1) if wanted else "01-23")
                self.assertEqual(server.end(), 0)
                self.assertEqual(server.run.exists(), "--keep" in line)

    def test_2_commands_of_the_lab(self):
        lines = [line for line in LINES if line.startswith("lab/lab") and line not in STARTS]
        self.assertIn("lab/lab bmc state", lines)
        for line in lines:
            with self.subTest(line):
                # The server's folder, because others may run on this machine.
                text = re.sub(r"^lab/lab \w+", rf"\g<0> --server {self.server.run}", line)
                done = subprocess.run(["bash", "-c", text], cwd=REPOSITORY, capture_output=True, text=True, check=False)
                wanted = 1 if "grep" in line else 0  # nothing has loaded the kernel driver that it looks for
                self.assertEqual(done.returncode, wanted, done.stdout + done.stderr)
        self.server.order("clear")

    def test_3_commands_of_the_system(self):
        lines = [line for line in LINES if not line.startswith(("lab/lab", "orvhost"))]
        self.assertIn("modprobe sg", lines)
        for line in lines:
            with self.subTest(line):
                self.succeed(line)

    def test_3_transcripts(self):
        count = 0
        for path in commands.DOCUMENTS:
            for block in re.findall(r"(?ms)^```console\n(.*?)^```$", path.read_text()):
                for line, answer in re.findall(r"(?m)^# (.*)\n((?:(?!# ).*\n)*)", block):
                    count += 1
                    self.assertEqual(self.succeed(line), answer, f"{path.name}: {line}")
        self.assertGreater(count, 0)

    def test_4_orvhost_through_an_update(self):
        lines = [line for line in LINES if line.startswith("orvhost")]
        up = [line for line in lines if not line.startswith((HALTS, "orvhost verify", "orvhost rollback"))]
        self.assertIn("orvhost update PACKAGE", up)
        management.install(self.server.run / "share" / "install" / "MngSrv", info="00ff")
        for line in up:
            with self.subTest(line):
                self.succeed(line)
        self.assertIn("orvhost rollback", lines)
        self.assertEqual(self.in_guest("orvhost --install-path /srv/orv rollback").exit, 5, "no package of 01-23 is known")
        apply = next(line for line in lines if line.startswith(HALTS + " --yes"))
        self.server.guest.start(f"{PAUSES} orvhost --install-path /srv/orv {apply.removeprefix('orvhost ')}")
        self.server.guest.wait_for_new_boot(60)
        self.succeed(next(line for line in lines if line.startswith("orvhost verify")))
        self.assertEqual(self.server.order("state")["running"], "01-24")


if __name__ == "__main__":
    unittest.main()

"""What the tests of whole updates share: a virtual server with the product installed, orvhost called as by an operator,
the trace that it leaves, and golden files of traces.

A golden file is renewed by running its test with KESTREL_RENEW_GOLDEN=1 in the environment; read the difference before
committing it.
"""

import atexit
import dataclasses
import difflib
import functools
import json
import os
import re
import shutil
import sys
import tempfile
from pathlib import Path
from typing import NamedTuple

import product
from kv6000.packages import make_image, make_packages, write_package
from kv6000.paths import build_folder
from lab_support import MAKER_TOOL, SharedServer

REPOSITORY = Path(__file__).resolve().parents[3]
PLUGIN = "/usr/lib/orv/liborvp_KESTREL_BMC.so"
GOLDEN = Path(__file__).resolve().parents[1] / "golden"
RENEW = "KESTREL_RENEW_GOLDEN"

# Factors for the plug-in's pauses and for the time limits of its commands. With the first, the pause for the drive to
# appear after Connect keeps a second, which the guest's kernel needs on a crowded machine. The second is for roads on
# which no drive has to appear; a request may still take 10 s, which a silent BMC needs.
PAUSES = 0.1
SHORT_PAUSES = 0.03

# Lines that the flash tool of a script writes now and then, which golden files leave out.
AT_ITS_OWN_PACE = "1 [flashing "

# Width of "2026-01-31T12:00:00.000000Z " in front of every line of a trace file.
TIME_WIDTH = 28


class Run(NamedTuple):
    """One finished call of orvhost."""

    exit: int
    report: dict  # the JSON object on its standard output
    trace: list  # "LEVEL text" for each line of the trace, normalised
    err: str

    @property
    def records(self) -> list:
        """What the plug-in wrote for operators, in the order of writing."""
        return [line.removeprefix("R ") for line in self.trace if line.startswith("R ")]


class TrustingRun(NamedTuple):
    """One finished call of the host that leaves all checks to the plug-in."""

    result: int  # what Update returned
    trace: list


def normalised(line: str, install_path: str) -> str:
    """A trace line without what differs from run to run and from server to server. Of a record for operators the
    identifier and the detail code are left; the sentence around them is the host's."""
    text = line[TIME_WIDTH:].replace(install_path, "INSTALL")
    text = re.sub(r"^(R \w+) .*\(([0-9A-F]+): .*\)\.$", r"\1 \2", text)
    return re.sub(r"IPMIResult[0-9a-f]{8}\b", "IPMIResult-THREAD", text)


@functools.cache
def staged() -> tempfile.TemporaryDirectory:
    """For this process: the installed product in "overlay", the update packages in "packages"."""
    folder = tempfile.TemporaryDirectory(prefix="kestrel-roads-")
    atexit.register(folder.cleanup)
    overlay = product.install(Path(folder.name) / "overlay")
    shutil.copy(build_folder() / "tests" / "lab" / "trusting_host", overlay / "usr" / "bin")
    shutil.copy(build_folder() / "tests" / "lab" / "hold_at.so", overlay / "usr" / "lib")
    make_packages(Path(folder.name) / "packages")
    return folder


class Road(SharedServer):
    """One server with the product for all tests of the class. Each test finds nothing of the one before but the running
    firmware and the content of the standby slot."""

    maxDiff = None

    @classmethod
    def setUpClass(cls):
        folder = Path(staged().name)
        cls.settings = dataclasses.replace(cls.settings, overlay=folder / "overlay")
        super().setUpClass()
        shutil.copytree(folder / "packages", cls.server.share / "packages")
        (cls.server.share / "traces").mkdir()
        cls.scratch = cls.server.install / "tmp" / "KV6KBMC"
        cls.marker = cls.scratch / "ExistUpdate.txt"

    def setUp(self):
        super().setUp()
        for name in ("tmp", "repository", "journal"):
            shutil.rmtree(self.server.install / name, ignore_errors=True)
        self.server.plan_flash_exits([])
        self._disconnect_media()
        self.assertEqual(self.server.run("modprobe -r sg").exit, 0)
        self.start_counting()

    def start_counting(self):
        """From here on asked() counts."""
        self._asked_before = len(self.server.bmc("state")["commands"])

    def _disconnect_media(self):
        for command in (f"echo d0 8c 55 aa 00 | {MAKER_TOOL}", "/usr/bin/ipmitool raw 0x34 0x8c 0x55 0xaa 0x00"):
            if self.server.bmc("state")["media"] != "disconnected":
                self.server.run(command)

    # The product at work.

    def start_orvhost(self, *words, pauses=PAUSES, settings=()):
        """Starts orvhost with the words of its command line, and with these "NAME=value" in its environment; finished()
        takes what this returns."""
        log = self._new_trace_file()
        job = self.server.start_job(["env", f"ORVHOST_LAB_SLEEP_SCALE={pauses}", *settings, "/usr/bin/orvhost", "--json",
                                     "--install-path", self.server.settings.install_path,
                                     "--log-file", f"/share/traces/{log.name}", *words])
        return job, log

    def finished(self, started) -> Run:
        job, log = started
        done = job.wait(time_limit=240)
        return Run(done.exit, json.loads(done.out), self.trace_in(log), done.err)

    def orvhost(self, *words, pauses=PAUSES) -> Run:
        return self.finished(self.start_orvhost(*words, pauses=pauses))

    def update(self, package: str, pauses=PAUSES) -> Run:
        return self.orvhost("update", f"/share/packages/{package}", pauses=pauses)

    def take_down(self, *words) -> Run:
        """Runs an orvhost command that takes the machine down, and waits until it is up again."""
        started = self.start_orvhost(*words, "--yes", pauses=SHORT_PAUSES)
        self.server.wait_power_cycle(time_limit=240)
        return self.finished(started)

    def trusting_host(self, package: str, module_version: str = "", pauses=SHORT_PAUSES) -> TrustingRun:
        """Hands a package straight to the plug-in's Update, with the version that the host has on record for it."""
        log = self._new_trace_file()
        done = self.server.run(["env", f"ORVHOST_LAB_SLEEP_SCALE={pauses}", "/usr/bin/trusting_host",
                                PLUGIN, self.server.settings.install_path, f"/share/traces/{log.name}",
                                module_version, package], time_limit=240)
        self.assertEqual(done.exit, 0, done.err)
        return TrustingRun(int(done.out), self.trace_in(log))

    def _new_trace_file(self) -> Path:
        traces = self.server.share / "traces"
        log = traces / f"{len(list(traces.iterdir())) + 1}.log"
        log.touch()
        return log

    def trace_in(self, log: Path) -> list:
        # A name that is no UTF-8 stands in the trace as it is.
        lines = log.read_text(errors="backslashreplace").splitlines()
        return [normalised(line, self.server.settings.install_path) for line in lines]

    def make_package(self, version: str) -> str:
        """Makes a good package of the version; returns its name."""
        name = f"made-{version}.zip"
        write_package(self.server.share / "packages" / name, version, {"kv6000.ima": make_image(version)})
        return name

    def make_bad_package(self, version: str) -> str:
        """Makes a package whose image has a wrong checksum; returns its name."""
        name = f"bad-{version}.zip"
        image = bytearray(make_image(version))
        image[-1] ^= 1
        write_package(self.server.share / "packages" / name, version, {"kv6000.ima": bytes(image)})
        return name

    def write_program(self, path: str, script: str):
        """Writes a shell script into the guest, to be found there as a program."""
        (self.server.share / "program").write_text("#!/bin/sh\n" + script)
        done = self.server.run(f"cp /share/program {path} && chmod 755 {path}")
        self.assertEqual(done.exit, 0, done.err)

    def stand_in(self, path: str, script: str):
        """Puts a shell script in the place of a program for this test. The script finds the program as PATH.real."""
        self.assertEqual(self.server.run(f"mv {path} {path}.real").exit, 0)
        self.addCleanup(self.server.run, f"mv {path}.real {path}")
        self.write_program(path, script)

    # What must be true afterwards.

    def running(self) -> str:
        return self.server.bmc("state")["running"]

    def commands(self) -> list:
        """All that the BMC got since the test began or counting was started anew, with the answers."""
        commands = self.server.bmc("state")["commands"]
        self.assertLess(len(commands), 5000, "the BMC keeps 5000 commands, so the first may be missing")
        return commands[self._asked_before:]

    def asked(self) -> list:
        """The BMC's own commands with their answers since the test began or counting was started anew. The standard
        commands, of which the guest's driver and ipmitool send some of their own accord, and the flash tool's
        polling are left out."""
        return [command for command in self.commands()
                if command.startswith(("34 ", "36 ", "3c ")) and not command.startswith("34 91 ")]

    def complaints(self, run: Run) -> str:
        """What the shell commands of a run wrote to their standard error, as its journal has it."""
        journal = self.server.install / "journal" / f"{run.report['run_id']}.jsonl"
        entries = map(json.loads, journal.read_text().splitlines())
        return "".join(entry["text"] for entry in entries if entry["kind"] == "error_output")

    def assert_report(self, run: Run, exit_code: int, **fields):
        """The exit code, and fields of the report, those of its error included."""
        report = dict(run.report, **(run.report["error"] or {}))
        stated = {name: report.get(name) for name in fields}
        self.assertEqual((run.exit, run.report["exit_code"], stated), (exit_code, exit_code, fields),
                         f"\n{json.dumps(run.report, indent=1)}\n{run.err}")

    def assert_bmc(self, **expected):
        state = self.server.bmc("state")
        self.assertEqual({name: state[name] for name in expected}, expected)

    def assert_scratch_holds(self, *names):
        """What stands in the plug-in's scratch folder: nothing but these."""
        found = [entry.name for entry in self.scratch.iterdir()] if self.scratch.is_dir() else []
        self.assertEqual(sorted(found), sorted(names))

    def assert_no_process(self, pattern: str):
        """No process with such a command line is left in the guest; one that was killed gets a moment to go. Put one
        letter of the pattern in brackets, so that it does not match the search for it."""
        search = f"grep -ls '{pattern}' /proc/[0-9]*/cmdline"
        done = self.server.run(f"timeout 20 sh -c \"while {search}; do sleep 0.1; done\"")
        self.assertEqual(done.exit, 0, f"still running: {done.out.splitlines()[-1:]}")

    def assert_in_trace(self, run, *lines):
        """These lines stand in the trace in this order; others may stand between."""
        rest = iter(run.trace)
        for line in lines:
            if line not in rest:
                self.fail(f"'{line}' does not stand (there) in the trace:\n" + "\n".join(run.trace))

    def assert_golden(self, name: str, runs: dict):
        """Compares the traces of `runs`, a dict of titles and runs, with a golden file line by line."""
        lines = [line for title, run in runs.items() for line in (f"== {title}", *run.trace)
                 if not line.startswith(AT_ITS_OWN_PACE)]
        path = GOLDEN / name
        if os.environ.get(RENEW) == "1":
            path.parent.mkdir(exist_ok=True)
            path.write_text("".join(line + "\n" for line in lines))
            print(f"renewed {path}", file=sys.stderr)
        golden = path.read_text().splitlines() if path.exists() else []
        if lines != golden:
            difference = difflib.unified_diff(golden, lines, str(path.relative_to(REPOSITORY)), "this run", lineterm="")
            self.fail("The trace differs from the golden file. If the change is meant, run the test with "
                      f"{RENEW}=1 and commit the file.\n" + "\n".join(difference))

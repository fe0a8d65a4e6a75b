"""The same faults in the simulation and in the virtual server: they must end the same. docs/fault-fidelity.md has them all;
KESTREL_RENEW_GOLDEN=1 in the environment writes it anew."""

import json
import os
import shutil
import time
import unittest

import fidelity
from fidelity import CELLS, Cell, Ending
from kv6000.paths import build_folder
from lab_support import wait_until
from road import RENEW, REPOSITORY, SHORT_PAUSES, Road, staged

TABLE = REPOSITORY / "docs" / "fault-fidelity.md"
HEAD = """# The same faults in the virtual server

What the simulation says of a fault, compared with a virtual server that boots and meets the same one: how the run ends
and whether the BMC was given a flash. For a run that is cut off it is what `orvhost diagnose` says then. The test
`fidelity_roads_test` makes this table and fails where the two differ, or where the server did not meet the fault.

They are faults of 35 of the 42 kinds on three roads of the ordinary model with ipmitool. Not compared are the other
roads, the rack model among them, the kinds `code-01`, `no-process`, `disk-full-for-good`, `half-written`,
`delete-fails`, `delete-fails-for-good` and `read-only`, and what an operator does afterwards.

| Fault | Scenario in the simulation | Verdict | Exit code | Flash | In the virtual server |
|---|---|---|---|---|---|
"""


def row(cell: Cell, text: str, ending: Ending) -> str:
    code = "none" if ending.exit is None else str(ending.exit)
    touched = "touched" if ending.touched else "untouched"
    return f"| `{cell.fault}` | `{text}` | {ending.verdict} | {code} | {touched} | the same |\n"


class SameFaults(Road):
    @classmethod
    def setUpClass(cls):
        library = staged().name + "/overlay/usr/lib/failing_calls.so"
        shutil.copy(build_folder() / "tests" / "orvhost" / "liborvhost_failing_calls.so", library)
        super().setUpClass()

    def setUp(self):
        super().setUp()
        shutil.rmtree(self.server.install / "journal", ignore_errors=True)

    def test_end_the_same(self):
        rows = ""
        for cell in CELLS:
            text = fidelity.text_of(cell)
            with self.subTest(text):
                self.setUp()
                try:
                    seen = self.in_the_server(cell)
                finally:
                    self.doCleanups()
                self.assertEqual(seen, fidelity.simulated(text))
                rows += row(cell, text, seen)
        if os.environ.get(RENEW) == "1":
            TABLE.write_text(HEAD + rows)
        self.assertEqual(TABLE.read_text() if TABLE.exists() else "", HEAD + rows)

    def in_the_server(self, cell: Cell) -> Ending:
        words = {fidelity.IDENTIFY: ["identify"], fidelity.APPLY: ["apply", "--yes"],
                 fidelity.UPDATE: ["update", "/share/packages/good-01-24.zip"]}[cell.road]
        if cell.road == fidelity.APPLY:
            self.assertEqual(self.update("good-01-24.zip", pauses=SHORT_PAUSES).exit, 0)
            self.start_counting()
        settings = self.prepare(cell)
        pauses = 0.01 if cell.detail == ["hang"] else SHORT_PAUSES
        started = self.start_orvhost(*words, pauses=pauses, settings=settings)
        if cell.fault in ("kill", "kill-during", "power", "power-during"):
            return self.cut_off(cell, started)
        run = self.finished(started)
        self.assert_met(cell)
        return Ending(run.report["verdict"], run.exit, self.was_flashed())

    def assert_met(self, cell: Cell):
        """What lay in wait was met: of a run that ends well nothing else shows it."""
        if cell.means == "tool":
            self.assertGreaterEqual(int(self.server.run("wc -l < /tmp/calls").out), cell.number)
        elif cell.means == "call":
            self.assertTrue((self.server.share / "failed").exists())
        elif cell.means == "orders":
            kind, netfn, command, *values = cell.detail[0].lower().split()
            answers = [line.partition("-> ")[2].split() for line in self.asked() if line.startswith(f"{netfn} {command}")]
            if kind in ("fail", "silent"):
                self.assertIn([values[0] if kind == "fail" else "silence"], answers)
            else:
                self.assertIn(int(values[0]), [len(answer) for answer in answers])

    def prepare(self, cell: Cell) -> list:
        """Lets the fault lie in wait; the environment that orvhost needs for it."""
        if cell.means == "orders":
            for words in cell.detail:
                self.server.bmc(words)
        elif cell.means == "tool":
            self.hit_tool(cell)
        elif cell.means == "flash":
            self.server.plan_flash_exits(cell.detail)
            if cell.detail == ["hang"]:  # the pause for the drive is too short with limits that are
                self.raw(0x34, 0x8c, 0x55, 0xaa, 0x01)
                self.server.wait_bmc("media", "connected")
        elif cell.means == "records":
            records = self.server.install / "repository" / "state.json"
            records.unlink() if cell.detail is None else records.write_text(cell.detail)
        elif cell.means == "call":
            call, number = cell.detail
            (self.server.share / "failed").unlink(missing_ok=True)
            return ["LD_PRELOAD=/usr/lib/failing_calls.so", f"TEST_FAILING_CALL={call}",
                    f"TEST_FAILING_NUMBER={number}", "TEST_FAILING_MARK=/share/failed"]
        elif cell.means == "full disk":
            self.fill_disk()
        return []

    def hit_tool(self, cell: Cell):
        words = cell.step.split(" raw ")[1]
        self.server.run("rm -f /tmp/calls")
        self.stand_in("/usr/bin/ipmitool", f"""case "$*" in
*"raw {words}"*)
  echo x >> /tmp/calls
  if [ "$(wc -l < /tmp/calls)" = {cell.number} ]; then
    {cell.detail}
    exit
  fi ;;
esac
exec "$0.real" "$@"
""")
        if cell.fault.startswith("clock"):
            self.addCleanup(self.server.run, f"date -s @{int(time.time())}")

    def fill_disk(self):
        """The folder of the records is another file system, without room."""
        folder = self.server.settings.install_path + "/repository"
        done = self.server.run(f"mkdir -p {folder} && mount -t tmpfs -o size=4096 none {folder} && "
                               f"head -c 4096 /dev/zero > {folder}/filling")
        self.assertEqual(done.exit, 0, done.err)
        self.addCleanup(self.server.run, f"umount {folder}")

    def cut_off(self, cell: Cell, started) -> Ending:
        job, _ = started
        if cell.means == "in the flash":
            wait_until(lambda: self.server.bmc("state")["flash"] == "running", "the flash begins", 120)
        if cell.fault == "power":
            sign = self.server.share / "at-the-step"
            wait_until(sign.exists, "the step comes", 120)
            sign.unlink()
        if cell.fault.startswith("power"):
            self.server.bmc("power-loss")
            self.server.wait_off(time_limit=60)
            touched = self.was_flashed()
            self.server.power_on(time_limit=240)
        else:
            if cell.fault == "kill-during":
                pid = json.loads((self.server.install / "orvhost.run").read_text())["pid"]
                self.assertEqual(self.server.run(f"kill -9 {pid}").exit, 0)
            self.assertEqual(job.wait(time_limit=240).exit, 137)
            touched = self.was_flashed()
        verdict = self.orvhost("diagnose").report["verdict"]
        if cell.fault == "kill-during":
            wait_until(lambda: self.server.bmc("state")["flash"] != "running", "the flash ends", 120)
        return Ending(("power-lost" if cell.fault.startswith("power") else "killed") + f", {verdict}", None, touched)

    def was_flashed(self) -> bool:
        return any(command.startswith("34 90 ") and command.endswith("-> 00") for command in self.commands())


if __name__ == "__main__":
    unittest.main()

"""Runs that are killed, and runs whose machine loses power, at every step of an update: what the journal then proves,
and that the next run succeeds. A run is held exactly at a step (hold_at.cpp), so that nothing here depends on time."""

import json
import time
import unittest

from kv6000.errors import LabError
from road import SHORT_PAUSES, Road

UPDATE_AGAIN = "orvhost update"
APPLY = "orvhost apply"
VERIFY = "orvhost verify"
SHUT_DOWN = "Shut the machine down by hand"


def phase(name: str) -> str:
    return f'"kind":"phase","name":"{name}"'


# The steps of an update: name, the text of the journal's line (or of the records) at which the run is held, whether the
# flash was touched then, and what the diagnosis says.
UPDATE_STEPS = [
    ("package check", phase("fit"), None, "nothing-to-diagnose"),
    ("register", phase("register"), False, "flash-untouched"),
    ("prepare", phase("prepare"), False, "flash-untouched"),
    ("write, before the flash tool", "raw 0x34 0x8c 0x55 0xaa 0x01", False, "flash-untouched"),
    ("after the flash, before record", '"update_status": 3', True, "written-not-recorded"),
    ("record", phase("record"), True, "written-not-recorded"),
]
IN_THE_FLASH = "in the flash"


class AtEveryStep(Road):
    options = {"firmware": "01-10"}
    table = []

    @classmethod
    def tearDownClass(cls):
        print(f"\n{'step':32} {'ended by':11} {'diagnosis':22} {'flash':10} then")
        for row in cls.table:
            print("{:32} {:11} {:22} {:10} {}".format(*row))
        super().tearDownClass()

    def setUp(self):
        super().setUp()
        for entry in ("journal", "orvhost.lock"):
            self.server.run(f"rm -rf {self.server.install_path}/{entry}")
        self.sign = self.server.share / "held"

    def new_package(self) -> tuple:
        major, minor = self.running().split("-")
        version = f"{major}-{int(minor) + 1:02d}"
        return version, self.make_package(version)

    # Holding a run at a step and ending it there.

    def wait_until(self, condition, what: str, timeout: float = 120):
        deadline = time.monotonic() + timeout
        while not condition():
            if time.monotonic() > deadline:
                raise LabError(f"Still not {what} after {timeout:g} s.")
            time.sleep(0.02)

    def start_held(self, hold_at: str, *words):
        """Starts orvhost and returns when it is held; an empty text holds it nowhere."""
        self.sign.unlink(missing_ok=True)
        hold = ["LD_PRELOAD=/usr/lib/hold_at.so", f"ORVHOST_HOLD_AT={hold_at}", "ORVHOST_HOLD_SIGN=/share/held"]
        job = self.server.start_job(["env", f"ORVHOST_LAB_SLEEP_SCALE={SHORT_PAUSES * 3}", *(hold if hold_at else []),
                                     "/usr/bin/orvhost", "--json", "--install-path", self.server.install_path, *words])
        if hold_at:
            self.wait_until(lambda: self.sign.exists() or job.done(), f"held at {hold_at}")
            self.assertTrue(self.sign.exists(), f"the run did not come to {hold_at}: {job.output('out')}")
        return job

    def kill(self, job):
        pid = json.loads((self.server.install / "orvhost.lock").read_text())["pid"]
        self.assertEqual(self.server.run(f"kill -9 {pid}").exit, 0)
        self.assertEqual(job.wait().exit, 137)

    def lose_power(self):
        self.server.bmc("power-loss")
        self.server.wait_off()
        self.server.power_on(timeout=120)

    def end(self, job, how: str):
        if how == "kill -9":
            self.kill(job)
        else:
            self.lose_power()

    # What must be true afterwards.

    def diagnosed(self, step: str, how: str, verdict: str, flash, next_step: str) -> dict:
        run = self.orvhost("diagnose")
        report = run.report
        self.assertEqual((run.exit, report["verdict"]), (0, verdict), json.dumps(report, indent=1))
        self.assertEqual(report["flash_touched"], bool(flash), json.dumps(report, indent=1))
        self.assertIn(next_step, report["facts"].get("Next step", ""))
        if flash is not None:
            machine = "has been up since" if how == "kill -9" else "was started anew since"
            self.assertEqual(report["facts"]["Machine"], machine)
        return report

    def tell(self, step, how, verdict, flash, then):
        self.table.append((step, how, verdict, {None: "no", False: "no", True: "touched"}[flash], then))

    def update_works(self, package: str, version: str):
        done = self.update(package, pauses=SHORT_PAUSES * 3)
        self.assert_report(done, 0, verdict="updated", after=version, error=None)
        self.assert_bmc(standby=version, whole=True, flag=False)

    def verify_works(self, version: str):
        self.assert_report(self.orvhost("verify"), 0, verdict="verified", after=version)
        self.assertEqual(self.orvhost("diagnose").report["verdict"], "verified")

    def cut_off_update(self, how: str):
        version, package = self.new_package()
        for step, hold_at, flash, verdict in UPDATE_STEPS:
            with self.subTest(step, how=how):
                for entry in ("journal", "repository"):
                    self.server.run(f"rm -rf {self.server.install_path}/{entry}")
                job = self.start_held(hold_at, "update", f"/share/packages/{package}")
                self.end(job, how)
                self.diagnosed(step, how, verdict, flash, UPDATE_AGAIN if flash is not None else "")
                self.update_works(package, version)
                self.tell(step, how, verdict, flash, "updated again, whole in the BMC")

    # The tests.

    def test_a_killed_update(self):
        self.cut_off_update("kill -9")

    def test_an_update_without_power_in_the_flash(self):
        how = "power loss"
        version, package = self.new_package()
        self.server.bmc("power-loss 50")
        self.start_held("", "update", f"/share/packages/{package}")
        self.server.wait_off(timeout=120)
        self.server.power_on(timeout=120)
        self.diagnosed(IN_THE_FLASH, how, "flash-incomplete", True, UPDATE_AGAIN)
        self.update_works(package, version)
        self.tell(IN_THE_FLASH, how, "flash-incomplete", True, "updated again, whole in the BMC")

    def apply_works(self, version: str):
        self.assert_report(self.take_down("apply"), 0, verdict="going-down", after=version)
        self.assert_bmc(running=version)

    def apply_held(self, hold_at: str):
        return self.start_held(hold_at, "apply", "--yes")

    def test_an_apply_and_a_verify_that_are_killed(self):
        how = "kill -9"
        version, package = self.new_package()
        self.update_works(package, version)
        step = "apply, before the reboot flag"
        self.end(self.apply_held("raw 0x34 0x5e"), how)
        self.assert_bmc(flag=False)
        self.diagnosed(step, how, "apply-incomplete", False, APPLY)
        self.tell(step, how, "apply-incomplete", False, "applied again")
        step = "apply, behind the reboot flag"
        self.end(self.apply_held('raw 0x34 0x5f'), how)
        self.assert_bmc(flag=True)
        self.diagnosed(step, how, "apply-incomplete", False, APPLY)
        self.apply_works(version)
        self.tell(step, how, "apply-incomplete", False, "applied again, the new firmware runs")
        step = "verify"
        self.end(self.start_held(phase("verify"), "verify"), how)
        self.diagnosed(step, "power loss", "going-down", False, VERIFY)
        self.verify_works(version)
        self.tell(step, how, "going-down", False, "verified")

    def test_an_apply_that_is_killed_at_the_halt(self):
        how = "kill -9"
        version, package = self.new_package()
        self.update_works(package, version)
        step = "apply, at the halt"
        self.end(self.apply_held("shutdown -h now"), how)
        self.assert_bmc(flag=True, power="on")
        self.diagnosed(step, how, "going-down", False, SHUT_DOWN)
        self.server.run("shutdown -h now")
        self.server.wait_power_cycle(timeout=120)
        self.assert_bmc(running=version)
        self.verify_works(version)
        self.tell(step, how, "going-down", False, "shut down by hand, verified")


if __name__ == "__main__":
    unittest.main()

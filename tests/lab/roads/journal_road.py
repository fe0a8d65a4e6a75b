"""What the tests of cut off runs share: a run that is held exactly at a step (hold_at.cpp), what diagnose must say of it,
the second run that must succeed, and the table of all that was seen. Nothing here depends on time."""

import shutil
import time

from kv6000 import LabError, ServerSettings
from road import Road

UPDATE_AGAIN = "orvhost update"
APPLY = "orvhost apply"
VERIFY = "orvhost verify"
SHUT_DOWN = "Shut the machine down by hand"
WAIT = "wait until what is at work has ended"

FLASH_COMMAND = "34 90 "


def phase(name: str) -> str:
    return f'"kind":"phase","name":"{name}"'


# The steps of an update: name, the text of the journal's line (or of the records) at which the run is held, whether the
# flash was touched then, what the diagnosis says, and its next step.
UPDATE_STEPS = [
    ("package check", phase("fit"), False, "nothing-to-diagnose", ""),
    ("register", phase("register"), False, "flash-untouched", UPDATE_AGAIN),
    ("prepare", phase("prepare"), False, "flash-untouched", UPDATE_AGAIN),
    ("write, before the flash tool", "raw 0x34 0x8c 0x55 0xaa 0x01", False, "flash-untouched", UPDATE_AGAIN),
    ("after the flash, before record", '"update_status": 3', True, "written-not-recorded", UPDATE_AGAIN),
    ("record", phase("record"), True, "written-not-recorded", UPDATE_AGAIN),
]
IN_THE_FLASH = "in the flash"

# The next steps of apply, by the text at which it is held.
FLAG = "raw 0x34 0x5e"
CHECK_FLAG = "raw 0x34 0x5f"
HALT = "shutdown -h now"


class JournalRoad(Road):
    """One server whose runs are ended by `how`, which may restart the machine; `end` does it to a held one."""

    settings = ServerSettings(firmware="01-10")
    how = ""
    restarts = False

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.table = []

    @classmethod
    def tearDownClass(cls):
        print(f"\n{'step':30} {'ended by':10} {'diagnosis':20} {'flash':9} {'next step':36} second run")
        for row in cls.table:
            print("{:30} {:10} {:20} {:9} {:36} {}".format(*row))
        super().tearDownClass()

    def setUp(self):
        super().setUp()
        self.sign = self.server.share / "held"
        self.forget()

    def forget(self):
        """From here on no run was ever made on this machine."""
        for folder in ("journal", "repository"):
            shutil.rmtree(self.server.install / folder, ignore_errors=True)
        (self.server.install / "orvhost.run").unlink(missing_ok=True)

    def new_package(self) -> tuple:
        major, minor = self.running().split("-")
        version = f"{major}-{int(minor) + 1:02d}"
        return version, f"/share/packages/{self.make_package(version)}"

    # Holding a run at a step and ending it there.

    def start_held(self, hold_at: str, *words):
        """Starts orvhost and returns its job when it is held."""
        self.sign.unlink(missing_ok=True)
        job, _ = self.start_orvhost(*words, settings=("LD_PRELOAD=/usr/lib/hold_at.so", f"ORVHOST_HOLD_AT={hold_at}",
                                                      "ORVHOST_HOLD_SIGN=/share/held"))
        self.wait_for_sign(job, hold_at)
        return job

    def wait_for_sign(self, job, where: str, time_limit: float = 120):
        """Returns when the sign is there that the job has come to where it is held."""
        limit = time.monotonic() + time_limit
        while not self.sign.exists():
            self.assertFalse(job.done(), f"the run ended before {where}: {job.output()}")
            if time.monotonic() > limit:
                raise LabError(f"The run is not held at {where} after {time_limit:g} s.")
            time.sleep(0.02)

    def end(self, job):
        raise NotImplementedError

    # What must be true afterwards.

    def diagnosed(self, step: str, flash: bool, verdict: str, next_step: str, second_run, restarted=False):
        """Asserts what diagnose says (with `restarted` the machine was started anew in any case), then that the second
        run succeeds: a function that makes it and tells how it ended, for the table."""
        run = self.orvhost("diagnose")
        self.assert_report(run, 0, verdict=verdict, flash_touched=flash)
        facts = run.report["facts"]
        self.assertIn(next_step, facts.get("next_step", ""))
        self.assertEqual("next_step" in facts, next_step != "")
        if next_step:
            machine = "was started anew since" if restarted or self.restarts else "has been up since"
            self.assertEqual(facts["machine"], machine)
        stated = "touched" if run.report["flash_touched"] else "untouched"
        self.table.append((step, self.how, run.report["verdict"], stated, next_step or "none", second_run()))

    def update_works(self, package: str, version: str) -> str:
        self.start_counting()
        done = self.orvhost("update", package)
        self.assert_report(done, 0, verdict="updated", after=version, error=None)
        self.assertEqual(len([command for command in self.asked() if command.startswith(FLASH_COMMAND)]), 1)
        self.assert_bmc(standby=version, whole=True, flag=False)
        return f"update: {done.report['verdict']}, the BMC holds all of {version}"

    def apply_works(self, version: str) -> str:
        done = self.take_down("apply")
        self.assert_report(done, 0, verdict="going-down", after=version)
        self.assert_bmc(running=version)
        return f"apply: {done.report['verdict']}, the BMC runs {version}"

    def verify_works(self, version: str) -> str:
        done = self.orvhost("verify")
        self.assert_report(done, 0, verdict="verified", after=version)
        self.assert_report(self.orvhost("diagnose"), 0, verdict="verified")
        return f"verify: {done.report['verdict']}"

    def verify_finds_the_old_one(self, next_step: str) -> str:
        done = self.orvhost("verify")
        verdict = "not-applied-yet" if next_step == APPLY else "version-not-expected"
        self.assert_report(done, 9, verdict=verdict)
        self.assertEqual(done.records == [], verdict == "not-applied-yet")
        self.assertIn(next_step, self.orvhost("diagnose").report["facts"]["next_step"])
        return f"verify: {done.report['verdict']}, then diagnose names {next_step}"

    # The roads that are the same however the runs end.

    def cut_off_at_every_step(self, version: str, package: str):
        for step, hold_at, flash, verdict, next_step in UPDATE_STEPS:
            with self.subTest(step):
                self.forget()
                self.end(self.start_held(hold_at, "update", package))
                self.diagnosed(step, flash, verdict, next_step, lambda: self.update_works(package, version))

    def apply_held(self, hold_at: str):
        return self.start_held(hold_at, "apply", "--yes")

    def cut_off_verify(self, version: str):
        self.end(self.start_held(phase("verify"), "verify"))
        self.diagnosed("verify", False, "going-down", VERIFY, lambda: self.verify_works(version), restarted=True)


class WithoutPower(JournalRoad):
    """Runs end because the machine loses power, which costs a boot each."""

    how = "power loss"
    restarts = True

    def end(self, job):
        self.server.bmc("power-loss")
        self.come_back()

    def come_back(self):
        self.server.wait_off(time_limit=120)
        self.server.power_on(time_limit=120)

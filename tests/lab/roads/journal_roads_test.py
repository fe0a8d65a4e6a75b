"""Runs that are killed at every step of an update: what the journal then proves, and that the next run succeeds."""

import json
import unittest

from journal_road import APPLY, CHECK_FLAG, FLAG, HALT, IN_THE_FLASH, SHUT_DOWN, UPDATE_AGAIN, WAIT, JournalRoad

FLASH_TOOL = "/srv/orv/KV6KBMC/Yafuflash"
# Of the processes that a run started, those that are left. One that is about to become another program does not show
# its environment for a moment, so a look that finds nothing is repeated.
LOOK = "grep -ls 'ORVHOST_RU[N]=' /proc/[0-9]*/environ"
LEFT = f"{{ {LOOK} || {{ sleep 0.2; {LOOK}; }}; }}"


class Killed(JournalRoad):
    how = "kill -9"

    def end(self, job):
        pid = json.loads((self.server.install / "orvhost.run").read_text())["pid"]
        self.assertEqual(self.server.run(f"kill -9 {pid}").exit, 0)
        self.assertEqual(job.wait().exit, 137)

    def test_at_every_step_of_an_update_and_after_the_reboot_flag(self):
        version, package = self.new_package()
        self.cut_off_at_every_step(version, package)
        self.end(self.apply_held(CHECK_FLAG))
        self.assert_bmc(flag=True)
        self.diagnosed("apply, after the reboot flag", False, "apply-incomplete", APPLY,
                       lambda: self.apply_works(version))

    def test_in_the_flash_and_on_the_way_to_the_new_firmware(self):
        version, package = self.new_package()
        self.in_the_flash(version, package)
        self.end(self.apply_held(FLAG))
        self.assert_bmc(flag=False)
        self.diagnosed("apply, before the reboot flag", False, "apply-incomplete", APPLY,
                       lambda: self.apply_works(version))
        self.cut_off_verify(version)

    def in_the_flash(self, version: str, package: str):
        """The flash tool goes on without the program, and keeps other runs away until it is done."""
        self.stand_in(FLASH_TOOL, "touch /share/held\nuntil [ -e /share/go-on ]; do sleep 0.05; done\n"
                                  f'exec {FLASH_TOOL}.real "$@"\n')
        self.sign.unlink(missing_ok=True)
        job, _ = self.start_orvhost("update", package)
        self.wait_for_sign(job, IN_THE_FLASH)
        self.is_seen_at_work()
        self.end(job)
        self.diagnosed(f"{IN_THE_FLASH}, its tool at work", True, "at-work", WAIT, self.is_refused)
        (self.server.share / "go-on").touch()
        self.assertEqual(self.server.run(f"while {LEFT}; do sleep 0.05; done", time_limit=120).exit, 0)
        self.assert_bmc(standby=version, whole=True)
        self.diagnosed(f"{IN_THE_FLASH}, its tool done", True, "flash-incomplete", UPDATE_AGAIN,
                       lambda: self.update_works(package, version))

    def is_seen_at_work(self):
        """By its lock, on a file system that the machine shares with another: the program is alive."""
        self.assertIn(" 9p ", self.server.run("grep ' /srv/orv ' /proc/mounts").out)
        listed = self.orvhost("history")
        self.assert_report(listed, 0, verdict="listed")
        self.assertEqual(listed.report["runs"][-1]["verdict"], "at work")
        self.assert_report(self.orvhost("diagnose"), 0, verdict="at-work", flash_touched=True)

    def is_refused(self) -> str:
        busy = self.orvhost("identify")
        self.assert_report(busy, 10, verdict="busy", flash_touched=False)
        self.assertIn("Yafuflash", busy.report["error"]["cause"])
        return f"identify: {busy.report['verdict']}, exit code {busy.exit}"

    def test_an_apply_at_the_halt(self):
        version, package = self.new_package()
        self.update_works(package, version)
        self.end(self.apply_held(HALT))
        self.assert_bmc(flag=True, power="on")
        self.diagnosed("apply, at the halt", False, "going-down", SHUT_DOWN,
                       lambda: self.shut_down_by_hand(version))

    def shut_down_by_hand(self, version: str) -> str:
        self.server.start_job("shutdown -h now")
        self.server.wait_power_cycle(time_limit=120)
        self.assert_bmc(running=version)
        return f"shut down by hand, the BMC runs {version}; {self.verify_works(version)}"


if __name__ == "__main__":
    unittest.main()

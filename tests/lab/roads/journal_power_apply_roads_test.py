"""A machine that loses power in the flash, and then at every step of the way to the new firmware: what the journal then
proves, and that the next run succeeds."""

import unittest

from journal_road import APPLY, CHECK_FLAG, FLAG, HALT, IN_THE_FLASH, UPDATE_AGAIN, VERIFY, WithoutPower


class OnTheWay(WithoutPower):

    def test_from_the_flash_to_the_new_firmware(self):
        before = self.running()
        version, package = self.new_package()
        self.in_the_flash(version, package)
        for step, hold_at in (("apply, before the reboot flag", FLAG), ("apply, after the reboot flag", CHECK_FLAG)):
            self.end(self.apply_held(hold_at))
            self.assert_bmc(running=before, standby=version, whole=True, flag=False)
            self.diagnosed(step, False, "apply-incomplete", VERIFY,
                           lambda: self.verify_finds_the_old_one(APPLY))
        self.end(self.apply_held(HALT))
        self.diagnosed("apply, at the halt", False, "going-down", UPDATE_AGAIN,
                       lambda: self.begin_anew(version, package))
        self.cut_off_verify(version)

    def in_the_flash(self, version: str, package: str):
        self.server.bmc("power-loss 50")
        self.start_orvhost("update", package)
        self.come_back()
        self.assert_bmc(whole=False)
        self.diagnosed(IN_THE_FLASH, True, "flash-incomplete", UPDATE_AGAIN,
                       lambda: self.update_works(package, version))

    def begin_anew(self, version: str, package: str) -> str:
        """The power took the reboot flag, and the marker is gone."""
        return "; ".join((self.update_works(package, version), self.apply_works(version)))


if __name__ == "__main__":
    unittest.main()

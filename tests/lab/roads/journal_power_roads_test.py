"""Updates whose machine loses power at every step but the flash itself: what the journal then proves, and that the next
run succeeds. The flash, and what comes after an update, is in journal_power_apply_roads_test.py."""

import unittest

from journal_road import WithoutPower


class AnUpdate(WithoutPower):

    def test_at_every_step(self):
        self.cut_off_at_every_step(*self.new_package())


if __name__ == "__main__":
    unittest.main()

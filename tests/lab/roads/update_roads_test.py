"""Whole updates that work, from the package to the verified firmware, with their traces."""

import unittest

from kv6000 import ServerSettings
from road import Road


class GoodRoad:
    """The road of a good update, in one test: every step stands on the one before."""

    golden = ""

    def test_a_good_package_takes_the_bmc_from_01_23_to_01_24(self):
        updated = self.update("good-01-24.zip")
        self.assert_report(updated, 0, command="update", verdict="updated", phase="record", changed=True,
                           flash_touched=True, before="01-23", after="01-24", error=None)
        self.assertEqual(self.asked(), ["34 8c 55 aa 01 -> 00", "34 8d -> 00 01", "34 2c 00 -> 00", "34 2d -> 00 00",
                                        "34 90 00 00 10 00 -> 00"])
        self.assert_bmc(running="01-23", standby="01-24", whole=True, flag=False, flash="done", media="connected",
                        waiting=False, boots=1)
        self.assert_scratch_holds("ExistUpdate.txt")

        applied = self.take_down("apply")
        self.assert_report(applied, 0, command="apply", verdict="going-down", phase="apply", changed=True,
                           flash_touched=False, before="01-23", after="01-24", error=None)
        self.assertEqual(self.asked()[5:], ["34 5e 55 aa 01 -> 00", "34 5f -> 00 01"])
        self.assert_bmc(running="01-24", standby=None, whole=False, flag=False, media="disconnected", waiting=True,
                        power="on", boots=2)
        self.assert_scratch_holds()

        verified = self.orvhost("verify")
        self.assert_report(verified, 0, command="verify", verdict="verified", phase="verify", changed=False,
                           flash_touched=False, before="01-24", after="01-24", error=None)
        self.assertEqual(updated.records + applied.records + verified.records, [])
        self.assertEqual(updated.err + applied.err + verified.err, "")
        self.assert_golden(self.golden, {"update": updated, "apply": applied, "verify": verified})

        again = self.update("good-01-24.zip")
        self.assert_report(again, 0, verdict="nothing-to-do", changed=False, before="01-24", after="01-24")
        self.assert_bmc(boots=2, flash="done", media="disconnected")


class WithIpmitool(GoodRoad, Road):
    golden = "update_with_ipmitool.trace"


class InAFolderWithABlank(GoodRoad, Road):
    """The trace is the same: the folder's name is normalised."""

    settings = ServerSettings(install_path="/srv/a folder")
    golden = "update_with_ipmitool.trace"


class WithTheMakersTool(GoodRoad, Road):
    settings = ServerSettings(tool="maker")
    golden = "update_with_the_makers_tool.trace"

    def test_a_bmc_that_answers_c0_to_connect_twice_is_asked_a_third_time(self):
        self.server.bmc("fail 34 8c C0 2")
        updated = self.update(self.make_package("01-77"))
        self.assert_report(updated, 0, verdict="updated", after="01-77", error=None)
        failed = "16 Failed to execute ipmi command (Connect to virtual media) CompletionCode:c0"
        end = "4 CBMC_KESTREL_Firmware::Update() [END]"
        self.assert_in_trace(updated, failed, end, failed, end, "1 Sleep start", "1 Sleep end", end)
        self.assertEqual(updated.trace.count(failed), 2)
        self.assertEqual(self.asked()[:4], ["34 8c 55 aa 01 -> c0", "34 8c 55 aa 01 -> c0", "34 8c 55 aa 01 -> 00",
                                            "34 8d -> 00 01"])
        self.assertEqual(updated.records, [])
        self.assert_bmc(standby="01-77", whole=True, flag=False)
        self.assert_scratch_holds("ExistUpdate.txt")


if __name__ == "__main__":
    unittest.main()

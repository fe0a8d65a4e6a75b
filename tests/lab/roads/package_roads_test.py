"""Packages that cannot be used, or not as they say: what the host makes of them, and what the plug-in does by itself."""

import unittest

from kv6000.packages import make_image, write_package
from road import PAUSES, Road

START = "4 CBMC_KESTREL_Firmware::Update() [START]"
END = "4 CBMC_KESTREL_Firmware::Update() [END]"
# What the plug-in's Update writes before it touches the package.
COMPARED = [START, "1 Compare Version", "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [START]"]
NOT_UNPACKED = "MSGID_BMC_0009_F 10"


class AServerAndItsPackages(Road):
    def test_a_package_of_the_running_version_is_nothing_to_do(self):
        package = self.make_package(self.running())
        with self.subTest("the host does not even ask the plug-in to update"):
            done = self.update(package)
            self.assert_report(done, 0, verdict="nothing-to-do", phase="compare", changed=False, flash_touched=False,
                               before=self.running(), after=self.running(), error=None)
            self.assertNotIn(START, done.trace)
        with self.subTest("the plug-in leaves it alone by itself, even without a package"):
            for path in (f"/share/packages/{package}", ""):
                done = self.trusting_host(path, module_version=self.running())
                self.assertEqual(done.result, 0)
                self.assert_in_trace(done, *COMPARED, "1 Already Updated", END)
                self.assertEqual(self.end_of_update(done), ["1 Already Updated", END])
        self.assert_nothing_happened()
        self.assert_scratch_holds()

    def test_the_running_version_is_written_again_on_demand_and_an_older_one_too(self):
        running = self.running()
        package = f"/share/packages/{self.make_package(running)}"
        again = self.orvhost("update", package, "--allow-reinstall")
        self.assert_report(again, 0, verdict="updated", flash_touched=True, needs_apply=True, after=running)
        self.assertNotIn("1 Already Updated", again.trace)
        self.assert_bmc(running=running, standby=running, whole=True)
        self.assert_report(self.orvhost("verify"), 9, verdict="not-applied-yet")
        major, minor = running.split("-")
        older = f"{major}-{int(minor) - 1:02d}"
        path = f"/share/packages/{self.make_package(older)}"
        self.start_counting()
        refused = self.orvhost("update", path)
        self.assert_report(refused, 6, verdict="older-not-allowed", changed=False, flash_touched=False)
        self.assertEqual(self.asked(), [])
        self.assert_bmc(standby=running)
        self.assert_report(self.orvhost("check", path), 6, verdict="older-not-allowed")
        self.assert_report(self.orvhost("update", path, "--allow-older"), 0, verdict="updated", after=older)
        self.assert_report(self.orvhost("update", path), 0, verdict="nothing-to-do", changed=False, needs_apply=True)
        self.assert_bmc(running=running, standby=older, whole=True)

    def test_a_package_that_cannot_be_read_fails_before_the_plug_in_is_loaded(self):
        for name, reason in (("missing.zip", "there is no such file"), ("empty.zip", "the file is empty"),
                             ("not-an-archive.zip", "."), ("truncated.zip", "."), ("corrupt.zip", "CRC")):
            with self.subTest(name):
                done = self.update(name)
                self.assert_report(done, 5, verdict="package-unusable", phase="package", changed=False,
                                   flash_touched=False, before="", after="")
                self.assertRegex(done.report["error"]["cause"],
                                 f"The package /share/packages/{name} cannot be used: .*{reason}")
                self.assertEqual((done.trace, done.err), ([], ""))
        self.assert_nothing_happened()
        self.assertFalse(self.scratch.exists())

    def test_the_plug_in_fails_to_unpack_what_is_not_a_whole_archive(self):
        for name in ("missing.zip", "empty.zip", "not-an-archive.zip", "truncated.zip", "corrupt.zip"):
            with self.subTest(name):
                done = self.trusting_host(f"/share/packages/{name}")
                self.assertEqual(done.result, 1)
                reason, *rest = self.end_of_update(done)
                self.assertIn(f"2 Cannot unpack [/share/packages/{name}]: ", reason)
                self.assertEqual(rest, ["R " + NOT_UNPACKED, "2 Failed to Unzip", END])
                self.assert_work_folder_is_empty()
        with self.subTest("no package at all"):
            done = self.trusting_host("")
            self.assertEqual(done.result, 1)
            self.assertEqual(self.end_of_update(done), [END])
        self.assert_nothing_happened()

    def test_an_archive_that_tries_to_leave_its_folder_fails_to_be_unpacked(self):
        for name, member in (("parent-folder.zip", "../escaped.txt"), ("absolute-name.zip", "/tmp/escaped.txt")):
            with self.subTest(name):
                reason = f"member [{member}]: the name leaves the folder"
                self.assert_refused(name, reason, phase="package", before="")
                done = self.trusting_host(f"/share/packages/{name}")
                self.assertEqual(done.result, 1)
                self.assertEqual(self.end_of_update(done), [f"2 Cannot unpack [/share/packages/{name}]: {reason}",
                                                            "R " + NOT_UNPACKED, "2 Failed to Unzip", END])
                self.assert_work_folder_is_empty()
                self.assertEqual(self.server.run("ls /tmp").out, "")
        self.assert_nothing_happened()

    def test_a_package_without_an_image_fails(self):
        self.assert_refused("no-image.zip", "it holds no image (a file whose name holds .ima)")
        with self.subTest("by the plug-in too"):
            done = self.trusting_host("/share/packages/no-image.zip")
            self.assertEqual(done.result, 1)
            self.assertEqual(self.end_of_update(done), ["R MSGID_BMC_0020_F 11", "2 Failed to find module", END])
            self.assertEqual([entry.name for entry in (self.scratch / "BMC_FW").iterdir()], ["module.json"])
        self.assert_nothing_happened()

    def test_of_two_images_the_plug_in_would_flash_the_one_that_its_trace_names(self):
        self.assert_refused("two-images.zip", "it holds 2 images, kv6000_0124.ima and kv6000_0125.ima, and only one can "
                                              "be written")
        self.assert_nothing_happened()
        done = self.trusting_host("/share/packages/two-images.zip", pauses=PAUSES)
        self.assertEqual(done.result, 0)
        flashed = {'kv6000_0124.ima"': "01-24", 'kv6000_0125.ima"': "01-25"}
        command = next(line for line in done.trace if line.startswith("1 Execute:"))
        self.assert_bmc(standby=flashed[command.rpartition("/")[2]], whole=True, flag=False)
        self.assert_scratch_holds("ExistUpdate.txt")

    def test_an_image_of_another_version_than_the_package_says_is_found_by_verify(self):
        before = self.running()
        write_package(self.server.share / "packages" / "says-01-30.zip", "01-30", {"kv6000.ima": make_image("01-31")})
        self.assert_report(self.update("says-01-30.zip"), 0, verdict="updated", before=before, after="01-30")
        self.assert_bmc(running=before, standby="01-31")
        self.assert_report(self.take_down("apply"), 0, verdict="going-down", before=before, after="01-30")
        self.assert_bmc(running="01-31", standby=None, flag=False, power="on")

        verified = self.orvhost("verify")
        self.assert_report(verified, 9, verdict="version-not-expected", changed=False, flash_touched=False,
                           before="01-31", after="01-31",
                           cause="The BMC runs version 01-31, but version 01-30 was installed.")
        self.assertEqual(verified.records,
                         ["MSGID_BMC_0015_F The BMC runs firmware version 01-31, but version 01-30 was installed."])
        self.assert_in_trace(verified, "1 UpdateApplyCheck [01-31] [01-30]", "R " + verified.records[0],
                             "2 Operating Version(01-31) and Update Version(01-30) are mismatched",
                             "4 CBMC_KESTREL_Firmware::UpdateApplyCheck() [END]")
        self.assert_scratch_holds()

    def end_of_update(self, run) -> list:
        """The trace of Update after the last time that it read the running version."""
        end = run.trace.index(END)
        read = max(index for index, line in enumerate(run.trace[:end])
                   if line.startswith("4 CBMC_KESTREL_Firmware::GetOperatingVersion() ["))
        return run.trace[read + 1:end + 1]

    def assert_refused(self, name: str, reason: str, phase="preflight", before=None):
        """Check and update refuse the package before the plug-in is asked to do anything, for the same reason."""
        path = f"/share/packages/{name}"
        for words in (["check", path], ["update", path, "--dry-run"], ["update", path]):
            done = self.orvhost(*words)
            self.assert_report(done, 5, verdict="package-unusable", phase=phase, changed=False, flash_touched=False,
                               before=self.running() if before is None else before,
                               cause=f"The package {path} cannot be used: {reason}.")
            self.assertNotIn(START, done.trace)
        self.assertFalse((self.server.install / ".orvhost-package").exists())

    def assert_work_folder_is_empty(self):
        self.assert_scratch_holds("BMC_FW")
        self.assertEqual(list((self.scratch / "BMC_FW").iterdir()), [])

    def assert_nothing_happened(self):
        self.assertEqual(self.asked(), [])
        self.assert_bmc(media="disconnected", flag=False)
        self.assertFalse(self.marker.exists())


if __name__ == "__main__":
    unittest.main()

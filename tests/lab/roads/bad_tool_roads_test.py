"""A machine whose IPMI tool is missing or broken, and places that the plug-in cannot write to."""

import unittest

from kv6000 import ServerSettings
from road import SHORT_PAUSES, Road

NO_TOOL = "MSGID_BMC_0001_F 0B23"
REQUEST = '"/usr/bin/ipmitool" raw 0x06 0x01 > "INSTALL/tmp/KV6KBMC/IPMIResult-THREAD"'
# Three requests, then the last failure.
NO_VERSION = [f"{level} Failed to execute ipmi command(GetDeviceID) CompletionCode:%s" for level in (16, 16, 2)]


class AServerWithoutAnIpmiTool(Road):
    settings = ServerSettings(tool="none")

    def play_ipmitool(self, script: str):
        """Puts a script in the place of ipmitool for this test."""
        self.write_program("/usr/bin/ipmitool", script)
        self.addCleanup(self.server.run, "rm -f /usr/bin/ipmitool")

    def assert_nothing_happened(self, run):
        self.assertEqual(self.asked(), [])
        self.assert_bmc(running="01-23", standby=None, flag=False, media="disconnected", boots=1)
        self.assertFalse(self.marker.exists())
        self.assertNotIn("4 CBMC_KESTREL_Firmware::Update() [START]", run.trace)

    def assert_unreadable(self, run, failure: str, code: str):
        """The update ended because three requests for the version met the failure; `code` is what the trace shows as
        completion code."""
        self.assert_report(run, 7, command="update", verdict="bmc-unreadable", phase="fit", changed=False,
                           flash_touched=False, before="", after="",
                           cause="The BMC does not report its firmware version.")
        self.assert_in_trace(run, *[line for stated in NO_VERSION for line in (failure, stated % code)])
        evidence = run.report["error"]["evidence"]
        self.assertEqual(evidence["completion_code"], code)
        self.assertEqual(evidence["records"], [])
        self.assertIn((NO_VERSION[-1] % code).removeprefix("2 "), evidence["trace"])
        self.assert_nothing_happened(run)

    def test_every_subcommand_that_needs_the_tool_fails_and_says_that_it_is_missing(self):
        for words in (["identify"], ["update", "/share/packages/good-01-24.zip"]):
            with self.subTest(words[0]):
                done = self.orvhost(*words)
                self.assert_report(done, 4, command=words[0], verdict="prerequisites-missing", phase="prerequisites",
                                   changed=False, flash_touched=False, cause="Missing on this machine: IPMI tool.")
                self.assertEqual(done.records, [NO_TOOL])
                self.assert_in_trace(done, "1 ipmicmd is nothing", "1 ipmitool is nothing",
                                     "2 Failed to get IPMI tool path", "R " + NO_TOOL,
                                     "4 CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware() [END]")
                (stated,) = done.report["error"]["evidence"]["records"]
                self.assertIn("neither of the IPMI tools is installed", stated)
                self.assert_nothing_happened(done)

    def test_an_update_fails_with_a_tool_that_prints_words_that_are_not_two_characters(self):
        self.play_ipmitool('echo " 20 001 01 23 02"\n')
        done = self.update("good-01-24.zip", pauses=SHORT_PAUSES)
        self.assert_unreadable(done, "2 [INSTALL/tmp/KV6KBMC/IPMIResult-THREAD] may be broken", "00")
        (kept,) = self.scratch.iterdir()
        self.assertEqual(kept.read_text(), " 20 001 01 23 02\n")

    def test_an_update_fails_with_a_tool_that_prints_nothing(self):
        self.play_ipmitool("exit 0\n")
        done = self.update("good-01-24.zip", pauses=SHORT_PAUSES)
        self.assert_unreadable(done, "4 CBMC_KESTREL_Firmware::ExecIPMICommand() [END]", "00")
        self.assert_scratch_holds()

    def test_an_update_fails_with_a_tool_that_is_killed(self):
        self.play_ipmitool("echo 20 01\nkill -9 $$\n")
        done = self.update("good-01-24.zip", pauses=SHORT_PAUSES)
        self.assert_unreadable(done, f"2 Failed to execute command {REQUEST} return 137", "")
        self.assert_scratch_holds()

    def test_an_update_fails_with_a_tool_that_never_ends(self):
        self.play_ipmitool("echo 20 01\nexec sleep 98765\n")
        # The limit for a request is 350 s; with this factor a quarter of a second.
        done = self.update("good-01-24.zip", pauses=0.0007)
        self.assert_unreadable(done, f"2 Failed to execute command {REQUEST} return 0", "")
        self.assert_scratch_holds()
        self.assert_no_process("9876[5]")


class AServerWithBadPlaces(Road):
    def mount(self, options: str, name: str):
        """Mounts an empty file system for this test at a folder below the install path."""
        path = f"{self.server.settings.install_path}/{name}"
        done = self.server.run(f"mkdir -p {path} && mount -t tmpfs -o {options} tmpfs {path}")
        self.assertEqual(done.exit, 0, done.err)
        self.addCleanup(self.server.run, f"umount {path}")

    def assert_no_update(self, run, detail: str, reason: str):
        self.assert_report(run, 7, verdict="update-failed", phase="write", changed=False, flash_touched=False,
                           before="01-23")
        self.assertEqual(run.records, [f"MSGID_BMC_0009_F {detail}"])
        self.assertRegex("\n".join(run.report["error"]["evidence"]["trace"]), reason)
        self.assertEqual(self.asked(), [])
        self.assert_bmc(running="01-23", standby=None, flag=False, media="disconnected")

    def test_an_update_fails_with_a_file_in_the_place_of_the_scratch_directory(self):
        self.scratch.parent.mkdir()
        self.scratch.write_text("in the way\n")
        done = self.update("good-01-24.zip", pauses=SHORT_PAUSES)
        self.assert_report(done, 7, verdict="bmc-unreadable", phase="fit", changed=False, flash_touched=False)
        error = done.report["error"]
        self.assertRegex(error["evidence"]["command"], '^"/usr/bin/ipmitool" raw 0x06 0x01 > "/srv/orv/tmp/KV6KBMC/')
        self.assertIn("run the command above by hand", error["next_step"])
        # The shell that could not run the command says why.
        self.assertIn("cannot create /srv/orv/tmp/KV6KBMC/IPMIResult", error["evidence"]["error_output"][-1])
        self.assertEqual(done.err, "")
        self.assertEqual(self.scratch.read_text(), "in the way\n")
        self.assertEqual(self.asked(), [])
        self.assert_bmc(running="01-23", standby=None, flag=False, media="disconnected")

    def test_an_update_fails_with_a_full_scratch_directory(self):
        self.mount("size=64k", "tmp")
        for words in (["check"], ["update", "--dry-run"], ["update"]):
            done = self.orvhost(*words, "/share/packages/good-01-24.zip")
            self.assert_report(done, 4, verdict="prerequisites-missing", phase="preflight", changed=False,
                               flash_touched=False, before="01-23",
                               cause="There is no room to unpack the package: /srv/orv/tmp/KV6KBMC has 0 MiB free, and "
                                     "it takes 2 MiB.")
        self.assertEqual((done.records, self.asked()), ([], []))
        self.assert_bmc(running="01-23", standby=None, flag=False, media="disconnected")

    def test_check_and_update_fail_without_the_makers_flash_tool(self):
        tool = self.server.install / "KV6KBMC" / "Yafuflash"
        aside = self.server.share / "Yafuflash"
        tool.rename(aside)
        self.addCleanup(aside.rename, tool)
        for words in (["check"], ["update", "--dry-run"], ["update"]):
            done = self.orvhost(*words, "/share/packages/good-01-24.zip")
            self.assert_report(done, 4, verdict="prerequisites-missing", phase="preflight", changed=False,
                               flash_touched=False, before="01-23",
                               cause="The flash tool /srv/orv/KV6KBMC/Yafuflash is missing; the server's maker supplies "
                                     "it.")
        self.assertEqual((done.records, self.asked()), ([], []))

    def test_an_update_fails_with_a_work_folder_that_cannot_be_emptied(self):
        self.mount("ro", "tmp/KV6KBMC/BMC_FW")
        done = self.update("good-01-24.zip")
        self.assert_no_update(done, "0F",
                              r"Cannot delete folder \[.*/tmp/KV6KBMC/BMC_FW\]: .*busy")

    def test_an_update_fails_when_the_hosts_records_cannot_be_written(self):
        records = self.server.install / "repository"
        records.write_text("in the way\n")
        self.addCleanup(records.unlink)
        done = self.update("good-01-24.zip")
        self.assert_report(done, 4, verdict="prerequisites-missing", phase="preflight", changed=False,
                           flash_touched=False, before="01-23",
                           cause="An update could not be recorded: /srv/orv/repository is not a folder that can be "
                                 "written to.")
        self.assertEqual(records.read_text(), "in the way\n")
        self.assertEqual((done.records, self.asked()), ([], []))
        self.assert_bmc(running="01-23", standby=None, flag=False, media="disconnected")


if __name__ == "__main__":
    unittest.main()

"""Updates on which the BMC, the flash tool or the power fails, and what a further run makes of it. The server's
firmware is one that demands the write mode phrase, so that every road here also goes through Change Write mode."""

import unittest

from kv6000 import ServerSettings
from kv6000.paths import build_folder
from lab_support import CONNECT
from road import SHORT_PAUSES, Road

PHRASE = (build_folder() / "lab" / "write-mode-phrase").read_bytes()
WRITE_MODE = f"36 03 {PHRASE.hex(' ')} -> 00"
CONNECTED = ["34 8c 55 aa 01 -> 00", "34 8d -> 00 01", "34 2c 00 -> 00", "34 2d -> 00 00"]
FLASHED = "34 90 00 00 10 00 -> 00"
DISCONNECTED = "34 8c 55 aa 00 -> 00"
FLAG_REFUSED = "MSGID_BMC_0003_F 18"
END = "4 CBMC_KESTREL_Firmware::Update() [END]"


class AServerWithFaults(Road):
    settings = ServerSettings(firmware="06-10")

    def next_version(self) -> str:
        major, minor = self.running().split("-")
        return f"{major}-{int(minor) + 1:02d}"

    def test_a_flash_that_fails_twice_and_then_works(self):
        before, version = self.running(), self.next_version()
        self.server.plan_flash_exits([5, 1, "ok"])
        done = self.update(self.make_package(version))
        self.assert_report(done, 0, verdict="updated", changed=True, flash_touched=True, before=before, after=version,
                           error=None)
        self.assert_in_trace(done, "16 Failed to execute update command:ReturnCode=5",
                             "16 Failed to execute update command:ReturnCode=1", "1 Yafuflash command return=0",
                             "1 delete folder complete", END)
        self.assertEqual(done.records, [])
        self.assertEqual(self.asked(), [WRITE_MODE, *CONNECTED, DISCONNECTED, *CONNECTED, DISCONNECTED, *CONNECTED,
                                        FLASHED])
        self.assert_bmc(running=before, standby=version, whole=True, flag=False, media="connected")
        self.assert_scratch_holds("ExistUpdate.txt")

    def test_a_flash_that_fails_three_times_and_a_clean_run_after_it(self):
        before, version = self.running(), self.next_version()
        package = self.make_bad_package(version)
        failed = self.update(package)
        record = "MSGID_BMC_0013_F 161616"
        command = ('"INSTALL/KV6KBMC/Yafuflash"  -cd -preserve-config -silent  "INSTALL/tmp/KV6KBMC/BMC_FW/kv6000.ima"')
        self.assert_report(failed, 8, verdict="update-failed", phase="write", changed=False, flash_touched=True,
                           before=before, cause="The update failed after writing the firmware had begun.")
        self.assert_in_trace(failed, *3 * ["16 Failed to execute update command:ReturnCode=7"], "R " + record,
                             "2 Failed to execute update command " + command, END)
        self.assertEqual(failed.records, [record])
        self.assertEqual(self.asked(), [WRITE_MODE, *2 * [*CONNECTED, FLASHED, DISCONNECTED], *CONNECTED, FLASHED])
        self.assert_bmc(running=before, standby=None, whole=False, flag=False, flash="bad checksum", media="connected")
        self.assert_scratch_holds("BMC_FW")

        refused = self.orvhost("apply", "--yes")
        self.assert_report(refused, 7, verdict="not-written", changed=False, cause="The last update failed.")
        self.assert_bmc(running=before, flag=False, power="on")

        clean = self.update(self.make_package(version))
        self.assert_report(clean, 0, verdict="updated", before=before, after=version, error=None)
        self.assertEqual(clean.records, [])
        self.assert_bmc(running=before, standby=version, whole=True, flag=False)
        self.assert_scratch_holds("ExistUpdate.txt")

    def test_a_bmc_that_answers_c0_to_connect_twice_is_asked_a_third_time(self):
        """ipmitool ends with 1 for every completion code but 00, so that here the trace does not know the code."""
        version = self.next_version()
        self.server.bmc("fail 34 8c C0 2")
        done = self.update(self.make_package(version))
        self.assert_report(done, 0, verdict="updated", after=version, error=None)
        failed = ['2 Failed to execute command "/usr/bin/ipmitool" raw 0x34 0x8c 0x55 0xaa 0x01 > '
                  '"INSTALL/tmp/KV6KBMC/IPMIResult-THREAD" return 1',
                  "16 Failed to execute ipmi command (Connect to virtual media) CompletionCode:", END]
        self.assert_in_trace(done, *failed, *failed, "1 Sleep start", "1 Sleep end", END)
        self.assertEqual(done.trace.count(failed[1]), 2)
        self.assertEqual(self.asked(), [WRITE_MODE, *2 * ["34 8c 55 aa 01 -> c0"], *CONNECTED, FLASHED])
        self.assertEqual(done.records, [])
        self.assert_bmc(standby=version, whole=True, flag=False)
        self.assert_scratch_holds("ExistUpdate.txt")

    def test_an_update_fails_when_the_bmc_falls_silent_at_check_connect(self):
        before = self.running()
        standby = self.server.bmc("state")["standby"]
        self.server.bmc("silent 34 8d 3")
        done = self.update(self.make_package(self.next_version()), pauses=SHORT_PAUSES)
        self.assert_report(done, 7, verdict="update-failed", phase="write", changed=False, flash_touched=False,
                           before=before, cause="The update failed before anything was written.")
        failed = "Failed to execute IPMI command(Check Connect Virtual Device) ResponseData1:  ResponseData2:"
        record = "MSGID_BMC_0012_F 14"
        self.assert_in_trace(done, f"16 {failed}", f"16 {failed}", f"R {record}", f"2 {failed}", END)
        self.assertEqual(done.records, [record])
        self.assertEqual(self.asked(), [WRITE_MODE, *3 * ["34 8c 55 aa 01 -> 00", "34 8d -> silence"]])
        self.assert_bmc(running=before, standby=standby, flag=False, waiting=True)
        self.assert_scratch_holds("BMC_FW")

    def test_an_update_fails_when_the_tool_prints_other_words_at_check_connect(self):
        """The real tool called by a script that plays it broken for one command."""
        self.stand_in("/usr/bin/ipmitool", 'case "$*" in\n*"0x34 0x8d") echo " 0x01" ;;\n'
                                           '*) exec /usr/bin/ipmitool.real "$@" ;;\nesac\n')
        done = self.update(self.make_package(self.next_version()), pauses=SHORT_PAUSES)
        self.assert_report(done, 7, verdict="update-failed", phase="write", changed=False, flash_touched=False)
        # "00" stands for the completion code that this tool does not print.
        failed = "Failed to execute IPMI command(Check Connect Virtual Device) ResponseData1:00  ResponseData2:"
        broken = "2 [INSTALL/tmp/KV6KBMC/IPMIResult-THREAD] may be broken"
        self.assert_in_trace(done, *2 * [broken, f"16 {failed}"], broken, f"2 {failed}", END)
        self.assertEqual(done.records, ["MSGID_BMC_0012_F 14"])
        self.assertEqual(self.asked(), [WRITE_MODE, *3 * ["34 8c 55 aa 01 -> 00"]])
        (kept,) = self.scratch.glob("IPMIResult*")
        self.assertEqual(kept.read_text(), " 0x01\n")

    def test_a_reboot_without_a_written_update_comes_back_on_the_old_firmware(self):
        before, boots = self.running(), self.server.bmc("state")["boots"]
        done = self.take_down("methods", "Reboot")
        self.assert_report(done, 0, command="methods", verdict="going-down", changed=True, flash_touched=False)
        self.assert_in_trace(done, "4 CBMC_KESTREL_Vendor::ExecVendorMethod() [START]",
                             "4 CBMC_KESTREL_Firmware::UpdateApply() [START]", "1 shutdown -r now ",
                             "4 CBMC_KESTREL_Firmware::UpdateApply() [END]",
                             "4 CBMC_KESTREL_Vendor::ExecVendorMethod() [END]")
        self.assertEqual((done.records, self.asked()), ([], []))
        self.assert_bmc(running=before, flag=False, power="on", boots=boots + 1)
        self.assertEqual(self.orvhost("identify").report["after"], before)

    def test_apply_fails_when_the_reboot_flag_cannot_be_armed_and_keeps_the_marker(self):
        self.scratch.mkdir(parents=True)
        self.marker.touch()
        self.server.bmc("fail 34 5e D5 3")
        done = self.orvhost("methods", "Reboot", "--yes", pauses=SHORT_PAUSES)
        self.assert_report(done, 7, verdict="not-applied", changed=False, flash_touched=False)
        failed = "Failed to execute IPMI command (Set Reboot flag) CompletionCode "
        self.assert_in_trace(done, f"16 {failed}", f"16 {failed}", f"R {FLAG_REFUSED}", f"2 {failed}",
                             "4 CBMC_KESTREL_Firmware::UpdateApply() [END]", "2 Failed to apply update")
        self.assertEqual(done.records, [FLAG_REFUSED])
        self.assertEqual(self.asked(), 3 * ["34 5e 55 aa 01 -> d5"])
        self.assert_bmc(flag=False, power="on")
        self.assert_scratch_holds("ExistUpdate.txt")


class AServerWhoseFlashIsCutShort(Road):
    settings = ServerSettings(firmware="06-10")

    def test_by_the_time_limit(self):
        """The plug-in takes an overrun limit for a success; the BMC knows better and refuses the reboot flag."""
        before = self.running()
        self.server.plan_flash_exits(["hang"])
        # Connected beforehand: with the factor that makes the limit for a flash 9 s, the pause for the drive is too short.
        for request in ((0x36, 0x03, *PHRASE), CONNECT):
            self.assertEqual(self.raw(*request), (0, ""))
        self.server.wait_bmc("media", "connected")
        done = self.update(self.make_package("06-40"), pauses=0.01)
        self.assert_report(done, 0, verdict="updated-after-time-out", changed=True, flash_touched=True, before=before,
                           after="06-40", error=None)
        self.assert_in_trace(done, "16 Failed to execute update command:TIMEOUT", "1 Yafuflash command return=0",
                             "1 delete folder complete", END)
        self.assertEqual(done.records, [])
        self.assert_no_process("Yafuflas[h]")
        self.assert_bmc(running=before, standby=None, flag=False)
        self.assert_scratch_holds("ExistUpdate.txt")

        refused = self.orvhost("apply", "--yes", pauses=SHORT_PAUSES)
        self.assert_report(refused, 7, verdict="not-applied", changed=False, flash_touched=False)
        self.assertEqual(refused.records, [FLAG_REFUSED])
        self.assertEqual(self.asked()[-3:], 3 * ["34 5e 55 aa 01 -> d5"])
        self.assert_bmc(running=before, flag=False, power="on")
        self.assert_scratch_holds("ExistUpdate.txt")

    def test_by_a_loss_of_power(self):
        """All in one test: every step stands on the one before."""
        boots = self.server.bmc("state")["boots"]
        with self.subTest("the power goes"):
            self.server.bmc("power-loss 50")
            _, log = self.start_orvhost("update", "/share/packages/" + self.make_package("06-11"))
            self.server.wait_off(time_limit=240)
            self.assert_bmc(running="06-10", standby=None, whole=False, flash="media lost", writeMode=False)
            self.assertEqual([line for line in self.trace_in(log) if line.startswith(("1 Execute:", "1 Yafuflash"))],
                             ['1 Execute:"INSTALL/KV6KBMC/Yafuflash"  -cd -preserve-config -silent  '
                              '"INSTALL/tmp/KV6KBMC/BMC_FW/kv6000.ima"'])
            self.assert_scratch_holds("BMC_FW")
        with self.subTest("powered on again, the old firmware runs and the host knows that it was cut off"):
            self.server.power_on(time_limit=240)
            done = self.orvhost("identify")
            self.assert_report(done, 0, verdict="identified", before="06-10", after="06-10")
            self.assertEqual(done.report["facts"]["last_update"], "cut off while it was written")
            self.assert_report(self.orvhost("apply", "--yes"), 7, verdict="not-written",
                               cause="The last update was cut off while it was written.")
            self.assert_bmc(running="06-10", whole=False, flag=False, power="on", boots=boots + 1)
        with self.subTest("the second run is clean"):
            done = self.update("made-06-11.zip")
            self.assert_report(done, 0, verdict="updated", before="06-10", after="06-11", error=None)
            self.assertEqual(done.records, [])
            self.assertEqual(self.asked(), [WRITE_MODE, *CONNECTED, FLASHED, WRITE_MODE, *CONNECTED, FLASHED])
            self.assert_bmc(running="06-10", standby="06-11", whole=True, flag=False, flash="done")
            self.assert_scratch_holds("ExistUpdate.txt")
        with self.subTest("applied and verified"):
            self.assert_report(self.take_down("apply"), 0, verdict="going-down", before="06-10", after="06-11")
            self.assert_bmc(running="06-11", standby=None, flag=False, power="on", boots=boots + 2)
            done = self.orvhost("verify")
            self.assert_report(done, 0, verdict="verified", before="06-11", after="06-11", error=None)
            self.assert_scratch_holds()


if __name__ == "__main__":
    unittest.main()

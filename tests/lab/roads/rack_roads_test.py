"""Updates of servers whose packages differ from the plain one: the rack model with its script, SDR and hardware
variant, and another family with its decimal major."""

import unittest

from kv6000 import ServerSettings
from kv6000.hardware import dmi_dump
from kv6000.packages import make_image, write_package
from kv6000.rack_packages import PAYLOAD_SIZE, SCRIPT, good_files, sdr_file
from rack_road import COMMAND, END, FLASH_LINE, SDR_LINE, START, WORK, RackRoad
from road import SHORT_PAUSES

# The 14th character tells the hardware variant.
ORDINARY_SERIAL = "KV6KRT0000001A000"
LONG_SSD_SERIAL = "KV6KRT0000001E000"
BEGUN = "The update failed after writing the firmware had begun."
# Of a longer line of a log the trace holds the start.
LONGEST_LOG_LINE = 65536
# A script that never ends is given up after 900 s at full length: here after 9 s, and a request after 3.5 s.
SCRIPT_PAUSES = 0.01


def other_model(version: str, package: str, machine: str, serial: str) -> str:
    """The cause of a package's refusal by a machine of another model."""
    its, this = (f'model "{model}"' if model else "ordinary model" for model in (package, machine))
    return f"The package, version {version}, is for the {its}; this machine's is the {this} (serial number {serial})."


class ARackServer(RackRoad):
    settings = ServerSettings(product="KV6000RT", serial=ORDINARY_SERIAL)

    def assert_failed(self, run, detail, returned):
        """The update failed with this record, and the operator saw it; `returned` is what became of the script."""
        before = self.running_pair()
        self.assert_report(run, 8, verdict="update-failed", phase="write", changed=False, flash_touched=True,
                           before=before, cause=BEGUN)
        record = f"MSGID_BMC_0027_F {detail}"
        self.assertEqual(run.records, [record])
        self.assert_in_trace(run, START, f"1 [chmod +x -R {WORK}/*]", f"1 [{COMMAND}]", f"R {record}",
                             f"2 Failed to execute update command [{COMMAND}] {returned}")
        self.assert_scratch_holds("BMC_FW")

    def test_a_good_package_takes_bmc_and_sdr_to_the_next_pair(self):
        runs = self.take("good.zip", self.rack_package("good"))
        self.assert_golden("update_by_script.trace", runs)

    def test_a_script_without_the_executable_permission_is_run_all_the_same(self):
        version = self.rack_package("not-executable", executable=())
        self.assert_report(self.update("not-executable.zip"), 0, verdict="updated", after=version, error=None)
        self.assert_bmc(flag=True, whole=True)

    def test_an_update_fails_whose_sdr_log_lacks_its_success_line(self):
        firmware = self.running()
        self.rack_package("bad-sdr", files={"kv6000rt.sdr": sdr_file("A9")[:-1]})
        done = self.update("bad-sdr.zip")
        self.assert_failed(done, "2E2B", "iret[0] dret[1]")
        self.assertNotIn(SDR_LINE, done.trace)
        self.assertIn(FLASH_LINE, done.trace)
        self.assertEqual(done.trace.count(END), 1)
        self.assert_bmc(running=firmware, flag=False, whole=True, media="disconnected")

    def test_an_update_fails_whose_flash_log_lacks_its_success_line(self):
        image = bytearray(make_image("01-99", PAYLOAD_SIZE))
        image[-1] ^= 1
        self.rack_package("bad-image", files={"kv6000rt.ima": bytes(image)})
        done = self.update("bad-image.zip")
        self.assert_failed(done, "2F2B", "iret[0] dret[1]")
        self.assertIn(SDR_LINE, done.trace)
        self.assertNotIn(FLASH_LINE, done.trace)
        self.assert_bmc(flag=False, standby=None, flash="bad checksum")

    def test_an_update_fails_whose_script_ends_in_3_though_both_logs_are_good(self):
        self.rack_package("ends-in-3", fault="ends-in-3")
        done = self.update("ends-in-3.zip")
        self.assert_failed(done, "2B", "iret[0] dret[3]")
        self.assert_in_trace(done, SDR_LINE, FLASH_LINE, "R MSGID_BMC_0027_F 2B", END)
        refused = self.orvhost("apply", "--yes")
        self.assert_report(refused, 7, verdict="not-written", changed=False, cause="The last update failed.")
        self.assert_bmc(power="on")

    def test_an_update_fails_whose_script_outlives_its_time_limit_and_is_left_running(self):
        # With its logs beforehand, so that the limit need not leave it the time to write them.
        self.rack_package("never-ends", {SCRIPT: "#!/bin/sh\nexec sleep 1000000\n",
                                         "x64sdr/sdronup.log": SDR_LINE[3:-1] + "\n",
                                         "x64/BmcFlash_log.txt": FLASH_LINE[3:-1] + "\n"})
        done = self.update("never-ends.zip", pauses=SCRIPT_PAUSES)
        sleeper = self.server.run("grep -l 100000[0] /proc/[0-9]*/cmdline").out.split()
        for process in sleeper:
            self.server.run(["kill", process.split("/")[2]])
        self.assertEqual(len(sleeper), 1)
        self.assert_failed(done, "152B", "iret[255] dret[255]")
        self.assert_in_trace(done, SDR_LINE, FLASH_LINE, "2 Failed to execute update command:TIMEOUT",
                             "R MSGID_BMC_0027_F 152B", END)

    def test_a_log_of_100_mb_without_a_line_end_is_read_as_one_line_that_the_trace_holds_the_start_of(self):
        self.rack_package("log-100mb", fault="log-100mb")
        done = self.update("log-100mb.zip", pauses=1)
        self.assertEqual((self.scratch / "BMC_FW" / "x64sdr" / "sdronup.log").stat().st_size, 100_000_000)
        self.assert_failed(done, "2E2B", "iret[0] dret[0]")
        long_lines = [line for line in done.trace if line.startswith("1 [xxxx")]
        self.assertEqual([(set(line[3:-1]), len(line)) for line in long_lines],
                         [({"x"}, len("1 []") + LONGEST_LOG_LINE)])
        self.assertIn(FLASH_LINE, done.trace)

    def test_a_package_whose_script_is_missing_or_a_folder_fails_before_anything_runs(self):
        state = self.server.bmc("state")
        before = {name: state[name] for name in ("running", "standby", "flag", "sdr", "media")}
        for name, files in (("no-script", {}), ("script-is-folder", {f"{SCRIPT}/readme.txt": "a folder\n"})):
            with self.subTest(name):
                self.rack_package(name, files, left_out=(SCRIPT,))
                package = f"/share/packages/{name}.zip"
                self.assert_report(self.update(f"{name}.zip"), 5, verdict="package-unusable", phase="preflight",
                                   changed=False, flash_touched=False, before=self.running_pair(),
                                   cause=f"The package {package} cannot be used: it holds no file {SCRIPT} at its top.")
                done = self.trusting_host(package)
                self.assertEqual(done.result, 1)
                self.assert_in_trace(done, START, f"1 [chmod +x -R {WORK}/*]", "R MSGID_BMC_0020_F 11",
                                     "2 Failed to find update module", END)
                self.assertNotIn(f"1 [{COMMAND}]", done.trace)
        self.assert_bmc(**before)

    def test_an_update_fails_whose_script_cannot_be_started_and_leaves_no_log(self):
        script = good_files()[SCRIPT].replace(b"#!/bin/sh", b"#!/nowhere/sh", 1)
        self.rack_package("no-interpreter", files={SCRIPT: script})
        done = self.update("no-interpreter.zip")
        code = next(line for line in done.trace if line.startswith("2 Failed to execute update")).rpartition(" ")[2]
        self.assertIn(code, ("dret[126]", "dret[127]"))
        self.assert_failed(done, "2C", f"iret[0] {code}")
        self.assert_in_trace(done, f"2 file open error:{WORK}/x64sdr/sdronup.log", "R MSGID_BMC_0027_F 2C")
        self.assertNotIn(END, done.trace)

    def test_a_package_for_long_ssd_machines_is_refused(self):
        pair = self.running_pair()
        for command, judge in (("check", self.check), ("update", self.update)):
            with self.subTest(command):
                done = judge("rt-long-ssd.zip")
                self.assert_report(done, 6, command=command, verdict="does-not-fit", phase="fit", changed=False,
                                   flash_touched=False, before=pair,
                                   cause=other_model("BMC:01-24,SDR:A2", "LONG/SSD", "", ORDINARY_SERIAL))
                self.assertIn(f"1 Ver[{pair}],Serial[{ORDINARY_SERIAL}],Model[],Rep[LONG/SSD],iRet[1]", done.trace)
                self.assertEqual(done.records, [])
                self.assertNotIn(START, done.trace)

    def test_check_compares_the_package_with_what_runs(self):
        firmware, sdr = self.running(), self.sdr()["version"]
        older, newer = (f"01-{int(firmware[3:]) + step:02d}" for step in (-1, 1))
        older_sdr, newer_sdr = (f"{sdr[0]}{int(sdr[1:]) + step}" for step in (-1, 1))
        is_newer, is_older = (f"The package is {word}: " for word in ("newer", "older"))
        is_same = "The package is the same: "
        no_difference = "The package counts as the same, because the plug-in finds no difference: "
        for version, verdict, begin in (
                (f"BMC:{newer},SDR:{older_sdr}", "newer", is_newer),
                (f"BMC:{older},SDR:{newer_sdr}", "older", is_older),
                (f"BMC:{firmware},SDR:{newer_sdr}", "newer", is_newer),
                (f"BMC:{firmware},SDR:{older_sdr}", "older", is_older),
                (f"BMC:{firmware},SDR:{sdr}", "same", is_same),
                # A part that is left open is not compared.
                (f"BMC:*,SDR:{newer_sdr}", "newer", is_newer),
                (f"BMC:*,SDR:{sdr}", "same", no_difference),
                (f"BMC:{older},SDR:*", "older", is_older)):
            with self.subTest(version):
                self.assert_compared(version, verdict, begin, [])
        for version in ("BMC:*,SDR:*", newer):
            with self.subTest(version):
                self.pack(version)
                done = self.orvhost("check", "/share/packages/compared.zip", pauses=SHORT_PAUSES)
                self.assert_report(done, 5, command="check", verdict="package-unusable", phase="server type",
                                   changed=False, flash_touched=False)
                self.assertIn(f'its version "{version}" is malformed', done.report["error"]["cause"])
                self.assertEqual(done.records, [])

    def pack(self, version: str):
        write_package(self.server.share / "packages" / "compared.zip", version, good_files(), "", ["kv6000rt"], (SCRIPT,))

    def assert_compared(self, version: str, verdict: str, begin: str, records: list):
        """What check says of a package of the version; returns its run."""
        pair = self.running_pair()
        self.pack(version)
        done = self.check("compared.zip", pauses=SHORT_PAUSES)
        refusals = {"older": "older-not-allowed", "same": "reinstall-not-allowed"} if version != pair else {}
        refused = refusals.get(verdict)
        self.assert_report(done, 6 if refused else 0, command="check", verdict=refused or verdict,
                           phase="compare" if version == pair else "preflight", changed=False, flash_touched=False,
                           before=pair, after=pair)
        self.assertEqual(done.records, records)
        stated = f"the BMC already runs version {pair}. " if version == pair else (
            f"it holds version {version}, and the BMC runs {pair}. ")
        said = done.report["error"]["cause"] if refused else done.report["summary"]
        self.assertEqual(said.find(begin + stated), 0, said)
        return done

    def test_the_serial_number_decides_which_package_fits(self):
        """Of the machine's tables dmidecode reads those of this test, so that one server has them all."""
        self.stand_in("/usr/sbin/dmidecode", 'exec /usr/sbin/dmidecode.real --from-dump /share/dmi.bin "$@"\n')
        pair = self.running_pair()
        models = {"ordinary": "", "long-ssd": "LONG/SSD"}
        for package, model in models.items():
            version = self.rack_package(package, model=model)
        for serial, model, package, fits in (
                ("KV6KRT0000001E", "long/ssd", "long-ssd", True), ("KV6KRT0000001A", "", "ordinary", True),
                ("KV6KRT0000001e", "", "long-ssd", False), ("KV6KRT0000001L0", "long/ssd", "ordinary", False),
                ("KV6KRT0000001M0", "", "ordinary", True), ("KV6KRT0000001A0S", "", "ordinary", True),
                ("KV6KRT0000001A00S", "long/ssd", "long-ssd", True), ("KV6KRT0000001A00s", "", "ordinary", True),
                ("KV6KRT0000001A00S", "long/ssd", "ordinary", False)):
            with self.subTest(serial, package=package):
                done = self.check_with(package, {"serial": serial.encode()})
                self.assertIn(f"1 Ver[{pair}],Serial[{serial}],Model[{model}],Rep[{models[package]}],"
                              f"iRet[{int(not fits)}]", done.trace)
                self.assert_report(done, 0 if fits else 6, command="check",
                                   verdict="newer" if fits else "does-not-fit", changed=False, before=pair,
                                   cause=None if fits else other_model(version, models[package], model, serial))
        for serial, fields in (("KV6KRT0000001", {"serial": b"KV6KRT0000001"}), ("Not Specified", {})):
            with self.subTest(serial):
                done = self.check_with("ordinary", fields)
                self.assertIn(f"2 Failed to get serial number [{serial}]", done.trace)
                self.assert_report(done, 6, command="check", verdict="does-not-fit", changed=False, before=pair,
                                   cause=f"The package, version {version}, cannot be matched with this machine, "
                                         f"because the plug-in found no usable serial number, only \"{serial}\".")

    def check_with(self, package: str, fields: dict):
        """What check says of the package when the system's table has these fields."""
        (self.server.share / "dmi.bin").write_bytes(dmi_dump(system={"product": b"KV6000RT", **fields}))
        return self.check(f"{package}.zip")


class ALongSsdRackServer(RackRoad):
    """In one test: every step stands on the one before."""

    settings = ServerSettings(product="KV6000RT", serial=LONG_SSD_SERIAL, tool="maker",
                              sdr={"records": 300, "version_record": 298, "unreadable": [299]})

    def test_it_takes_the_package_that_is_made_for_it_and_no_other(self):
        identified = self.orvhost("identify", pauses=SHORT_PAUSES)
        self.assert_report(identified, 0, command="identify", before="BMC:01-23,SDR:A1", error=None)
        walk = [line for line in identified.trace if line.startswith(("1 Record", "1 Exec Get SDR"))]
        self.assertEqual([line for line in walk if not line.startswith("1 Record [")],
                         ["1 Record Count [2c][01]", "1 Record Num [2c][01]", "1 Exec Get SDR Data",
                          "1 Record Num [2b][01]", *3 * ["1 Exec Get SDR Data"], "1 Record Num [2a][01]",
                          "1 Exec Get SDR Data"])
        self.assertEqual(sum(line.startswith("1 Record [") for line in walk), 2)
        self.assert_in_trace(identified, "4 CBMC_KESTREL_Firmware::GetSDRVersion() [A1] [END]")
        self.assert_golden("sdr_with_an_unreadable_record.trace", {"identify": identified})

        refused = self.check("rt-good.zip", pauses=SHORT_PAUSES)
        self.assert_report(refused, 6, command="check", verdict="does-not-fit", phase="fit", changed=False,
                           before="BMC:01-23,SDR:A1",
                           cause=other_model("BMC:01-24,SDR:A2", "", "long/ssd", LONG_SSD_SERIAL))
        self.assertIn(f"1 Ver[BMC:01-23,SDR:A1],Serial[{LONG_SSD_SERIAL}],Model[long/ssd],Rep[],iRet[1]", refused.trace)

        fits = self.check("rt-long-ssd.zip", pauses=SHORT_PAUSES)
        self.assert_report(fits, 0, command="check", verdict="newer", changed=False, before="BMC:01-23,SDR:A1",
                           error=None)
        self.assertIn(f"1 Ver[BMC:01-23,SDR:A1],Serial[{LONG_SSD_SERIAL}],Model[long/ssd],Rep[LONG/SSD],iRet[0]",
                      fits.trace)
        self.take("rt-long-ssd.zip", "BMC:01-24,SDR:A2")


class AServerOfTheMx4000Family(RackRoad):
    # The version record says that it is a byte longer than it is.
    settings = ServerSettings(product="MX4000", firmware="0a-23", sdr={"length_byte": 18})

    def test_the_report_of_it_fails(self):
        folder = self.server.share / "reports"
        folder.mkdir()
        done = self.orvhost("report", "--out", "/share/reports", pauses=SHORT_PAUSES)
        self.assert_report(done, 6, command="report", verdict="no-report", changed=False)
        self.assert_in_trace(done, "4 ServerType:[mx4000]", "1 Unsupported ServerType",
                             "4 CBMC_KESTREL_Vendor::ExecOutputDeviceConfigInfo() [END]")
        self.assertEqual((done.records, list(folder.iterdir()), self.asked()), ([], [], []))

    def test_an_sdr_record_that_is_shorter_than_it_says_leaves_the_sdr_version_empty(self):
        """The SDR version is read of rack servers only, so this one is taken for one."""
        done = self.orvhost("identify", "--server-type", "kv6000rt", pauses=SHORT_PAUSES)
        version = f"BMC:{self.running()},SDR:"
        self.assert_report(done, 0, command="identify", before=version, error=None)
        record = (bytes((18, 0, 17, 0, 0x51, 0xc0, 18, 0x91, 0x12, 0)) + b"SDR Version A1").hex().upper()
        self.assert_in_trace(done, "1 Record Num [11][00]", f"1 Record [{record}]",
                             f"2 Failed to get SDR Version. Record[{record}]",
                             f"4 CBMC_KESTREL_Firmware::GetOperatingVersion() [{version}] [END]")
        self.assertNotIn("1 Record Num [10][00]", done.trace)
        self.assertEqual(done.records, [])

    def test_a_major_byte_of_0a_reads_as_10_from_the_package_to_the_verified_firmware(self):
        identified = self.orvhost("identify")
        self.assert_report(identified, 0, before="10-23", error=None)
        self.assert_in_trace(identified, "4 [10-23][mx4000]",
                             "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [10-23] [END]")
        updated = self.update("mx4000-10-24.zip")
        self.assert_report(updated, 0, verdict="updated", before="10-23", after="10-24", error=None)
        self.assert_bmc(running="0a-23", standby="0a-24", whole=True, flag=False)
        self.assert_report(self.take_down("apply"), 0, verdict="going-down", before="10-23", after="10-24", error=None)
        self.assert_bmc(running="0a-24", standby=None)
        verified = self.orvhost("verify")
        self.assert_report(verified, 0, verdict="verified", before="10-24", after="10-24", error=None)
        self.assertEqual(updated.records + verified.records, [])


if __name__ == "__main__":
    unittest.main()

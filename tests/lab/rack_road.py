"""What the tests of rack servers share: packages with a script, of whatever version comes next, and the whole road of a
good one."""

from kv6000.packages import make_image, write_package
from kv6000.rack_packages import FAULTS, PAYLOAD_SIZE, SCRIPT, WRAPPER, good_files, make_rack_packages, sdr_file
from road import Road

WORK = "INSTALL/tmp/KV6KBMC/BMC_FW"
COMMAND = f"{WORK}/bmcup.sh < {WORK}/Yes"
START = "4 CBMC_KESTREL_Firmware::Update() [START]"
END = "4 CBMC_KESTREL_Firmware::Update() [END]"
SDR_LINE = "1 [SDR data was successfully written!]"
FLASH_LINE = "1 [Update is successful. Reboot is required for changeover to new FW.]"


class RackRoad(Road):
    """A rack server, and the packages of the lab for it."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        make_rack_packages(cls.server.share / "packages")

    def sdr(self) -> dict:
        return self.server.bmc("state")["sdr"]

    def running_pair(self) -> str:
        return f"BMC:{self.running()},SDR:{self.sdr()['version']}"

    def rack_package(self, name: str, files=None, left_out=(), executable=(SCRIPT, "x64/BmcFlash", "x64sdr/sdronup"),
                     fault=None, model="") -> str:
        """Makes a good package of the next version but for `files` and what is left out; `fault` names what its script
        does in the end. Returns its version."""
        minor = int(self.running().split("-")[1]) + 1
        firmware, sdr = f"01-{minor:02d}", f"A{int(self.sdr()['version'][1:]) + 1}"
        good = dict(good_files(), **{"kv6000rt.ima": make_image(firmware, PAYLOAD_SIZE), "kv6000rt.sdr": sdr_file(sdr)})
        if fault:
            good.update({SCRIPT: WRAPPER + FAULTS[fault], "update.sh": good[SCRIPT]})
        content = {path: content for path, content in good.items() if path not in left_out}
        version = f"BMC:{firmware},SDR:{sdr}"
        write_package(self.server.share / "packages" / f"{name}.zip", version, {**content, **(files or {})}, model,
                      ["kv6000rt"], executable)
        return version

    def take(self, package: str, version: str):
        """The whole road of a good package, from update to verify. Returns the three runs by name."""
        before = self.running_pair()
        updated = self.update(package)
        self.assert_report(updated, 0, command="update", verdict="updated", phase="record", changed=True,
                           flash_touched=True, before=before, after=version, error=None)
        self.assert_in_trace(updated, START, f"1 [chmod +x -R {WORK}/*]", f"1 [{COMMAND}]", SDR_LINE, FLASH_LINE, END)
        self.assertNotIn("1 Compare Version", updated.trace)
        self.assertEqual(self.running_pair(), before)
        firmware, sdr = (part.partition(":")[2] for part in version.split(","))
        self.assert_bmc(standby=firmware, whole=True, flag=True, flagMindsReset=True, flash="done",
                        media="disconnected")
        self.assertEqual((self.sdr()["standby"], self.sdr()["updating"]), (sdr, False))
        self.assert_scratch_holds("BMC_FW")
        self.assertFalse(self.marker.exists())

        boots = self.server.bmc("state")["boots"]
        applied = self.take_down("apply")
        self.assert_report(applied, 0, command="apply", verdict="going-down", changed=True, flash_touched=False,
                           before=before, after=version, error=None)
        self.assert_in_trace(applied, "4 CBMC_KESTREL_Firmware::UpdateApply() [START]", "1 shutdown -r now ",
                             "4 CBMC_KESTREL_Firmware::UpdateApply() [END]")
        self.assertEqual(self.running_pair(), version)
        self.assert_bmc(standby=None, flag=False, power="on", boots=boots + 1)
        self.assertEqual(self.sdr()["standby"], None)

        verified = self.orvhost("verify")
        self.assert_report(verified, 0, command="verify", verdict="verified", changed=False, before=version,
                           after=version, error=None)
        self.assert_in_trace(verified, f"1 UpdateApplyCheck [{version}] [{version}]",
                             "4 CBMC_KESTREL_Firmware::UpdateApplyCheck() [END]")
        self.assertEqual(updated.records + applied.records + verified.records, [])
        self.assertEqual(updated.err + applied.err + verified.err, "")
        return {"update": updated, "apply": applied, "verify": verified}

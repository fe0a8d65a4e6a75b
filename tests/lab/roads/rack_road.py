"""What the tests of rack servers share: packages with a script, of the version that comes next, and the whole road of a
good one."""

from typing import NamedTuple

from kv6000.packages import make_image, write_package
from kv6000.rack_packages import FAULTS, PAYLOAD_SIZE, SCRIPT, WRAPPER, good_files, make_rack_packages, sdr_file
from road import PAUSES, Road

# The requests of a check, which change nothing.
QUESTIONS = {"06 01", "0a 20", "0a 23"}
# What ipmitool asks of its own accord, and how the guest's driver minds the messages between it and the BMC.
OF_THEIR_OWN_ACCORD = {"2c 00", "06 2e", "06 2f", "06 30", "06 31", "06 33", "06 35"}
# By these an update begins, fills and ends the standby SDR, connects the drive and arms the flag.
ORDERS = {"0a 2a", "0a 24", "0a 2b", "34 8c", "34 5e"}
WORK = "INSTALL/tmp/KV6KBMC/BMC_FW"
COMMAND = f"{WORK}/bmcup.sh < {WORK}/Yes"
START = "4 CBMC_KESTREL_Firmware::Update() [START]"
END = "4 CBMC_KESTREL_Firmware::Update() [END]"
SDR_LINE = "1 [SDR data was successfully written!]"
FLASH_LINE = "1 [Update is successful. Reboot is required for changeover to new FW.]"


class Machine(NamedTuple):
    """All that an update could change of a server."""

    bmc: dict  # what its BMC tells, without the commands that it got
    files: dict  # the BMC's config files
    host: dict  # content of every file that the host keeps, None of a folder


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

    def machine(self) -> Machine:
        state = self.server.bmc("state")
        state.pop("commands")
        # Left out are the scratch folder and what every run of orvhost leaves.
        kept = (path for path in self.server.install.rglob("*")
                if path.relative_to(self.server.install).parts[0] not in ("tmp", "journal", "orvhost.lock", "orvhost.run"))
        host = {path: path.read_bytes() if path.is_file() else None for path in kept}
        return Machine(state, self.server.bmc("files"), host)

    def ordered(self) -> set:
        """NetFn and command of what the BMC was ordered since counting was started anew, questions left out."""
        return {command[:5] for command in self.commands()} - QUESTIONS - OF_THEIR_OWN_ACCORD

    def check(self, package: str, pauses=PAUSES):
        """Runs orvhost check, which must change nothing: the BMC was only asked, and all is as it was."""
        before = self.machine()
        self.start_counting()
        done = self.orvhost("check", f"/share/packages/{package}", pauses=pauses)
        self.assertIn("06 01", {command[:5] for command in self.commands()})
        self.assertEqual(self.ordered(), set())
        self.assertEqual(self.machine(), before)
        self.assertFalse((self.server.install / "repository").exists())
        self.assert_scratch_holds()
        return done

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
        before, machine = self.running_pair(), self.machine()
        self.start_counting()
        updated = self.update(package)
        self.assertLessEqual(ORDERS, self.ordered())
        self.assertNotEqual(self.machine().bmc, machine.bmc)
        self.assertNotEqual(self.machine().host, machine.host)
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

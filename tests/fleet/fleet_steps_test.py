"""What one task does over SSH: each module, an update step by step, an ordinary user, and a connection that is lost while
the firmware is written."""

import json
import os
import shutil
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

from fleet_servers import FleetTest
from kv6000.debian import fetch
from kv6000.packing import place
from kv6000.paths import guest_cache

USER = "operator"
HOME = "/share/operator"
SUDO = ("usr/bin/sudo", "usr/libexec/sudo/libsudo_util.so.0", "usr/libexec/sudo/sudoers.so")
ETC = {
    "passwd": f"root:x:0:0:root:/root:/bin/sh\n{USER}:x:1000:1000::{HOME}:/bin/sh\n",
    "shadow": f"root:*:19000:0:99999:7:::\n{USER}:*:19000:0:99999:7:::\n",
    "group": f"root:x:0:\n{USER}:x:1000:\n",
    # Without Debian's line of secure_path, so that the folders of root's programs are not searched.
    "sudoers": f"{USER} ALL=(ALL) NOPASSWD: ALL\n",
    "pam.d/sudo": "".join(f"{kind} required pam_permit.so\n" for kind in ("auth", "account", "session")),
}
# In the place of the flash tool: it says that it was started, and waits for its leave.
HELD_TOOL = """#!/bin/sh
touch /share/flashing
while [ -e /share/hold ]; do busybox sleep 0.2; done
exec /share/Yafuflash "$@"
"""


class Steps(FleetTest):
    """The tests go on from each other's version, from older ones to newer ones; the second server is none that the
    plug-in knows."""

    products = ("KV6000", "PX100")

    @classmethod
    def add_to(cls, overlay: Path):
        """An ordinary user who may become root, by Debian's sudo."""
        with tempfile.TemporaryDirectory() as work:
            unpacked = fetch("sudo", guest_cache(), Path(work))
            for name in SUDO:
                place(unpacked / name, overlay, Path(name))
        (overlay / SUDO[0]).chmod(0o4755)
        for module in ("pam_permit.so", "pam_deny.so", "pam_warn.so"):
            place(Path("/lib/x86_64-linux-gnu/security") / module, overlay)
        for name, text in ETC.items():
            (overlay / "etc" / name).parent.mkdir(parents=True, exist_ok=True)
            (overlay / "etc" / name).write_text(text)
        (overlay / "etc/sudoers").chmod(0o440)

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.server = cls.fleet.servers["server1"]
        folder = cls.server.share / USER / ".ssh"
        folder.mkdir(parents=True)
        shutil.copy(cls.fleet.folder / "id_ed25519.pub", folder / "authorized_keys")
        for path in (folder.parent, folder, folder / "authorized_keys"):
            os.chown(path, 1000, 1000)
            path.chmod(0o700)

    def package(self, version: str) -> str:
        return str(self.folder / "packages" / f"{self.make_package(version)}.zip")

    def bmc_firmware(self, *options, **arguments) -> dict:
        return self.run_module("bmc_firmware", *options, **arguments)

    def test_1_what_the_other_modules_return(self):
        self.assert_fields(self.run_module("bmc_firmware_info"), failed=False, changed=False, verdict="identified",
                           running_version="01-23", recorded_version="", needs_apply=False, server_type="kv6000",
                           serial_number="KV6K000001", prerequisites={"complete": True, "missing": "", "next_step": ""})
        report = self.run_module("bmc_report", folder="/share")
        self.assert_fields(report, failed=False, changed=False, verdict="reported")
        self.assertTrue((self.server.share / Path(report["file"]).name).is_file(), report)
        self.assertEqual(report["ansible_facts"]["kv6000_report"]["serial_number"], "KV6K000001", report)
        self.assert_fields(self.run_module("bmc_notify", "--check"), failed=False, changed=False, verdict="dry-run")
        self.assertIsNone(self.server.stored_file("40"))
        self.assert_fields(self.run_module("bmc_notify"), failed=True, changed=True, verdict="not-sent",
                           facts={"operating_system": "sent", "disks": "failed at loading the management library"})
        self.server.put_management_library(info="00ff")
        self.assert_fields(self.run_module("bmc_notify"), failed=False, changed=True, verdict="sent", operating_system="sent",
                           disks="sent")
        self.assertIsNotNone(self.server.stored_file("40"))

    def test_2_step_by_step(self):
        package = self.package("01-24")
        self.assert_fields(self.bmc_firmware(package=package, state="written"), failed=False, changed=True, verdict="updated",
                           before="01-23", after="01-24", needs_apply=True)
        asked = self.asked("server1")
        for options in ((), ("--check",)):
            self.assert_fields(self.bmc_firmware(*options, package=package, state="written"), failed=False, changed=False,
                               verdict="nothing-to-do", after="01-24", needs_apply=True)
        self.assert_fields(self.run_module("bmc_firmware_info"), recorded_version="01-24", needs_apply=True)
        self.assertEqual(self.asked("server1"), asked)
        self.assertEqual(self.running()[0], "01-23")
        self.assert_fields(self.bmc_firmware(state="applied"), failed=False, changed=True, verdict="restarted", before="01-23")
        self.assertEqual(self.running()[0], "01-24")
        boots = self.server.bmc("state")["boots"]
        self.assert_fields(self.bmc_firmware(state="verified"), failed=False, verdict="verified", before="01-24")
        self.assertEqual(self.server.bmc("state")["boots"], boots)
        self.assert_fields(self.bmc_firmware(package=package), failed=False, changed=False, verdict="verified",
                           needs_apply=False)

    def test_3_an_older_package(self):
        package = self.package("01-22")
        asked = self.asked("server1")
        refused = self.bmc_firmware(package=package)
        self.assert_fields(refused, failed=True, changed=False, verdict="older-not-allowed", exit_code=6, flash_touched=False,
                           before="01-24")
        self.assertIn("The package is older: it holds version 01-22, and the BMC runs 01-24.", refused["msg"])
        self.assertIn("set allow_older", refused["msg"])
        self.assertEqual(self.asked("server1"), asked)
        self.assert_fields(self.bmc_firmware("--check", package=package, allow_older=True), failed=False, changed=True,
                           verdict="dry-run", after="01-22")
        self.assertEqual(self.asked("server1"), asked)
        self.assert_fields(self.bmc_firmware(package=package, allow_older=True), failed=False, changed=True, verdict="verified",
                           before="01-24", after="01-22")

    def test_4_an_ordinary_user(self):
        package = self.package("01-25")
        user = ("--user", USER, "-e", "ansible_user=" + USER)
        asked = self.asked("server1")
        self.assert_fields(self.bmc_firmware(*user, package=package), failed=True, changed=False,
                           verdict="install-path-unusable", exit_code=2)
        self.assertEqual(self.asked("server1"), asked)
        for pipelining in ("true", "false"):
            with self.subTest(pipelining=pipelining):
                package = self.package("01-25" if pipelining == "true" else "01-26")
                self.assert_fields(self.bmc_firmware(*user, "--become", "-e", "ansible_pipelining=" + pipelining, package=package),
                                   failed=False, changed=True, verdict="verified")

    def test_5_a_connection_that_is_lost_while_the_firmware_is_written(self):
        tool, real = self.server.install / "KV6KBMC" / "Yafuflash", self.server.share / "Yafuflash"
        shutil.move(tool, real)
        self.addCleanup(shutil.move, real, tool)
        tool.write_text(HELD_TOOL)
        tool.chmod(0o755)
        self.put_program("server1", "export ORVHOST_LAB_SLEEP_SCALE=0.4")  # it may be held for so long
        # Without pipelining the module runs at a terminal, which hangs up.
        for pipelining, version in ((True, "01-30"), (False, "01-31")):
            with self.subTest(pipelining=pipelining):
                self.lose_the_connection(self.make_package(version), version, ansible_pipelining=pipelining)

    def lose_the_connection(self, package: str, version: str, **variables):
        hold, flashing = self.server.share / "hold", self.server.share / "flashing"
        hold.touch()
        flashing.unlink(missing_ok=True)
        started = self.start_playbook("--limit", "server1", package=package, **variables)
        limit = time.monotonic() + 120
        while not flashing.exists():
            self.assertIsNone(started[0].poll(), "it ended before the flash")
            self.assertLess(time.monotonic(), limit)
            time.sleep(0.2)
        for path in (self.folder / "cp").iterdir():
            subprocess.run(["ssh", "-S", path, "-O", "exit", "server1"], capture_output=True, check=True)
        lost = self.finished(started)
        self.assert_played(lost, 2, server1="unreachable")
        self.assertRegex(lost.rows["server1"]["cause"], "keep it powered")
        self.assertRegex(lost.rows["server1"]["next_step"], "^Keep the server powered")
        busy = self.play("--limit", "server1", package=package, bmc_update_busy_time_limit=1, **variables)
        self.assert_played(busy, 2, server1="busy")
        self.assertIn("No server was touched. Not ready: server1", busy.out)
        boots = self.server.bmc("state")["boots"]
        hold.unlink()
        again = self.play("--limit", "server1", package=package, **variables)
        self.assert_played(again, 0, server1="verified")
        # It waited for the writing, and nobody else took the machine down.
        self.assertEqual((self.changed(again), self.running()[0]), ({"server1": 1}, version))
        self.assertEqual(self.server.bmc("state")["boots"], boots + 1)
        runs = json.loads(self.server.run("orvhost history --json").out)["runs"]
        self.assertEqual([run["verdict"] for run in runs if run["command"] == "update" and run["after"] == version], ["updated"])

    def test_6_a_server_that_is_none_of_this_family(self):
        result = self.run_module("bmc_firmware", server="server2", package=self.package("01-40"))
        self.assert_fields(result, failed=True, changed=False, verdict="does-not-fit", flash_touched=False)
        self.assertIn("The package is made for kv6000, and this machine is px100.", result["msg"])
        self.assertEqual(self.asked("server2"), 0)


if __name__ == "__main__":
    unittest.main()

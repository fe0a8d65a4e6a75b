"""The rack model: its SDR repository, and an update by the package's own script with the package's own tools."""

import shutil
import tempfile
import unittest
import zipfile
from pathlib import Path

from kv6000 import ServerSettings
from kv6000.rack_packages import make_rack_packages
from lab_support import CHECK_REBOOT_FLAG, MAKER_TOOL, SharedServer

SDR_LINE = "SDR data was successfully written!"
FLASH_LINE = "Update is successful. Reboot is required for changeover to new FW."
VERSION_RECORD = 250
UNREADABLE_RECORD = 299


class ARackServer(SharedServer):
    """In one test: every step stands on the one before."""

    settings = ServerSettings(tool="both", product="KV6000RT",
                              sdr={"records": 300, "version_record": VERSION_RECORD,
                                   "unreadable": [UNREADABLE_RECORD]})

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="lab-test-")))
        cls.packages = {path.stem: path for path in make_rack_packages(folder)}

    def record(self, number: int) -> tuple:
        code, answer = self.raw(0x0a, 0x23, 0, 0, *number.to_bytes(2, "little"), 0, 0xff)
        return code, bytes.fromhex(answer)

    def run_script(self, package: str, answer_file="Yes"):
        """Unpacks the package and runs its script as a host does: executable, in its folder, answers on its input."""
        work = self.server.install / "work"
        shutil.rmtree(work, ignore_errors=True)
        zipfile.ZipFile(self.packages[package]).extractall(work)
        return self.server.run(f"chmod +x -R /srv/orv/work/* && cd /srv/orv/work && ./bmcup.sh < {answer_file}")

    def log(self, name: str) -> str:
        return (self.server.install / "work" / name).read_text()

    def sdr(self, key: str):
        return self.server.bmc("state")["sdr"][key]

    def test_the_road_from_01_23_and_a1_to_01_24_and_a2(self):
        with self.subTest("several hundred records are there, the version in one of them"):
            self.assertEqual(self.raw(0x0a, 0x20)[1].split()[1:3], ["2c", "01"])
            self.assertEqual(self.record(VERSION_RECORD), (0, (251).to_bytes(2, "little") +
                             VERSION_RECORD.to_bytes(2, "little") + b"\x51\xc0\x11\x91\x12\x00SDR Version A1"))
            code, last = self.record(300)
            self.assertEqual((code, last[:7]), (0, b"\xff\xff\x2c\x01\x51\x03\x16"))
        with self.subTest("both tools read a record to its last byte and not further"):
            _, by_ipmitool = self.record(300)
            done = self.server.run(f"echo 28 23 00 00 2c 01 00 ff | {MAKER_TOOL}")
            self.assertEqual(bytes.fromhex("".join(done.out.splitlines()[1].split()[5:])), by_ipmitool)
        with self.subTest("one record cannot be read, the others can"):
            self.assertEqual(self.record(UNREADABLE_RECORD)[0], 1)
            self.assertEqual(self.record(UNREADABLE_RECORD - 1)[0], 0)
            self.assertEqual(self.record(301)[0], 1)
        with self.subTest("a script that is not answered Yes changes nothing"):
            self.assertEqual(self.run_script("rt-good", "/dev/null").exit, 1)
            self.assertEqual((self.sdr("standby"), self.server.bmc("state")["standby"]), (None, None))
        with self.subTest("a script whose interpreter is missing does not start"):
            self.assertIn(self.run_script("rt-script-no-interpreter").exit, (126, 127))
        with self.subTest("a damaged SDR is not written, and the firmware that was is not taken"):
            self.assertEqual(self.run_script("rt-bad-sdr").exit, 1)
            self.assertNotIn(SDR_LINE, self.log("x64sdr/sdronup.log"))
            self.assertIn(FLASH_LINE, self.log("x64/BmcFlash_log.txt"))
            self.assertEqual(self.raw(*CHECK_REBOOT_FLAG), (0, "00"))
        with self.subTest("a damaged image is not written either"):
            self.assertEqual(self.run_script("rt-bad-image").exit, 1)
            self.assertIn(SDR_LINE, self.log("x64sdr/sdronup.log"))
            self.assertNotIn(FLASH_LINE, self.log("x64/BmcFlash_log.txt"))
            self.assertEqual(self.raw(*CHECK_REBOOT_FLAG), (0, "00"))
        with self.subTest("a script can end in 3 with both logs good"):
            self.assertEqual(self.run_script("rt-ends-in-3").exit, 3)
            self.assertIn(SDR_LINE, self.log("x64sdr/sdronup.log"))
            self.assertIn(FLASH_LINE, self.log("x64/BmcFlash_log.txt"))
        with self.subTest("the good one writes both and arms the flag for a reset"):
            done = self.run_script("rt-good")
            self.assertEqual((done.exit, done.err), (0, ""))
            self.assertIn(SDR_LINE, self.log("x64sdr/sdronup.log"))
            self.assertIn(FLASH_LINE, self.log("x64/BmcFlash_log.txt"))
            self.assertEqual(self.raw(*CHECK_REBOOT_FLAG), (0, "02"))
            self.assertEqual((self.running_version(), self.sdr("version")), ("01-23", "A1"))
        with self.subTest("after a reboot both run"):
            self.server.run("shutdown -r now")
            self.server.wait_power_cycle()
            self.assertEqual((self.running_version(), self.sdr("version")), ("01-24", "A2"))
            self.assertEqual(self.raw(0x0a, 0x20)[1].split()[1:3], ["18", "00"])
            self.assertTrue(self.record(21)[1].endswith(b"SDR Version A2"))
            self.assertEqual(self.raw(*CHECK_REBOOT_FLAG), (0, "00"))


if __name__ == "__main__":
    unittest.main()

"""A virtual server across its power cycles: flash, reboot flag, halt, reboot and loss of power."""

import unittest

from kv6000 import LabError, ServerSettings
from kv6000.boot import ready_file
from lab_support import (CHECK_CONNECT, CHECK_REBOOT_FLAG, MAKER_TOOL, SET_REBOOT_FLAG, SIGNATURE, SharedServer,
                         wait_until)


class AnUpdateByHand(SharedServer):
    """In one test: every step stands on the one before."""

    settings = ServerSettings(tool="both")

    def test_the_road_from_01_23_to_01_24(self):
        with self.subTest("the flag cannot be armed without a whole image in standby"):
            self.assertEqual(self.raw(*SET_REBOOT_FLAG)[0], 1)
            self.assertEqual(self.raw(*CHECK_REBOOT_FLAG), (0, "00"))
        with self.subTest("a config file is stored, and another transfer of it is begun"):
            for step in (self.lock_file(0x40), self.write_file(0x40, 0, b"old"), self.write_file(0x40, 0, SIGNATURE),
                         self.unlock_file(0x40), self.lock_file(0x40), self.write_file(0x40, 0, b"new")):
                self.assertEqual(step, (0, ""))
        with self.subTest("the flash tool names what is missing"):
            (self.server.install / "image.ima").write_bytes(b"no image")
            self.assertEqual(self.flash().exit, 4)  # no SCSI generic driver
            self.assertEqual(self.server.run("modprobe sg").exit, 0)
            self.assertEqual(self.flash().exit, 5)  # no media
        with self.subTest("what is not an image is refused"):
            self.prepare_flash("01-24")
            (self.server.install / "image.ima").write_bytes(b"not an image" * 100)
            done = self.flash()
            self.assertEqual(done.exit, 7)
            self.assertIn("not a firmware image", done.err)
        with self.subTest("a power cut in the middle of the flash leaves standby not whole and the media gone"):
            self.prepare_flash("01-24")
            self.server.bmc("power-loss 50")
            with self.assertRaisesRegex(LabError, "The machine went down"):
                self.flash()
            self.server.wait_off()
            state = self.server.bmc("state")
            self.assertEqual((state["whole"], state["media"], state["flash"]), (False, "disconnected", "media lost"))
            self.assertGreaterEqual(state["flashPercent"], 50)
            self.server.power_on()
            self.assertEqual(self.running_version(), "01-23")
            self.assertEqual(self.raw(*SET_REBOOT_FLAG)[0], 1)
        with self.subTest("the clean second run fills the standby slot"):
            self.prepare_flash("01-24")
            done = self.flash()
            self.assertEqual((done.exit, done.err), (0, ""))
            self.assertIn("flashing 100%", done.out)
            self.assertEqual(self.server.bmc("state")["standby"], "01-24")
        with self.subTest("a reboot without the flag comes back on the old firmware; who asked for it could finish"):
            ready = ready_file(self.server.folder)
            old = ready.read_text()
            job = self.server.start_job("shutdown -r now; sleep 2; echo finished")
            # Until the machine has long come back nobody asks for it.
            wait_until(lambda: ready.exists() and ready.read_text() not in ("", old), "the machine is back", 60)
            self.server.wait_power_cycle()
            self.assertEqual(job.wait().out, "finished\n")
            self.assertEqual(self.running_version(), "01-23")
            self.assertEqual(self.raw(*CHECK_CONNECT), (0, "01"))  # a reset does not unplug the drive
        with self.subTest("a halt with the flag armed comes back on the new firmware"):
            self.assertEqual(self.raw(*SET_REBOOT_FLAG), (0, ""))
            self.assertEqual(self.raw(*CHECK_REBOOT_FLAG), (0, "01"))
            self.server.run("shutdown -h now")
            self.server.wait_power_cycle()
            self.assertEqual(self.running_version(), "01-24")
            self.assertEqual(self.server.run(f"echo 18 01 | {MAKER_TOOL}").out.splitlines()[1].split()[7:9],
                             ["01", "24"])
            self.assertEqual(self.raw(*CHECK_REBOOT_FLAG), (0, "00"))
            self.assertEqual(self.server.bmc("state")["boots"], 4)
        with self.subTest("the stored config file outlives them too, the lock does not"):
            self.assertEqual(self.server.stored_file("40"), b"old")
            self.assertEqual(self.unlock_file(0x40)[0], 1)
        with self.subTest("the share outlives the power cycles"):
            self.assertEqual(self.server.run("ls /srv/orv").out.split(), ["KV6KBMC", "image.ima"])
        with self.subTest("a halt without the flag leaves the machine off"):
            self.server.run("shutdown -h now")
            self.server.wait_off()
            with self.assertRaisesRegex(LabError, "off"):
                self.server.run("true")


if __name__ == "__main__":
    unittest.main()

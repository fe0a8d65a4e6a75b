"""The update packages of the lab: each has the one fault that its name tells, and no other."""

import json
import tempfile
import unittest
import zipfile
import zlib
from pathlib import Path

from kv6000.packages import make_image, make_packages

HEADER = 32


class ThePackages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="lab-test-")))
        cls.packages = {path.stem: path for path in make_packages(folder)}

    def names(self, package: str) -> list:
        return zipfile.ZipFile(self.packages[package]).namelist()

    def image(self, package: str, name: str) -> bytes:
        return zipfile.ZipFile(self.packages[package]).read(name)

    def test_a_good_one_holds_its_description_and_one_whole_image(self):
        self.assertEqual(self.names("good-01-24"), ["module.json", "kv6000_0124.ima"])
        description = json.loads(self.image("good-01-24", "module.json"))
        self.assertEqual((description["version"], description["model"], description["server_types"]),
                         ("01-24", "KV6000", ["kv6000"]))
        image = self.image("good-01-24", "kv6000_0124.ima")
        self.assertEqual(image[:10], b"KV6KIMA1\x01\x24")
        self.assertEqual(int.from_bytes(image[12:16], "little"), len(image) - HEADER)
        self.assertEqual(int.from_bytes(image[16:20], "little"), zlib.crc32(image[HEADER:]))

    def test_images_are_the_same_on_every_call(self):
        self.assertEqual(make_image("01-24"), make_image("01-24"))
        self.assertNotEqual(make_image("01-24"), make_image("01-25"))

    def test_the_wrong_version_holds_another_image_than_it_says(self):
        self.assertEqual(json.loads(self.image("wrong-version", "module.json"))["version"], "01-24")
        self.assertEqual(self.image("wrong-version", "kv6000_0125.ima")[8:10], b"\x01\x25")

    def test_one_holds_two_images_and_one_none(self):
        self.assertEqual(sum(name.endswith(".ima") for name in self.names("two-images")), 2)
        self.assertEqual(self.names("no-image"), ["module.json"])

    def test_two_try_to_leave_their_folder(self):
        self.assertIn("../escaped.txt", self.names("parent-folder"))
        self.assertIn("/tmp/escaped.txt", self.names("absolute-name"))

    def test_bad_images_are_bad_in_one_way_each(self):
        good = make_image("01-24")
        bad = self.image("bad-image", "kv6000_0124.ima")
        self.assertEqual((len(bad), bad[:-1]), (len(good), good[:-1]))
        self.assertNotEqual(zlib.crc32(bad[HEADER:]), int.from_bytes(bad[16:20], "little"))
        self.assertLess(len(self.image("short-image", "kv6000_0124.ima")), len(good))

    def test_damaged_archives_cannot_be_read(self):
        with self.assertRaises((zipfile.BadZipFile, zlib.error)):
            self.image("corrupt", "kv6000_0124.ima")
        for package in ("truncated", "not-an-archive", "empty"):
            with self.subTest(package), self.assertRaises(zipfile.BadZipFile):
                self.names(package)
        self.assertEqual(self.packages["empty"].stat().st_size, 0)


if __name__ == "__main__":
    unittest.main()

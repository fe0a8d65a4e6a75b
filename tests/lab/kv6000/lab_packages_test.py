"""The update packages of the lab: each has the one fault that its name states, and no other."""

import json
import tempfile
import unittest
import zipfile
import zlib
from pathlib import Path

from kv6000.packages import make_image, make_packages
from kv6000.rack_packages import make_rack_packages

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
                         ("01-24", "", ["kv6000"]))
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

    def test_two_try_to_write_outside_their_folder(self):
        self.assertIn("../escaped.txt", self.names("parent-folder"))
        self.assertIn("/tmp/escaped.txt", self.names("absolute-name"))

    def test_bad_images_are_bad_in_one_way_each(self):
        good = make_image("01-24")
        bad = self.image("bad-image", "kv6000_0124.ima")
        self.assertEqual((len(bad), bad[:-1]), (len(good), good[:-1]))
        self.assertNotEqual(zlib.crc32(bad[HEADER:]), int.from_bytes(bad[16:20], "little"))
        self.assertLess(len(self.image("short-image", "kv6000_0124.ima")), len(good))

    def test_damaged_archives_fail_to_be_read(self):
        with self.assertRaises((zipfile.BadZipFile, zlib.error)):
            self.image("corrupt", "kv6000_0124.ima")
        for package in ("truncated", "not-an-archive", "empty"):
            with self.subTest(package), self.assertRaises(zipfile.BadZipFile):
                self.names(package)
        self.assertEqual(self.packages["empty"].stat().st_size, 0)


class TheRackPackages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="lab-test-")))
        cls.packages = {path.stem: zipfile.ZipFile(path) for path in make_rack_packages(folder)}
        cls.addClassCleanup(lambda: [package.close() for package in cls.packages.values()])

    def modes(self, package: str) -> dict:
        return {entry.filename: entry.external_attr >> 16 & 0o777 for entry in self.packages[package].infolist()}

    def description(self, package: str) -> dict:
        return json.loads(self.packages[package].read("module.json"))

    def changed(self, package: str) -> set:
        """The names whose content is not that of the good package, missing and added ones included; of the description
        without its list of files."""
        contents = [{name: archive.read(name) for name in archive.namelist()}
                    for archive in (self.packages["rt-good"], self.packages[package])]
        for each in contents:
            each["module.json"] = {**json.loads(each["module.json"]), "files": None}
        return {name for name in {**contents[0], **contents[1]} if contents[0].get(name) != contents[1].get(name)}

    def test_a_good_one_holds_script_answer_image_sdr_and_tools_for_both_architectures(self):
        self.assertEqual(set(self.packages["rt-good"].namelist()),
                         {"module.json", "bmcup.sh", "Yes", "kv6000rt.ima", "kv6000rt.sdr", "x64/BmcFlash",
                          "x64sdr/sdronup", "x86/BmcFlash", "x86sdr/sdronup"})
        self.assertEqual((self.description("rt-good")["version"], self.description("rt-good")["server_types"]),
                         ("BMC:01-24,SDR:A2", ["kv6000rt"]))
        self.assertEqual(self.modes("rt-good")["bmcup.sh"], 0o755)
        self.assertEqual(self.packages["rt-good"].read("Yes"), b"Yes\n")

    def test_its_sdr_file_is_records_one_after_the_other_with_the_version_not_last(self):
        data, records = self.packages["rt-good"].read("kv6000rt.sdr"), []
        while data:
            records.append(data[:5 + data[4]])
            data = data[5 + data[4]:]
        self.assertEqual([int.from_bytes(record[:2], "little") for record in records], list(range(1, 25)))
        self.assertEqual([record[8:] for record in records if record[3] == 0xc0], [b"SDR Version A2"])
        self.assertNotEqual(records[-1][3], 0xc0)

    def test_the_bad_ones_differ_from_the_good_one_in_what_their_names_say(self):
        for package, changed in (("rt-bad-sdr", {"kv6000rt.sdr"}), ("rt-bad-image", {"kv6000rt.ima"}),
                                 ("rt-ends-in-3", {"bmcup.sh", "update.sh"}),
                                 ("rt-never-ends", {"bmcup.sh", "update.sh"}),
                                 ("rt-log-100mb", {"bmcup.sh", "update.sh"}), ("rt-no-script", {"bmcup.sh"}),
                                 ("rt-script-is-folder", {"bmcup.sh", "bmcup.sh/readme.txt"}),
                                 ("rt-script-no-interpreter", {"bmcup.sh"}), ("rt-script-not-executable", set()),
                                 ("rt-long-ssd", {"module.json"})):
            with self.subTest(package):
                self.assertEqual(self.changed(package), changed)
        self.assertEqual(self.modes("rt-script-not-executable")["bmcup.sh"], 0o644)
        self.assertEqual(self.description("rt-long-ssd")["model"], "LONG/SSD")

    def test_the_one_for_the_mx4000_states_its_major_in_decimal(self):
        self.assertEqual(self.description("mx4000-10-24")["version"], "10-24")
        self.assertEqual(self.packages["mx4000-10-24"].read("mx4000_0a24.ima")[8:10], b"\x0a\x24")


if __name__ == "__main__":
    unittest.main()

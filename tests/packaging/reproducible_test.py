"""packaging/reproducible: two builds in different surroundings are the same; and a file that differs is named.

    reproducible_test.py Builds        both builds, which take minutes
    reproducible_test.py Comparison    the comparison alone, of folders with small files
"""

import subprocess
import tempfile
import unittest
from pathlib import Path

from packed import NAMES, REPOSITORY, version

PACKED = [f"{name}_{version()}_amd64.deb" for name in NAMES] + [f"{name}-{version()}-1.x86_64.rpm" for name in NAMES]
BUILT = ["refhost/liborv_DllCommon.so", "refhost/liborv_ProviderBase.so", "provider/liborvp_KESTREL_BMC.so", "orvhost/orvhost"]
FILES = BUILT + [f"packages/{name}" for name in PACKED]


def reproducible(*words) -> subprocess.CompletedProcess:
    return subprocess.run([REPOSITORY / "packaging/reproducible", *words], capture_output=True, text=True, check=False)


def same_files(text: str) -> list[str]:
    return sorted(line.split()[-1] for line in text.splitlines() if line.startswith("same: "))


class Builds(unittest.TestCase):
    def test_two_builds_are_the_same(self):
        done = reproducible()
        self.assertEqual(done.returncode, 0, done.stdout[-10000:] + done.stderr[-10000:])
        self.assertEqual(same_files(done.stdout), sorted(Path(name).name for name in FILES))
        self.assertTrue(done.stdout.endswith("10 files are the same, 0 differ.\n"))


class Comparison(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory(prefix="kestrel-reproducible-")))
        for build in ("first", "second"):
            for name in FILES:
                path = self.folder / build / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(name)

    def compare(self) -> subprocess.CompletedProcess:
        return reproducible("--compare", self.folder / "first", self.folder / "second")

    def test_all_are_the_same(self):
        done = self.compare()
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        self.assertTrue(done.stdout.endswith("10 files are the same, 0 differ.\n"))

    def test_one_byte_fails_with_the_files_name(self):
        for name in FILES:
            with self.subTest(name):
                self.setUp()
                (self.folder / "second" / name).write_text(name[:-1] + "?")
                done = self.compare()
                self.assertEqual(done.returncode, 1)
                self.assertRegex(done.stdout, rf"(?m)^{name} \S*/second/{name} differ: ")
                self.assertTrue(done.stdout.endswith("9 files are the same, 1 differ.\n"))

    def test_a_file_that_is_missing_fails(self):
        (self.folder / "second" / FILES[0]).unlink()
        self.assertEqual(self.compare().returncode, 1)
        (self.folder / "first" / FILES[0]).unlink()
        self.assertEqual(self.compare().returncode, 1)


if __name__ == "__main__":
    unittest.main()

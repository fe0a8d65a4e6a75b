"""The build's part for the demonstration: it makes all that is installed and all of the virtual server, and no more."""

import os
import re
import subprocess
import sys
import unittest
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ["KESTREL_BUILD_DIR"])
sys.path.insert(0, str(REPOSITORY / "lab"))

from kv6000 import paths  # noqa: E402


def made(part: str) -> set[str]:
    """The words of all commands by which ninja makes a part of the build, so that every file it makes is among them."""
    listed = subprocess.run(["ninja", "-C", str(BUILD), "-t", "commands", part],
                            check=True, capture_output=True, text=True)
    return {word.removeprefix(f"{BUILD}/").removeprefix(f"{REPOSITORY}/") for word in listed.stdout.split()}


def installed() -> set[str]:
    """What an installation of the program's components takes from the build folder."""
    scripts = "".join((BUILD / room / "cmake_install.cmake").read_text() for room in ("provider", "refhost", "orvhost"))
    files = re.findall(r'file\(INSTALL [^)]* FILES "([^"]+)"', scripts)
    return {path.removeprefix(f"{BUILD}/").rstrip("/") for path in files if path.startswith(f"{BUILD}/")}


class Demo(unittest.TestCase):
    def test_it_makes_what_is_installed(self):
        names = installed()
        self.assertIn("orvhost/orvhost", names)
        self.assertIn("orvhost/man", names)
        self.assertEqual(names - made("kestrel_demo"), set())

    def test_it_makes_the_virtual_server(self):
        # The phrase is written when the build is configured.
        built = {f"lab/{name}" for name in paths.BUILT if name != "write-mode-phrase"}
        self.assertEqual(built - made("kestrel_demo"), set())

    def test_it_makes_no_test_and_no_benchmark(self):
        made_without_need = [name for name in made("kestrel_demo") if re.match("(tests|bench|fuzz)/", name)]
        self.assertEqual(made_without_need, [])
        self.assertTrue(any(name.startswith("tests/") for name in made("all")))

    def test_the_product_needs_no_virtual_server(self):
        self.assertEqual([name for name in made("kestrel_product") if name.startswith("lab/")], [])


if __name__ == "__main__":
    unittest.main()

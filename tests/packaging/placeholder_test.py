"""The packages' version says whether the plug-in in them has the placeholder in the place of the phrase that a real BMC
expects: for this build, and for builds that are configured aside with a phrase and without."""

import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from debian import output_of
from packed import PLACEHOLDER, REPOSITORY, has_placeholder, pack, unpack, version

PLUGIN = "orv-plugin-kestrel-bmc"
PHRASE = "0123456789-a-phrase-ab"


class Placeholder(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory(prefix="kestrel-placeholder-")))

    def test_the_version_says_what_the_plugin_has(self):
        for kind in ("DEB", "RPM"):
            package = pack(kind, self.folder / kind)[PLUGIN]
            plugin = unpack(package, self.folder / kind / "unpacked") / "usr/lib/orv/liborvp_KESTREL_BMC.so"
            carried = PLACEHOLDER.encode() in plugin.read_bytes()
            self.assertEqual(carried, has_placeholder())
            self.assertEqual("placeholder" in package.name, carried, package.name)

    def configured(self, *options) -> tuple[str, str]:
        """The versions of the Debian and the RPM packages of a build with these options; and that CMake warned."""
        aside = self.folder / "aside"
        done = subprocess.run(["cmake", "-G", "Ninja", "-S", REPOSITORY, "-B", aside, "-DBUILD_TESTING=OFF", "-DKESTREL_BUILD_LAB=OFF",
                               "-DKESTREL_BUILD_BENCH=OFF", *options], capture_output=True, text=True, check=True)
        text = (aside / "CPackConfig.cmake").read_text()
        value = {name: re.search(rf'set\({name} "(.*)"\)', text).group(1)
                 for name in ("CPACK_DEBIAN_PACKAGE_VERSION", "CPACK_PACKAGE_VERSION", "CPACK_RPM_PACKAGE_RELEASE")}
        self.assertEqual(value["CPACK_PACKAGE_VERSION"], version())
        self.assertEqual("KESTREL_WRITE_MODE_PHRASE is the placeholder" in done.stderr, not options)
        return value["CPACK_DEBIAN_PACKAGE_VERSION"], value["CPACK_RPM_PACKAGE_RELEASE"]

    def test_a_build_with_the_placeholder_and_one_with_a_phrase(self):
        self.assertEqual(self.configured(), (f"{version()}~placeholder", "0.placeholder"))
        # The same folder, configured anew: nothing of the placeholder is left.
        self.assertEqual(self.configured(f"-DKESTREL_WRITE_MODE_PHRASE={PHRASE}"), (version(), "1"))

    def test_the_package_with_the_phrase_is_the_newer_one(self):
        done = subprocess.run(["dpkg", "--compare-versions", f"{version()}~placeholder", "lt", version()], check=False)
        self.assertEqual(done.returncode, 0)
        compared = output_of("rpm", "--eval", f"%{{lua:print(rpm.vercmp('{version()}-0.placeholder', '{version()}-1'))}}")
        self.assertEqual(compared.strip(), "-1")


if __name__ == "__main__":
    unittest.main()

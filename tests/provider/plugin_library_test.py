"""The built plug-in as the host's loader sees it: what it exports, what it needs, how it is hardened."""

import os
import re
import subprocess
import unittest

PLUGIN = os.environ["KESTREL_PLUGIN"]


def readelf(option: str) -> str:
    return subprocess.run(["readelf", "--wide", option, PLUGIN], check=True, capture_output=True, text=True).stdout


class PluginLibrary(unittest.TestCase):
    def test_exports_the_two_entry_points_and_nothing_else(self):
        rows = [line.split() for line in readelf("--dyn-syms").splitlines()]
        defined = {row[7] for row in rows if len(row) > 7 and row[0][:-1].isdigit() and row[6] != "UND"}
        self.assertEqual(defined, {"GetVendorFactory", "ReleaseVendor"})

    def test_needs_the_host_libraries_and_the_runtime_only(self):
        needed = set(re.findall(r"\(NEEDED\).*\[(.*)\]", readelf("--dynamic")))
        self.assertEqual(needed & {"liborv_ProviderBase.so", "liborv_DllCommon.so"},
                         {"liborv_ProviderBase.so", "liborv_DllCommon.so"})
        self.assertLessEqual(needed, {"liborv_ProviderBase.so", "liborv_DllCommon.so", "libstdc++.so.6", "libgcc_s.so.1",
                                      "libc.so.6", "libm.so.6"})

    def test_is_linked_with_full_relro(self):
        self.assertRegex(readelf("--dynamic"), r"\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*NOW")
        self.assertIn("GNU_RELRO", readelf("--program-headers"))

    def test_asks_the_host_for_nothing_beyond_its_contract(self):
        rows = [line.split() for line in readelf("--dyn-syms").splitlines()]
        undefined = {row[7].split("@")[0] for row in rows if len(row) > 7 and row[6] == "UND"}
        refhost_only = {name for name in undefined if "7refhost" in name}
        self.assertEqual(refhost_only, set())


if __name__ == "__main__":
    unittest.main()

"""packaging/abi/compare: the built host libraries and the plug-in's entry points have the recorded binary interface, and
a change of a slot, a record's size or a symbol fails with its name. The changes are made in a copy of the sources."""

import concurrent.futures
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

from packed import BUILD, REPOSITORY

COMPARE = REPOSITORY / "packaging/abi/compare"

# Name, file, what stands there as a pattern, what is put there, and what the comparison must then say.
CHANGES = (
    ("slot", "host/ProviderBase.h", r"(  virtual int GetUpdateStatus\(\);\n)(  virtual int GetUpdateProgress\(\);\n)", r"\2\1",
     (r"virtual int CModuleManager::GetUpdateStatus\(\)",
      r"the vtable offset of method virtual int CModuleManager::GetUpdateStatus\(\) changed")),
    ("size", "host/Records.h", r"(struct CDependencyInfo \{[^}]*)\}", r"\1  long added;\n}",
     (r"'struct CDependencyInfo", r"type size changed from 512 to 576 \(in bits\)", r"'long int added', at offset 512")),
    ("symbol", "host/ProviderBase.h", r"  (CFirmware\* GetFirmwareHandler\(\) const;)", r'  __attribute__((visibility("hidden"))) \1',
     (r"1 Removed function", r"CVendor::GetFirmwareHandler\(\) const")),
)
UNCHANGED = ("nothing", "host/Records.h", r"(struct CDependencyInfo)", r"\1", ())


def compare(*libraries) -> subprocess.CompletedProcess:
    return subprocess.run([COMPARE, "--build", BUILD, *libraries], capture_output=True, text=True, check=False)


class Abi(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="kestrel-abi-")))
        with concurrent.futures.ThreadPoolExecutor() as pool:
            cls.built = dict(pool.map(cls.build_changed, (*CHANGES, UNCHANGED)))

    @classmethod
    def build_changed(cls, change) -> tuple[str, Path]:
        """liborv_ProviderBase.so of sources with this change, in which nothing else is."""
        name, file, before, after, _ = change
        sources = cls.folder / name
        for room in ("host", "posix", "refhost"):
            shutil.copytree(REPOSITORY / room, sources / room)
        text, count = re.subn(before, after, (sources / file).read_text())
        if count != 1:
            raise AssertionError(f"{file} has no longer what is to be changed: {before}")
        (sources / file).write_text(text)
        together = sources / "together.cpp"
        together.write_text("".join(f'#include "{path.relative_to(sources)}"\n'
                                    for path in sorted((sources / "refhost/base").glob("*.cpp"))))
        library = sources / "liborv_ProviderBase.so"
        subprocess.run(["g++", "-std=c++20", "-g", "-O0", "-fPIC", "-shared", "-fvisibility=hidden", "-fvisibility-inlines-hidden",
                        f"-I{sources}", together, "-Wl,-soname,liborv_ProviderBase.so", "-o", library], check=True)
        return name, library

    def test_this_build_has_the_recorded_interface(self):
        done = compare()
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        self.assertEqual(done.stdout, "".join(f"{name}.so: the recorded interface\n" for name in
                                              ("liborv_DllCommon", "liborv_ProviderBase", "liborvp_KESTREL_BMC")))

    def test_sources_without_a_change_have_it_too(self):
        done = compare(self.built["nothing"])
        self.assertEqual((done.returncode, done.stdout), (0, "liborv_ProviderBase.so: the recorded interface\n"))

    def test_a_change_fails_with_its_name(self):
        for name, _, _, _, expected in CHANGES:
            with self.subTest(name):
                done = compare(self.built[name])
                self.assertEqual(done.returncode, 1, done.stdout)
                self.assertIn("liborv_ProviderBase.so: not the recorded interface\n", done.stdout)
                for text in expected:
                    self.assertRegex(done.stdout, text)
                self.assertIn("./dev abi --record", done.stdout)

    def test_an_entry_point_that_is_gone_fails_with_its_name(self):
        both = ("extern \"C\" CVendor* GetVendorFactory(const char*, const char*) { return nullptr; }\n",
                "extern \"C\" void ReleaseVendor(CVendor*) {}\n")
        for count, expected in ((2, "the recorded interface\n"), (1, r"1 Removed function.*\n\n.*ReleaseVendor")):
            source = self.folder / f"{count}.cpp"
            source.write_text("class CVendor;\n" + "".join(both[:count]))
            library = self.folder / str(count) / "liborvp_KESTREL_BMC.so"
            library.parent.mkdir()
            subprocess.run(["g++", "-g", "-fPIC", "-shared", source, f"-Wl,-soname,{library.name}", "-o", library], check=True)
            done = compare(library)
            self.assertEqual(done.returncode, 2 - count, done.stdout)
            self.assertRegex(done.stdout, expected)

    def test_the_record_knows_every_slot_and_record(self):
        """What the record must have for a change of it to be found at all."""
        record = (REPOSITORY / "packaging/abi/liborv_ProviderBase.abi").read_text()
        for kind in ("CModuleManager", "CFirmware", "CVendor", "CManageRepositoryInfo", "CManageModuleInfo", "CDependencyInfo"):
            self.assertRegex(record, rf"<class-decl name='{kind}' size-in-bits='\d+'")
        slots = len(re.findall(r"\bvirtual\b", re.sub(r"//.*", "", (REPOSITORY / "host/ProviderBase.h").read_text())))
        self.assertGreater(slots, 50)
        self.assertGreaterEqual(len(re.findall(r"vtable-offset=", record)), slots)


if __name__ == "__main__":
    unittest.main()

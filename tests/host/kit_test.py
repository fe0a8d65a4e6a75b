"""The kit for host owners: its examples, built with the commands of their own README by g++ and clang++ against what is
installed below an empty root, and run in that root.

    kit_test.py InstalledPackages    the packages of this build, installed by dpkg
    kit_test.py OtherStringAbi       a build with the other std::string ABI, made aside and installed by CMake
"""

import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

from debian import begin_database, dependencies, field, output_of

REPOSITORY = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ["KESTREL_BUILD_DIR"])
LIBDIR = os.environ["KESTREL_LIBDIR"]
WANTED = ("g++", "clang++")
COMPILERS = tuple(name for name in WANTED if shutil.which(name))
AS_ROOT = [] if os.geteuid() == 0 else ["unshare", "--map-root-user"]  # for dpkg and chroot
WARNINGS = "-Wall -Wextra -Wpedantic -Werror -Wno-unused-parameter"
UPDATING_HOST = """
#include <cstdio>
#include "host/EntryPoints.h"
int main(int, char** arguments) {
  CVendor* vendor = GetVendorFactory("EXAMPLE_Vendor", "updating host");
  vendor->LinkDevice();
  CFirmware& firmware = *vendor->GetFirmwareHandler();
  std::list<std::string> everything;
  const int before = firmware.PreUpdate("", arguments[1], &everything, false);
  const int update = firmware.Update("", arguments[1], &everything, false);
  const std::string version = firmware.GetOperatingVersion();
  std::printf("%d %d %s %d %d %d\\n", before, update, version.c_str(), firmware.CheckVendorVersion("1.9", version),
              firmware.CheckVendorVersion("1.10", version), firmware.CheckVendorVersion("abnormal", version));
  ReleaseVendor(vendor);
}
"""


def readme_commands(first: str) -> list[str]:
    """The command lines of the examples' README that begin with this word."""
    text = (REPOSITORY / "host/examples/README.md").read_text()
    return [line.strip() for line in re.findall(r"(?m)^    (.+)$", text) if line.split()[0] == first]


def run(line, folder: Path, **environment) -> subprocess.CompletedProcess:
    return subprocess.run(line, cwd=folder, shell=isinstance(line, str), capture_output=True, text=True, check=False,
                          env={**os.environ, **{name: str(value) for name, value in environment.items()}})


class Kit:
    """What holds for either ABI; a subclass installs, and says which ABI it is."""

    def install(self):
        raise NotImplementedError

    @classmethod
    def setUpClass(cls):
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="orv-kit-")))
        cls.root = cls.folder / "root"
        cls.usr = cls.root / "usr"
        cls.root.mkdir()
        for program in ("/bin/sh", "/bin/rm"):  # the BMC's plug-in has a shell delete files
            cls.bring_program(program)
        cls.install()
        cls.built = cls.folder / "built"
        for compiler in COMPILERS:
            cls.take_compiler(compiler)

    @classmethod
    def bring_program(cls, program: str):
        inside = cls.root / program[1:]
        inside.parent.mkdir(exist_ok=True)
        shutil.copy(program, inside)
        cls.bring_libraries(program)

    @classmethod
    def bring_libraries(cls, program):
        """Copies into the root what a program or library needs of this machine."""
        for needed in re.findall(r"(/\S+) \(0x", subprocess.run(["ldd", program], capture_output=True, text=True).stdout):
            inside = Path(str(cls.root) + needed)
            if cls.root not in Path(needed).parents and not inside.exists():
                inside.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(needed, inside)

    @classmethod
    def take_compiler(cls, compiler: str):
        """A "c++" of this compiler that takes no warning, and the installed examples beside it."""
        place = cls.built / compiler
        shutil.copytree(cls.usr / "share/doc/orv-dev/examples", place / "pkg-config")
        shutil.copytree(cls.usr / "share/doc/orv-dev/examples", place / "cmake")
        script = place / "bin/c++"
        script.parent.mkdir()
        script.write_text(f'#!/bin/sh\nexec {shutil.which(compiler)} {WARNINGS} "$@"\n')
        script.chmod(0o755)

    def work(self, compiler: str, line: str, way: str) -> subprocess.CompletedProcess:
        return run(line, self.built / compiler / way, PATH=f"{self.built / compiler / 'bin'}:{os.environ['PATH']}",
                   CXX=shutil.which(compiler), CXXFLAGS=WARNINGS, CMAKE_PREFIX_PATH=self.usr,
                   PKG_CONFIG_LIBDIR=self.usr / "share/pkgconfig", CMAKE_GENERATOR="Ninja")

    def each(self):
        """Each compiler and way, with the folder of the results, as names and files."""
        for compiler in COMPILERS:
            yield compiler, "pkg-config", self.built / compiler / "pkg-config"
            yield compiler, "cmake", self.built / compiler / "cmake/build"

    def test_0_every_compiler_is_here(self):
        missing = sorted(set(WANTED) - set(COMPILERS))
        if missing:
            self.skipTest(f"not installed: {', '.join(missing)}")

    def test_1_the_commands_of_the_readme_build_them(self):
        plain = {"pkg-config": readme_commands("c++"), "cmake": readme_commands("cmake")[:2]}
        self.assertEqual([len(lines) for lines in plain.values()], [2, 2])
        for compiler, way, place in self.each():
            for line in plain[way]:
                with self.subTest(compiler=compiler, line=line):
                    done = self.work(compiler, line, way)
                    self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
            for name in ("minimal_host", "minimal_plugin.so"):
                self.assertTrue((place / name).exists(), f"{place}: {name}")

    def test_2_they_have_the_abi_of_the_libraries_and_their_run_paths(self):
        for compiler, way, place in self.each():
            with self.subTest(compiler=compiler, way=way):
                symbols = output_of("nm", "--dynamic", "--undefined-only", place / "minimal_plugin.so")
                self.assertEqual("_ZN7CVendorC2ENSt7__cxx11" in symbols, self.abi == 1)
                self.assertEqual("_ZN7CVendorC2ESs" in symbols, self.abi == 0)
                self.assertNotIn("RUNPATH", output_of("readelf", "--dynamic", place / "minimal_plugin.so"))
                path = re.search(r"RUNPATH.*\[(.*)\]", output_of("readelf", "--dynamic", place / "minimal_host")).group(1)
                self.assertEqual(Path(path.rstrip(":")).resolve(), (self.usr / LIBDIR / "orvhost").resolve())

    def test_3_the_other_abi_does_not_link(self):
        for compiler in COMPILERS:
            line = readme_commands("c++")[0].replace("--cflags", f"--define-variable=cxx11_abi={1 - self.abi} --cflags")
            done = self.work(compiler, line.replace("-o minimal_host", "-o other_abi"), "pkg-config")
            self.assertNotEqual(done.returncode, 0)
            self.assertIn("undefined reference", done.stderr)

    def test_4_the_libraries_of_another_host_are_taken_instead(self):
        other = self.folder / "other"
        shutil.copytree(self.usr / LIBDIR / "orvhost", other, dirs_exist_ok=True)
        flags = next(line for line in readme_commands("pkg-config")).replace("/opt/host/lib", str(other))
        self.assertRegex(self.work("g++", flags, "pkg-config").stdout,
                         rf"-D_GLIBCXX_USE_CXX11_ABI=0 -L{other} -lorv_ProviderBase -lorv_DllCommon")
        line = readme_commands("cmake")[2].replace("-B build", "-B other").replace("/opt/host/lib", str(other))
        line = line.replace("ABI=0", f"ABI={self.abi}")
        for command in (line, "cmake --build other"):
            done = self.work("g++", command, "cmake")
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        dynamic = output_of("readelf", "--dynamic", self.built / "g++/cmake/other/minimal_host")
        self.assertRegex(dynamic, rf"RUNPATH.*\[{other}:?\]")
        # And headers alone where there are none yet.
        empty = line.replace(str(other), str(self.folder / "none")).replace("-B other", "-B none")
        done = self.work("g++", empty, "cmake")
        self.assertIn("so there is no target orv::ProviderBase", done.stdout + done.stderr)

    def test_5_the_plugin_passes_the_validation(self):
        line = readme_commands("orvhost")[0].split()
        for compiler, way, place in self.each():
            with self.subTest(compiler=compiler, way=way):
                done = run([self.usr / "bin/orvhost", *line[1:]], place)
                self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
                self.assertRegex(done.stdout, r"The plug-in passes all \d+ checks\.")

    def test_6_the_host_asks_them_in_an_empty_root(self):
        (self.root / "opt/orv").mkdir(parents=True, exist_ok=True)
        for compiler, way, place in self.each():
            with self.subTest(compiler=compiler, way=way):
                shutil.rmtree(self.root / "opt/orv/tmp", ignore_errors=True)
                self.assertEqual(self.in_root(place, "EXAMPLE_Vendor"),
                                 (3, "install:   /opt/orv\nclass:     EXAMPLE_Vendor\nversion:   abnormal\n"))
                (self.root / "opt/orv/tmp/EXAMPLE/version").write_text("1.4\n")
                self.assertEqual(self.in_root(place, "EXAMPLE_Vendor"),
                                 (0, "install:   /opt/orv\nclass:     EXAMPLE_Vendor\nversion:   1.4\n"
                                     "update:    can be tried\n"))
                status, text = self.in_root(place, "NO_Vendor")
                self.assertEqual((status, text), (1, "install:   /opt/orv\nThe plug-in has no class NO_Vendor.\n"))

    def test_7_the_host_asks_the_bmc_plugin_in_a_root_without_a_bmc(self):
        for compiler, way, place in self.each():
            with self.subTest(compiler=compiler, way=way):
                plugin = f"/usr/{LIBDIR}/orv/liborvp_KESTREL_BMC.so"
                self.assertEqual(self.in_root(place, "CBMC_KESTREL_Vendor", plugin),
                                 (3, "install:   /opt/orv\nclass:     CBMC_KESTREL_Vendor\nmissing:   IPMI tool\n"
                                     "version:   abnormal\n"))
        self.assertTrue((self.root / "opt/orv/tmp/KV6KBMC").is_dir())

    def test_8_the_plugin_updates_its_device(self):
        place = self.built / "g++/pkg-config"
        (place / "version").write_text("1.10\n")
        output_of("tar", "-C", place, "-cf", self.root / "package.tar", "version")
        (place / "minimal_host.cpp").write_text(UPDATING_HOST)
        line = readme_commands("c++")[0].replace("minimal_host.cpp", "minimal_host.cpp minimal_plugin.cpp")
        done = self.work("g++", line, "pkg-config")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.in_root(place, plugin="/package.tar"), (0, "0 0 1.10 1 0 0\n"))

    def in_root(self, place: Path, name: str = "", plugin: str = "/example/minimal_plugin.so") -> tuple[int, str]:
        """Exit status and output of an example host in the root, with the libraries that it and the plug-in need."""
        shutil.rmtree(self.root / "example", ignore_errors=True)
        (self.root / "example").mkdir()
        for file in ("minimal_host", "minimal_plugin.so"):
            shutil.copy(place / file, self.root / "example")
        for file in (place / "minimal_host", *self.usr.rglob("*.so")):
            self.bring_libraries(file)
        # The run path names the libraries from outside of the root.
        outside = Path(str(self.root) + str(self.root))
        if not outside.is_symlink():
            outside.parent.mkdir(parents=True, exist_ok=True)
            outside.symlink_to("/")
        done = run([*AS_ROOT, "chroot", self.root, "/example/minimal_host", plugin, *([name] if name else [])],
                   self.folder, PATH=f"{os.environ['PATH']}:/usr/sbin:/sbin")
        return done.returncode, done.stdout + done.stderr


class InstalledPackages(Kit, unittest.TestCase):
    @classmethod
    def install(cls):
        with open(BUILD / "host/orv.pc") as file:
            cls.abi = int(re.search(r"cxx11_abi=([01])", file.read()).group(1))
        output_of("cpack", "-G", "DEB", "--config", BUILD / "CPackConfig.cmake", "-B", cls.folder / "packages")
        packages = sorted((cls.folder / "packages").glob("*.deb"))
        begin_database(cls.root, [name for name in dependencies(packages) if name != "orvhost"])
        (cls.root / "etc").mkdir()
        cls.bring_program("/sbin/ldconfig")  # with the shell for the packages' own scripts
        done = run([*AS_ROOT, "dpkg", "--force-not-root", "--root", cls.root, "--install", *packages], cls.folder,
                   PATH=f"{os.environ['PATH']}:/usr/sbin:/sbin")
        if done.returncode != 0:
            raise AssertionError(done.stdout + done.stderr)
        cls.packages = packages

    def test_0_dpkg_has_installed_all(self):
        states = output_of("dpkg-query", "--admindir", self.root / "var/lib/dpkg", "-W", "-f", "${Package} ${Status}\\n",
                           *(field(package, "Package") for package in self.packages))
        self.assertEqual(states.count(" install ok installed\n"), len(self.packages))


class OtherStringAbi(Kit, unittest.TestCase):
    @classmethod
    def install(cls):
        own = re.search(r"cxx11_abi=([01])", (BUILD / "host/orv.pc").read_text()).group(1)
        cls.abi = 1 - int(own)
        aside = cls.folder / "aside"
        output_of("cmake", "-G", "Ninja", "-S", REPOSITORY, "-B", aside, "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_UNITY_BUILD=ON",
                  f"-DKESTREL_CXX11_ABI={cls.abi}", "-DBUILD_TESTING=OFF", "-DKESTREL_BUILD_LAB=OFF",
                  "-DKESTREL_BUILD_BENCH=OFF", f"-DCMAKE_INSTALL_LIBDIR={LIBDIR}")
        output_of("cmake", "--build", aside, "--target", "kestrel_product")
        for component in ("dev", "refhost", "plugin"):
            output_of("cmake", "--install", aside, "--prefix", cls.usr, "--component", component)


if __name__ == "__main__":
    unittest.main()

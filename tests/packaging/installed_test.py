"""The Debian and the RPM packages, each kind installed by its own program into a root that has nothing but the libraries
that they depend on: orvhost runs there, finds its plug-in and libraries, and nothing is left when they are removed."""

import os
import tempfile
import unittest
from pathlib import Path

from debian import begin_database, dependencies, output_of
from packed import NAMES, SmallRoot, pack, version


class Installed:
    """What holds for either kind; a subclass installs and removes."""

    @classmethod
    def setUpClass(cls):
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="kestrel-installed-")))
        before = os.umask(0o077)  # what the packages hold must not depend on it
        try:
            cls.packages = pack(cls.generator, cls.folder / "packages")
        finally:
            os.umask(before)
        cls.root = SmallRoot(cls.folder / "root")
        cls.prepare()
        cls.before = cls.root.files()
        done = cls.install(list(cls.packages.values()))
        if done.returncode != 0:
            raise AssertionError(done.stdout + done.stderr)
        for file in (cls.root.folder / "usr/bin/orvhost", *cls.root.folder.glob("usr/lib/orv*/*.so")):
            cls.root.bring_libraries(file)

    def test_1_orvhost_says_its_version(self):
        done = self.root.run_inside("/usr/bin/orvhost", "--version")
        self.assertEqual((done.stdout, done.returncode), (f"orvhost {version()}\n", 0), done.stderr)

    def test_2_the_plugin_is_found_and_passes_the_validation(self):
        done = self.root.run_inside("/usr/bin/orvhost", "validate")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertRegex(done.stdout, r"The plug-in passes all \d+ checks\.")

    def test_3_the_files_are_readable_for_all(self):
        for name in ("usr/lib/orv/liborvp_KESTREL_BMC.so", "usr/include/orv/host/EntryPoints.h",
                     "usr/lib/systemd/system/orvhost-verify.service", "usr/share/man/man8/orvhost.8.gz",
                     "usr/share/bash-completion/completions/orvhost"):
            self.assertEqual((self.root.folder / name).stat().st_mode & 0o777, 0o644, name)
        for name in ("usr/bin/orvhost", "usr/lib/orv", "usr/lib/orvhost", "usr/include/orv", "usr/share/doc/orvhost"):
            self.assertEqual((self.root.folder / name).stat().st_mode & 0o777, 0o755, name)

    def test_4_nothing_is_left_when_they_are_removed(self):
        done = self.remove()
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        left = {name for name in self.root.files() - self.before if "orv" in name or "kestrel" in name}
        self.assertEqual({name for name in left if not name.startswith("var/lib/")}, set())


class DebianPackages(Installed, unittest.TestCase):
    generator = "DEB"

    @classmethod
    def prepare(cls):
        begin_database(cls.root.folder, [name for name in dependencies(cls.packages.values()) if name not in NAMES])
        (cls.root.folder / "etc").mkdir()
        for program in ("/bin/sh", "/bin/rm", "/sbin/ldconfig"):  # for the packages' own scripts, and the plug-in's
            cls.root.bring(program)

    @classmethod
    def install(cls, packages):
        return cls.root.run("dpkg", "--root", cls.root.folder, "--force-not-root", "--install", *packages)

    def remove(self):
        return self.root.run("dpkg", "--root", self.root.folder, "--force-not-root", "--purge", *NAMES)

    def test_0_their_scripts_call_nothing_but_ldconfig(self):
        scripts = list((self.root.folder / "var/lib/dpkg/info").glob("*.post*"))
        self.assertTrue((self.root.folder / "var/lib/dpkg/info").is_dir())
        for script in scripts:
            commands = [line.strip() for line in script.read_text().splitlines()[1:] if line.strip()]
            self.assertLessEqual(set(commands), {"set -e", 'if [ "$1" = "configure" ]; then',
                                                 'if [ "$1" = "remove" ]; then', "ldconfig", "fi"}, script.name)


class RpmPackages(Installed, unittest.TestCase):
    generator = "RPM"

    @classmethod
    def prepare(cls):
        for program in ("/bin/sh", "/bin/rm"):  # the plug-in has a shell delete files
            cls.root.bring(program)
        done = cls.rpm("--initdb")
        if done.returncode != 0:
            raise AssertionError(done.stderr)

    @classmethod
    def rpm(cls, *words):
        return cls.root.run("rpm", "--root", cls.root.folder, "--dbpath", "/var/lib/rpm", *words)

    @classmethod
    def install(cls, packages):
        # The root's libraries belong to no package, so rpm cannot know that they are there.
        return cls.rpm("--nodeps", "--install", *packages)

    def remove(self):
        return self.rpm("--erase", *NAMES)

    def test_0_they_bring_no_script(self):
        for package in self.packages.values():
            self.assertEqual(output_of("rpm", "-qp", "--scripts", "--triggers", package), "")

    def test_0_rpm_finds_every_file_as_it_was_packed(self):
        done = self.rpm("--verify", "--nodeps", *NAMES)
        self.assertEqual((done.returncode, done.stdout), (0, ""), done.stderr)


if __name__ == "__main__":
    unittest.main()

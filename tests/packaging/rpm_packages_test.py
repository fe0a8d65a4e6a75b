"""The RPM packages: what rpmlint says, what they state, and on which systems their programs can run."""

import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from debian import field, output_of
from packed import NAMES, REPOSITORY, has_placeholder, pack, unpack, version

README = (REPOSITORY / "packaging/README.md").read_text()
ELSEWHERE = {"gpgv": "/usr/bin/gpgv"}  # which is in a package of another name there


def tag(package: Path, name: str) -> str:
    return output_of("rpm", "-qp", "--qf", f"%{{{name}}}", package)


def names(package: Path, kind: str) -> list[str]:
    return output_of("rpm", "-qp", f"--{kind}", package).splitlines()


def as_numbers(text: str) -> list[int]:
    return [int(part) for part in text.split(".")]


class RpmPackages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="kestrel-rpm-")))
        cls.packages = pack("RPM", cls.folder / "rpm")
        cls.debian = pack("DEB", cls.folder / "deb")

    def test_rpmlint_has_nothing_to_say(self):
        self.assertEqual(tuple(sorted(self.packages)), NAMES)
        done = subprocess.run(["rpmlint", "--config", REPOSITORY / "packaging/rpmlint.toml", *self.packages.values()],
                              capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertRegex(done.stdout, r"3 packages and 0 specfiles checked; 0 errors, 0 warnings")

    def test_every_filter_has_its_reason(self):
        lines = (REPOSITORY / "packaging/rpmlint.toml").read_text().split("Filters = [\n")[1].splitlines()
        filters = [at for at, line in enumerate(lines) if line.startswith('  "')]
        self.assertGreater(len(filters), 3)
        for at in filters:
            self.assertRegex(lines[at - 1], r'^  (#|"orv-dev)', lines[at])

    def test_they_say_what_the_debian_packages_say(self):
        for name, package in self.packages.items():
            with self.subTest(name):
                summary, _, description = field(self.debian[name], "Description").partition("\n")
                self.assertEqual(tag(package, "SUMMARY").lower(), summary.lower())
                self.assertEqual(tag(package, "DESCRIPTION").split(), description.replace("\n .\n", "\n").split())
                recommended = [ELSEWHERE.get(other, other) for other in field(self.debian[name], "Recommends").split(", ") if other]
                self.assertEqual(sorted(names(package, "recommends")), sorted(recommended))
                self.assertEqual(names(package, "licensefiles"), [f"/usr/share/doc/{name}/copyright"])
                self.assertIn(f"/usr/share/doc/{name}/copyright", names(package, "docfiles") + names(package, "licensefiles"))

    def test_version_changelog_and_licence(self):
        release = "0.placeholder" if has_placeholder() else "1"
        for name, package in self.packages.items():
            with self.subTest(name):
                self.assertEqual((tag(package, "VERSION"), tag(package, "RELEASE")), (version(), release))
                self.assertTrue(names(package, "changelog")[0].endswith(f" - {version()}-{release}"))
                carried = " AND BSD-3-Clause AND MIT" if name == "orvhost" else ""
                self.assertEqual(tag(package, "LICENSE"), f"LicenseRef-KESTREL-all-rights-reserved{carried}")

    def test_no_private_library_is_offered_or_asked_for(self):
        for name, package in self.packages.items():
            with self.subTest(name):
                named = names(package, "provides") + names(package, "requires")
                self.assertEqual([entry for entry in named if entry.startswith("liborv")], [])
        self.assertIn("libarchive.so.13()(64bit)", names(self.packages["orvhost"], "requires"))
        self.assertIn(f"orvhost = {version()}-{tag(self.packages['orvhost'], 'RELEASE')}",
                      names(self.packages["orv-dev"], "requires"))

    def test_pages_units_and_completion_are_there(self):
        there = output_of("rpm", "-qpl", self.packages["orvhost"]).splitlines()
        for path in ("man/man8/orvhost.8.gz", "man/man8/orvhost-update.8.gz", "bash-completion/completions/orvhost"):
            self.assertIn(f"/usr/share/{path}", there)
        self.assertIn("/usr/lib/systemd/system/orvhost-verify.service", there)

    def test_they_own_no_folder_of_the_system(self):
        for package in self.packages.values():
            folders = [line.split()[-1] for line in output_of("rpm", "-qp", "--list", "-v", package).splitlines()
                       if line.startswith("d")]
            self.assertEqual([path for path in folders if not re.search("/orv", path)], [])

    def test_they_run_where_the_readme_says(self):
        """A newer C or C++ library than in the README's table is needed: give up the systems there, or the call."""
        stated = dict(re.findall(r"(?m)^\| `(GLIBC|GLIBCXX|CXXABI)` \| ([\d.]+) \|", README))
        self.assertEqual(sorted(stated), ["CXXABI", "GLIBC", "GLIBCXX"])
        newer = []
        for name, package in self.packages.items():
            for path in unpack(package, self.folder / "unpacked" / name).rglob("*"):
                if path.is_file() and path.read_bytes()[:4] == b"\x7fELF":
                    needed = re.findall(r"\((GLIBC|GLIBCXX|CXXABI)_([\d.]+)\) +(\S+)", output_of("objdump", "-T", path))
                    self.assertGreater(len(needed), 10, path)
                    newer += [f"{path.name}: {symbol} of {family}_{number}" for family, number, symbol in needed
                              if as_numbers(number) > as_numbers(stated[family])]
        self.assertEqual(newer, [])


if __name__ == "__main__":
    unittest.main()

"""The Debian packages: what lintian says, what they hold, and a whole update through the orvhost that they install.

The guest of the virtual server is no Debian system, so it is given Debian's dpkg, and a database that names the
libraries that the packages depend on; these libraries come from this machine's own packages. There dpkg installs the
packages as on any machine, and a package with a dependency too few would not start.
"""

import gzip
import json
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

import commands
from debian import begin_database, dependencies, field, output_of
from kv6000 import Server, ServerSettings
from kv6000.packages import make_packages
from kv6000.paths import REPOSITORY, build_folder
from packed import has_placeholder

NAMES = ("orv-dev", "orv-plugin-kestrel-bmc", "orvhost")
DPKG = ("/usr/bin/dpkg", "/usr/bin/dpkg-deb", "/usr/bin/dpkg-query", "/usr/bin/dpkg-split", "/usr/bin/diff", "/usr/bin/tar",
        "/usr/sbin/ldconfig", "/usr/sbin/start-stop-daemon")
PAUSES = "ORVHOST_LAB_SLEEP_SCALE=0.1"  # leaves a second for the virtual media to appear


def stage_dpkg(tree: Path, depends: list):
    """Fills a tree for the guest's root with dpkg and with the named packages: their libraries, and that they are there."""
    begin_database(tree, depends)
    programs = [Path(name).resolve() for name in DPKG]
    libraries = [Path(name) for name in output_of("dpkg-query", "-L", *depends).splitlines()
                 if re.fullmatch(r"(/usr)?/lib/[^/]*-linux-gnu/[^/]*\.so[^/]*", name)]
    for path in programs + libraries:
        target = tree / ("usr" + str(path).removeprefix("/usr"))
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(path, target, follow_symlinks=False)


class DebianPackages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="kestrel-packages-")))
        output_of("cpack", "--config", build_folder() / "CPackConfig.cmake", "-B", cls.folder)
        cls.packages = {field(path, "Package"): path for path in sorted(cls.folder.glob("*.deb"))}

    def unpacked(self, name: str) -> Path:
        folder = self.folder / name
        output_of("dpkg-deb", "-x", self.packages[name], folder)
        return folder

    def test_lintian_has_nothing_to_say(self):
        self.assertEqual(tuple(sorted(self.packages)), NAMES)
        done = subprocess.run(["lintian", "--allow-root", "--fail-on", "error,warning", *self.packages.values()],
                              capture_output=True, text=True, check=False)
        self.assertEqual((done.stdout, done.returncode), ("", 0), done.stderr)

    def test_every_override_has_its_reason(self):
        for name in NAMES:
            for path in self.unpacked(name).glob("usr/share/lintian/overrides/*"):
                lines = path.read_text().splitlines()
                for before, line in zip([""] + lines, lines):
                    self.assertTrue(line.startswith("#") or before.startswith("#"), f"{path}: {line}")

    def test_version_changelog_and_copyright(self):
        version = re.search(r"project\(\w+ VERSION ([\d.]+)", (REPOSITORY / "CMakeLists.txt").read_text()).group(1)
        for name, package in self.packages.items():
            with self.subTest(name):
                self.assertEqual(field(package, "Version"), version + ("~placeholder" if has_placeholder() else ""))
                documents = self.unpacked(name) / "usr/share/doc" / name
                newest = gzip.decompress((documents / "changelog.gz").read_bytes()).decode().splitlines()[0]
                self.assertEqual(newest.split()[:2], ["kestrel-bmc", f"({version})"])
                terms = (documents / "copyright").read_text()
                for library in ("libcli11-dev", "nlohmann-json3-dev"):
                    self.assertRegex(terms, rf"(?s)---- {library} ----\n.*Copyright")

    def test_the_host_shows_no_library_to_other_programs(self):
        libraries = [str(path.relative_to(self.folder / "orvhost")) for path in self.unpacked("orvhost").rglob("*.so")]
        self.assertEqual(sorted(libraries), ["usr/lib/orvhost/liborv_DllCommon.so",
                                             "usr/lib/orvhost/liborv_ProviderBase.so"])
        self.assertIn("names of those that a real host", field(self.packages["orvhost"], "Description"))

    def test_apt_takes_them_by_the_documents_command(self):
        lines = commands.commands_for(commands.PACKAGES)
        self.assertEqual(len(lines), 1)
        line = re.sub(r"^apt-get install", "apt-get install --simulate", lines[0])
        done = subprocess.run(line, shell=True, cwd=self.folder, capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        installs = re.findall(r"(?m)^Inst (\S+) ", done.stdout)
        self.assertLessEqual({"orvhost", "orv-plugin-kestrel-bmc"}, set(installs))
        for name in ("orvhost", "orv-plugin-kestrel-bmc"):  # what the documents say comes with them
            self.assertIn("ipmitool", field(self.packages[name], "Recommends"))

    def test_the_kit_depends_on_the_libraries_of_the_same_build(self):
        self.assertEqual(field(self.packages["orv-dev"], "Depends"), f"orvhost (= {field(self.packages['orvhost'], 'Version')})")

    def test_a_whole_update_through_the_installed_packages(self):
        chosen = [self.packages["orvhost"], self.packages["orv-plugin-kestrel-bmc"]]
        depends = dependencies(chosen)
        self.assertLessEqual({"libarchive13", "libc6", "libpugixml1v5", "libstdc++6"}, set(depends))
        overlay = self.folder / "overlay"
        stage_dpkg(overlay, depends)
        make_packages(self.folder / "updates")
        with Server(ServerSettings(overlay=overlay)) as server:
            for path in chosen:
                shutil.copy(path, server.share)
            shutil.copy(self.folder / "updates" / "good-01-24.zip", server.share)
            self.install(server, chosen)
            self.assertEqual(self.orvhost(server, "update /share/good-01-24.zip")["verdict"], "updated")
            server.start_job(f"{PAUSES} orvhost --install-path /srv/orv apply --yes")
            server.wait_power_cycle(time_limit=120)
            self.install(server, chosen)  # only what is on the share outlives a power cycle
            self.assertEqual(self.orvhost(server, "verify")["verdict"], "verified")
            self.assertEqual(server.bmc("state")["running"], "01-24")
            gone = server.run("dpkg --purge orvhost orv-plugin-kestrel-bmc && ls /usr/lib/orvhost /usr/lib/orv")
            self.assertNotEqual(gone.exit, 0)
            self.assertNotIn(".so", gone.out)

    def install(self, server, packages):
        done = server.run("dpkg -i " + " ".join(f"/share/{path.name}" for path in packages))
        self.assertEqual(done.exit, 0, done.out + done.err)
        states = server.run("dpkg-query -W -f '${Package} ${Status}\\n' orvhost orv-plugin-kestrel-bmc").out
        self.assertEqual(sorted(states.splitlines()),
                         ["orv-plugin-kestrel-bmc install ok installed", "orvhost install ok installed"])

    def orvhost(self, server, words: str) -> dict:
        done = server.run(f"{PAUSES} orvhost --json --install-path /srv/orv {words}", time_limit=240)
        self.assertEqual(done.exit, 0, done.out + done.err)
        return json.loads(done.out)


if __name__ == "__main__":
    unittest.main()

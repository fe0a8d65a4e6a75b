"""What `./dev` runs: every command, with programs in the place of the real ones that only record how they were called."""

import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]

# Found by their names, and as files of the repository.
PROGRAMS = ("cmake ctest cpack lintian rpmlint clang-format clang-tidy shellcheck pyflakes3 ansible-lint apt-get sudo").split()
SCRIPTS = ("tools/demo", "tools/fleet", "tools/lab", "tools/check-rooms", "tools/check-style", "lab/lab", "bench/run", "fuzz/run",
           "explore/run", "packaging/reproducible", "packaging/abi/compare")

BUILD = ["cmake --preset release", "cmake --build --preset release"]
PART = {part: ["cmake --preset release", f"cmake --build --preset {part}"] for part in ("product", "demo")}
LINT = ["clang-format --dry-run --Werror", "tools/check-rooms", "tools/check-style", "shellcheck", "pyflakes3", "ansible-lint --offline --profile production",
        "cmake --preset lint", "clang-tidy --quiet -p build/lint"]
LINTIAN = "lintian --allow-root --fail-on error,warning build/release/packages/orvhost_1.0.0_amd64.deb"
RPMLINT = "rpmlint --config packaging/rpmlint.toml build/release/packages/orvhost-1.0.0-1.x86_64.rpm"

# For each command the programs that it runs, with the first of their arguments.
STEPS = {
    "help": [],
    "build": BUILD,
    "unit": BUILD + ["ctest --preset unit"],
    "test": BUILD + ["ctest --preset test"],
    "test --long": BUILD + ["ctest --preset release"],
    "demo": PART["demo"] + ["tools/demo"],
    "fleet": PART["demo"] + ["tools/fleet"],
    "lab": PART["demo"] + ["tools/lab"],
    "lint": LINT,
    "format": ["clang-format -i"],
    "sanitize": [step for compiler in ("gcc", "clang")
                 for step in (f"cmake --preset sanitize-{compiler}", f"cmake --build --preset sanitize-{compiler}",
                              f"ctest --preset sanitize-{compiler}")],
    "bench": BUILD + ["bench/run"],
    "bench --fleet": ["bench/run --fleet"],
    "bench --long": BUILD + ["bench/run --long"],
    "fuzz": ["cmake --preset fuzz", "cmake --build --preset fuzz", "fuzz/run 10"],
    "fuzz 600": ["cmake --preset fuzz", "cmake --build --preset fuzz", "fuzz/run 600"],
    "explore": BUILD + ["explore/run"],
    "explore --pairs 1000 --seed 7": BUILD + ["explore/run --pairs 1000 --seed 7"],
    "explore --replay TEXT": BUILD + ["explore/run --replay TEXT"],
    "explore --minimize TEXT": BUILD + ["explore/run --minimize TEXT"],
    "explore --prove": BUILD + ["explore/run --prove"],
    "explore --list": BUILD + ["explore/run --list"],
    "explore --matrix docs": BUILD + ["explore/run --matrix docs"],
    "explore --coverage": BUILD + ["explore/run --coverage"],
    "explore --coverage --every 10": BUILD + ["explore/run --coverage --every 10"],
    "package": PART["product"] + ["cpack -G DEB;RPM --config build/release/CPackConfig.cmake", LINTIAN, RPMLINT],
    "package --deb": PART["product"] + ["cpack -G DEB --config", LINTIAN],
    "package --rpm": PART["product"] + ["cpack -G RPM --config", RPMLINT],
    "reproducible": ["packaging/reproducible"],
    "abi": PART["product"] + ["packaging/abi/compare"],
    "abi --record": PART["product"] + ["packaging/abi/compare --record"],
    "setup": [],
    "clean": [],
}


class Dev(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory(prefix="kestrel dev ")))
        self.journal = self.folder / "journal"
        shutil.copy(REPOSITORY / "dev", self.folder)
        for name in PROGRAMS:
            self.put(f"programs/{name}", f'echo "{name} $*" >>"$JOURNAL"')
        for name in SCRIPTS:
            self.put(name, f'echo "{name} $*" >>"$JOURNAL"')
        # The files that the checks of lint are given: one of each kind.
        self.put("programs/git", 'printf "%s\\n" dev unit.cpp tool.py')
        self.put("programs/dpkg-query", 'echo "${PACKAGES-install ok installed}"')
        (self.folder / "unit.cpp").touch()
        (self.folder / "fleet/ansible_collections/kestrel/kv6000").mkdir(parents=True)
        (self.folder / "tool.py").write_text("#!/usr/bin/python3\n")
        (self.folder / "build/release/packages").mkdir(parents=True)
        (self.folder / "build/release/packages/orvhost_1.0.0_amd64.deb").touch()
        self.put("programs/cpack", 'echo "cpack $*" >>"$JOURNAL"; touch build/release/packages/orvhost_1.0.0_amd64.deb '
                 'build/release/packages/orvhost-1.0.0-1.x86_64.rpm')

    def put(self, name: str, script: str):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("#!/bin/sh\n" + script + "\n")
        path.chmod(0o755)

    def dev(self, command: str, **environment) -> subprocess.CompletedProcess:
        self.journal.write_text("")
        return subprocess.run([self.folder / "dev", *command.split()], capture_output=True, text=True, check=False,
                              env=dict(os.environ, PATH=f"{self.folder}/programs:{os.environ['PATH']}",
                                       JOURNAL=str(self.journal), **environment))

    def test_every_command_runs_its_steps(self):
        for command, steps in STEPS.items():
            with self.subTest(command):
                done = self.dev(command)
                self.assertEqual(done.returncode, 0, done.stderr)
                ran = self.journal.read_text().splitlines()
                self.assertEqual(len(ran), len(steps), ran)
                for line, step in zip(ran, steps):
                    self.assertEqual(line[:len(step)], step)

    def test_a_step_that_fails_ends_the_command(self):
        for program, command in (("cmake", "demo"), ("ctest", "test"), ("lintian", "package"), ("rpmlint", "package"), ("shellcheck", "lint")):
            with self.subTest(command):
                self.setUp()
                self.put(f"programs/{program}", "exit 3")
                self.assertNotEqual(self.dev(command).returncode, 0)
                self.assertNotIn("tools/demo", self.journal.read_text())

    def test_what_is_missing_is_installed_first(self):
        done = self.dev("build", PACKAGES="")
        self.assertEqual(done.returncode, 0, done.stderr)
        ran = [line.removeprefix("sudo ").removeprefix("env DEBIAN_FRONTEND=noninteractive ")
               for line in self.journal.read_text().splitlines()]
        self.assertEqual([line.split(" --")[0] for line in ran],
                         ["apt-get update -qq", "apt-get install -y -qq", "cmake", "cmake"])
        self.assertIn("libarchive-dev", ran[1].split())

    def test_help_lists_every_command(self):
        stated = re.findall(r"(?m)^  ([a-z]+)", self.dev("help").stdout)
        self.assertEqual(sorted(stated), sorted({command.split()[0] for command in STEPS} - {"help"}))

    def test_an_unknown_kind_of_package_packs_nothing(self):
        done = self.dev("package --zip")
        self.assertEqual(done.returncode, 2)
        self.assertIn("Usage: ./dev COMMAND", done.stderr)
        self.assertNotIn("cpack", self.journal.read_text())

    def test_an_unknown_command_fails(self):
        done = self.dev("demolish")
        self.assertEqual(done.returncode, 2)
        self.assertIn("no such command: demolish", done.stderr)

    def test_the_documents_name_no_other_command(self):
        for path in [*REPOSITORY.glob("*.md"), *REPOSITORY.glob("*/*.md")]:
            for words in re.findall(r"(?m)(?:`|^    )\./dev ([a-z]+(?: [\w-]+)*)", path.read_text()):
                self.assertIn(words, STEPS, path.name)


if __name__ == "__main__":
    unittest.main()

"""The manual pages of orvhost: that they can be shown without a complaint, and that they tell all that the sources have."""

import gzip
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

PAGES = Path(os.environ["ORVHOST_PAGES"])
SOURCES = Path(__file__).resolve().parents[2] / "orvhost"
TOOL = "\n".join(path.read_text() for path in sorted(SOURCES.rglob("*.*")) if path.suffix in (".h", ".cpp"))


def roff(name: str) -> str:
    return gzip.decompress((PAGES / f"{name}.8.gz").read_bytes()).decode()


def rendered(name: str) -> str:
    """A page as a terminal shows it, in one line, without hyphenation and overstriking."""
    done = subprocess.run(["groff", "-man", "-Tascii", "-P-cbou", "-rHY=0"], input=roff(name), check=True,
                          capture_output=True, text=True)
    return " ".join(done.stdout.split())


def section(name: str, title: str) -> str:
    return roff(name).partition(f'.SH "{title}"' if " " in title else f".SH {title}")[2].partition(".SH")[0]


class Manual(unittest.TestCase):
    maxDiff = None

    subcommands = re.findall(r'^const Command k\w+ = \{\s*"([\w-]+)"', TOOL, re.MULTILINE)
    names = ["orvhost"] + [f"orvhost-{subcommand}" for subcommand in subcommands]

    def test_every_subcommand_has_a_page(self):
        self.assertIn("update", self.subcommands)
        self.assertEqual(sorted(path.name for path in PAGES.iterdir()), sorted(f"{name}.8.gz" for name in self.names))

    def test_the_main_page_names_every_subcommand(self):
        stated = re.findall(r"^\.TP\n([\w\\-]+)$", section("orvhost", "SUBCOMMANDS"), re.MULTILINE)
        self.assertEqual(sorted(name.replace("\\-", "-") for name in stated), sorted(self.subcommands))

    def test_the_formatters_have_nothing_to_complain_about(self):
        for name in self.names:
            with self.subTest(name), tempfile.NamedTemporaryFile("w", suffix=".8") as page:
                page.write(roff(name))
                page.flush()
                groff = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "-z", page.name], capture_output=True, text=True,
                                       check=False)
                self.assertEqual((groff.returncode, groff.stderr), (0, ""))
                mandoc = subprocess.run(["mandoc", "-Tlint", "-Wwarning", page.name], capture_output=True, text=True,
                                        check=False)
                self.assertEqual((mandoc.returncode, mandoc.stdout), (0, ""))

    def test_every_page_has_its_sections(self):
        for name in self.names:
            with self.subTest(name):
                sections = re.findall(r'^\.SH "?([A-Z ]+)"?$', roff(name), re.MULTILINE)
                for wanted in ("NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "EXIT STATUS", "SEE ALSO"):
                    self.assertEqual(sections.count(wanted), 1, f"{wanted} in {sections}")
                self.assertGreater(len(section(name, "DESCRIPTION")), 200)

    def test_every_option_stands_in_a_page(self):
        options = set(re.findall(r'(?:add_(?:option|flag)\(|\{)"(?:-\w,)?(--[a-z-]+)"', TOOL))
        self.assertLessEqual({"--plugin", "--verbose", "--dry-run", "--out"}, options)
        stated = "".join(section(name, "OPTIONS") for name in self.names).replace("\\-", "-")
        for option in sorted(options):
            self.assertRegex(stated, rf"(?m)^\\fB(-\w\\fR, \\fB)?{option}\\fR")

    def test_every_exit_code_stands_in_the_main_page(self):
        outcome = (SOURCES / "interface" / "outcome.h").read_text()
        codes = re.findall(r"^  k\w+ = (\d+), +// (?!.*reserved)", outcome, re.MULTILINE)
        self.assertGreaterEqual(len(codes), 10)
        self.assertEqual(re.findall(r"^\.TP\n(\d+)$", section("orvhost", "EXIT STATUS"), re.MULTILINE), codes)

    def test_exit_codes_are_a_list_on_every_page(self):
        for subcommand in self.subcommands:
            with self.subTest(subcommand):
                stated = section(f"orvhost-{subcommand}", "EXIT STATUS")
                codes = re.findall(r"^\.TP\n(\d+)(?: to \d+)?\n\S", stated, re.MULTILINE)
                self.assertEqual(stated.count("\n.TP\n"), len(codes), stated)
                self.assertEqual(codes[0], "0")
                self.assertGreaterEqual(len(codes), 2)
                self.assertEqual(codes, sorted(codes, key=int))
                self.assertNotRegex(stated, r";\s+\d")

    def test_the_files_that_a_run_meets_stand_in_the_main_page(self):
        files = section("orvhost", "FILES").replace("\\-", "-")
        for name in ("repository/state.json", "journal", "orvhost.lock", "orvhost.run", "/run/orvhost",
                     "KV6KBMC/Yafuflash", "MngSrv", "/usr/bin/ipmitool"):
            self.assertIn(name, files)

    def test_every_variable_of_the_environment_stands_in_the_main_page(self):
        names = {name for room in (SOURCES, SOURCES.parent / "refhost") for path in room.rglob("*.cpp")
                 for name in re.findall(r'getenv\("(\w+)"\)', path.read_text())}
        header = (SOURCES / "interface" / "configuration.h").read_text()
        names |= set(re.findall(r'kInstallPathVariable = "(\w+)"', header))
        self.assertIn("ORVHOST_LAB_SLEEP_SCALE", names)
        stated = set(re.findall(r"^\.TP\n(\w+)$", section("orvhost", "ENVIRONMENT"), re.MULTILINE))
        self.assertEqual(stated, names)

    def test_a_page_reads_as_the_help_does(self):
        page = rendered("orvhost-update")
        self.assertIn("NAME orvhost-update - Check an update package and write it to the BMC SYNOPSIS", page)
        self.assertIn("EXAMPLES $ orvhost update bmc-01-24.zip --dry-run $ orvhost update", page)
        self.assertIn("EXIT STATUS 0 written, or nothing to do", page)


if __name__ == "__main__":
    unittest.main()

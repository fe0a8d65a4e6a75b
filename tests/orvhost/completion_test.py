"""The bash completion of orvhost, driven as bash drives it when the tabulator key is pressed."""

import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

PROGRAM = Path(os.environ["ORVHOST_PROGRAM"])
COMPLETION = Path(os.environ["ORVHOST_COMPLETION"])

DRIVE = """
. /usr/share/bash-completion/bash_completion
. "$COMPLETION"
COMP_WORDS=("$@")
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
COMP_LINE="${COMP_WORDS[*]}"
COMP_POINT=${#COMP_LINE}
_orvhost orvhost "${COMP_WORDS[-1]}" "${COMP_WORDS[-2]}"
printf '%s\\n' "${COMPREPLY[@]}"
"""


class Completion(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory(prefix="orvhost completion ")))
        for name in ("bmc.zip", "bmc.tar.gz", "bmc.txt"):
            (self.folder / name).touch()
        (self.folder / "folder").mkdir()

    def complete(self, *words) -> list:
        """What the last word can become; the words before it stand on the command line already."""
        done = subprocess.run(["bash", "-c", DRIVE, "bash", "orvhost", *words], cwd=self.folder, check=True,
                              capture_output=True, text=True,
                              env={"PATH": f"{PROGRAM.parent}:{os.environ['PATH']}", "COMPLETION": str(COMPLETION)})
        return sorted(done.stdout.split())

    def test_the_subcommands_are_those_of_the_help(self):
        stated = subprocess.run([PROGRAM, "--help"], check=True, capture_output=True, text=True).stdout
        names = re.findall(r"^  ([a-z-]+) ", stated.partition("Subcommands:")[2].partition("\n\n")[0], re.MULTILINE)
        self.assertIn("update", names)
        self.assertEqual(self.complete(""), sorted(names))

    def test_the_beginning_of_a_subcommand(self):
        self.assertEqual(self.complete("upd"), ["update"])
        self.assertEqual(self.complete("--json", "ver"), ["verify"])

    def test_options_of_every_subcommand(self):
        self.assertEqual(self.complete("--"), ["--color", "--help", "--install-path", "--json", "--log-file", "--plugin",
                                               "--quiet", "--server-type", "--verbose", "--version", "--yes"])

    def test_a_subcommand_adds_its_own_options(self):
        self.assertEqual(self.complete("--color", ""), ["auto", "never"])
        self.assertEqual(self.complete("--dr"), [])
        self.assertEqual(self.complete("update", "--dr"), ["--dry-run"])
        self.assertEqual(self.complete("report", "--o"), ["--out"])
        self.assertEqual(self.complete("update", "bmc.zip", "--log"), ["--log-file"])

    def test_a_package_is_an_archive_or_in_a_folder(self):
        for subcommand in ("check", "update"):
            self.assertEqual(self.complete(subcommand, ""), ["bmc.tar.gz", "bmc.zip", "folder"])
        self.assertEqual(self.complete("update", "--json", "bmc.z"), ["bmc.zip"])

    def test_a_plugin_is_a_library(self):
        (self.folder / "mine.so").touch()
        self.assertEqual(self.complete("validate", ""), ["folder", "mine.so"])

    def test_codes_to_explain(self):
        self.assertIn("MSGID_BMC_0013_F", self.complete("explain", "MSGID_BMC_001"))
        self.assertEqual(self.complete("explain", "1618", "MSGID_BMC_0013"), ["MSGID_BMC_0013_F"])

    def test_runs_are_those_of_the_install_path(self):
        journal = self.folder / "path" / "journal"
        journal.mkdir(parents=True)
        runs = ["00000007-20260131T120000Z", "00000012-20260201T120000Z"]
        for run in runs:
            (journal / f"{run}.jsonl").touch()
        for subcommand in ("show", "diagnose"):
            for place in (["--install-path", "path"], ["--install-path=path"]):
                self.assertEqual(self.complete(*place, subcommand, ""), [*runs, "last"])
        self.assertEqual(self.complete("--install-path", "path", "show", "00000012"), runs[1:])
        self.assertEqual(self.complete("--install-path", "folder", "show", ""), ["last"])

    def test_methods_are_those_of_the_plugin(self):
        vendor = (COMPLETION.parents[2] / "provider" / "kestrel_vendor.cpp").read_text()
        methods = sorted(re.findall(r'if \(name == "(\w+)"\)', vendor))
        self.assertGreaterEqual(len(methods), 2)
        self.assertEqual(self.complete("methods", ""), methods)
        self.assertEqual(self.complete("methods", "Send"), ["SendInfoToSVP"])

    def test_values_of_options(self):
        self.assertEqual(self.complete("--plugin", "bmc."), ["bmc.tar.gz", "bmc.txt", "bmc.zip"])
        self.assertEqual(self.complete("update", "--log-file", "bmc.t"), ["bmc.tar.gz", "bmc.txt"])
        self.assertEqual(self.complete("--install-path", ""), ["folder"])
        self.assertEqual(self.complete("report", "--out", ""), ["folder"])
        self.assertEqual(self.complete("--server-type", ""), [])

    def test_an_option_of_another_subcommand_takes_no_value(self):
        self.assertEqual(self.complete("update", "--out", "bmc.z"), ["bmc.zip"])

    def test_what_takes_no_argument(self):
        self.assertEqual(self.complete("identify", ""), [])


if __name__ == "__main__":
    unittest.main()

"""The values of host/Results.h are typed nowhere else: plug-in, reference host and tool take them from there. Numbers that
are the same by chance stand where they are; those that this test cannot tell from the contract's are listed."""

import re
import subprocess
import unittest
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
HEADER = "host/Results.h"
ROOMS = ("host", "posix", "ipmi", "firmware", "svp", "report", "provider", "refhost", "orvhost")

# The same by chance: the file, what stands there, and what it is.
OTHERS = {
    ("ipmi/command_runner.cpp", "kNoExitStatus = 255;"),  # in the place of an exit status
}

LITERAL = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'', re.DOTALL)


def number(digits: str) -> re.Pattern:
    """A number as a result is written: compared, returned, assigned or passed, and neither a size nor a factor."""
    return re.compile(rf"^(?!.*\bsize_t\b).*(?:[=({{,?:]|\b(?:return|case))\s*{digits}\s*(?:[;,:)}}?]|&&|\|\|)")


VALUES = {
    "kUpdateTimedOut": number("1024"),
    "kNoReport": number("2048"),
    "kCommandTimedOut": number("255"),
    "kNoTimeLimit": re.compile(r"~0U?LL?\b|~0ULL?\b|\bULONG_MAX\b|numeric_limits<unsigned long>::max\(|"
                               r"<unsigned long>\(-1\)|\b0x[fF]{16}U?L?\b", re.IGNORECASE),
    "kAbnormalVersion": re.compile(r'"abnormal"'),
    "kFirmwareKind": re.compile(r'"firmware"'),
    "kInstallation": re.compile(r"GetInstallPath\(\s*0\s*\)"),
    "kManagementLibraries": re.compile(r"GetInstallPath\(\s*4\s*\)"),
}


def without_comments(text: str) -> str:
    """The same lines, of whose texts only those remain that are nothing but a word."""
    def keep(match: re.Match) -> str:
        piece = match.group()
        return piece if re.fullmatch(r'"\w+"', piece) else "\n" * piece.count("\n")
    return LITERAL.sub(keep, text)


def complaints(name: str, text: str) -> list[str]:
    found = []
    for row, line in enumerate(without_comments(text).splitlines(), 1):
        if any(name == file and what in line for file, what in OTHERS):
            continue
        found += [f'{name}:{row}: "{line.strip()}" types a value of the contract again; take host::{constant} of {HEADER}, '
                  f"or list it in {Path(__file__).name} if it is another thing"
                  for constant, pattern in VALUES.items() if pattern.search(line)]
    return found


def sources() -> list[str]:
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard", "*.h", "*.cpp"],
                            cwd=REPOSITORY, check=True, capture_output=True, text=True).stdout.splitlines()
    return [name for name in listed if name.split("/")[0] in ROOMS and name != HEADER and (REPOSITORY / name).exists()]


class Results(unittest.TestCase):
    def assert_retyped(self, constant: str, *lines: str):
        for line in lines:
            with self.subTest(line):
                (complaint,) = complaints("orvhost/run/a.cpp", f"// first\n{line}\n")
                self.assertTrue(complaint.startswith("orvhost/run/a.cpp:2: "), complaint)
                self.assertIn(f"take host::{constant} of host/Results.h", complaint)

    def test_no_source_types_one_again(self):
        names = sources()
        self.assertGreater(len(names), 150)
        found = [each for name in names for each in complaints(name, (REPOSITORY / name).read_text())]
        if found:
            self.fail("\n" + "\n".join(found))

    def test_every_value_of_the_header_that_can_be_recognised_is_looked_for(self):
        text = (REPOSITORY / HEADER).read_text()
        values = dict(re.findall(r"(k\w+) = ([^;]+);", text))
        # Everybody's numbers look the same as the contract's.
        common = {name for name, value in values.items() if value in ("0", "1", "-1")}
        self.assertEqual(set(VALUES) - {"kInstallation"}, set(values) - common)

    def test_what_is_the_same_by_chance_is_still_there(self):
        for name, what in OTHERS:
            self.assertIn(what, (REPOSITORY / name).read_text(), name)

    def test_a_result_typed_again(self):
        self.assert_retyped("kUpdateTimedOut", "constexpr int kDone = 1024;", "if (result == 1024) {", "return 1024;",
                            "return late ? 1024 : 0;", "case 1024:", '{1024, "The flash command ran into"},')
        self.assert_retyped("kNoReport", "if (Report() != 2048 && again) {", "Fail(run, 2048);")
        self.assert_retyped("kCommandTimedOut", "bool TimedOut() const { return result == 255; }")

    def test_a_limit_typed_again(self):
        self.assert_retyped("kNoTimeLimit", "constexpr unsigned long kForEver = ~0UL;", "Run(command, ULONG_MAX);",
                            "Run(command, static_cast<unsigned long>(-1));", "x = std::numeric_limits<unsigned long>::max();",
                            "Run(command, 0xffffffffffffffff);", "limit != ~0ul")

    def test_a_text_typed_again(self):
        self.assert_retyped("kAbnormalVersion", 'if (version == "abnormal") {')
        self.assert_retyped("kFirmwareKind", 'constexpr const char* kKind = "firmware";')

    def test_a_kind_of_folder_typed_again(self):
        self.assert_retyped("kInstallation", 'return CFileUtility::GetInstallPath(0) + "/tmp";')
        self.assert_retyped("kManagementLibraries", "path = CFileUtility::GetInstallPath(4);")

    def test_what_only_looks_the_same(self):
        for line in ("std::array<char, 1024> buffer;", "char line[1024];", "constexpr int kMost = 64 * 1024;",
                     "constexpr std::size_t kMost = 1024;", "size / 1024 / 1024", "Wait(1024.0);", "x = 10240;", "// 1024 when the flash", 'Say("exit 1024");',
                     'Say("the firmware runs");', 'Say("a, 255)");', "mask &= 0xff;", "flags & ~0U", "GetInstallPath(kind)"):
            with self.subTest(line):
                self.assertEqual(complaints("orvhost/run/a.cpp", line + "\n"), [])


if __name__ == "__main__":
    unittest.main()

"""tools/check-style: each complaint is shown once, and beside it what is allowed. Tried on a repository of its own."""

import subprocess
import tempfile
import unittest
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
CHECK = REPOSITORY / "tools" / "check-style"
DRIVER = "say which kernel driver it is, or use another word: all else is no driver"
HEADER = "// What it is for.\n#ifndef ROOM_UNIT_H\n#define ROOM_UNIT_H\n\n#endif  // ROOM_UNIT_H\n"


class CheckStyle(unittest.TestCase):
    def setUp(self):
        self.repository = Path(self.enterContext(tempfile.TemporaryDirectory()))
        subprocess.run(["git", "init", "--quiet", str(self.repository)], check=True)

    def complaints(self, text: str, name: str = "room/unit.cpp") -> list[str]:
        path = self.repository / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        done = subprocess.run([CHECK, self.repository], capture_output=True, text=True)
        path.unlink()
        self.assertEqual(done.returncode, 1 if done.stderr else 0)
        return done.stderr.splitlines()

    def assert_refused(self, text: str, *lines: str, name: str = "room/unit.cpp"):
        self.assertEqual(self.complaints(text, name), [f"{name}:{line}" for line in lines])

    def assert_allowed(self, text: str, name: str = "room/unit.cpp"):
        self.assertEqual(self.complaints(text, name), [])

    def test_a_size_without_its_namespace(self):
        self.assert_refused("int a;\nsize_t b;\n", "2: write std::size_t")
        self.assert_allowed("std::size_t b;\nssize_t c;  // no size_t\nconst char* d = \"size_t\";\n")

    def test_colons_before_a_system_call(self):
        self.assert_refused("void F() {\n  ::close(3);\n}\n", "2: call it without :: in front")
        self.assert_refused("(void)::close(3);\n", "1: call it without :: in front")
        self.assert_refused("int a = ::open (\"x\", 0);\n", "1: call it without :: in front")
        self.assert_allowed("int a = posix::open(1);\nauto b = ::operator new(3);\n::testing::Test c;\n// ::close(3)\n")

    def test_an_anonymous_namespace_without_a_blank_line(self):
        self.assert_refused("namespace a {\nnamespace {\n", "1: leave a blank line before a nested anonymous namespace")
        self.assert_allowed("namespace a {\n\nnamespace {\n")

    def test_characters_that_turn_the_direction_of_text(self):
        self.assert_refused('auto a = "\u202eb";\n', "1: write a character that turns the direction of text as an escape")
        self.assert_allowed('auto a = "\\u202eb";\n')

    def test_a_pair_of_iterators(self):
        self.assert_refused("auto a = std::find(x.begin(), x.end(), 1);\n", "1: write std::ranges::find(x, ...)")
        self.assert_refused("\nstd::sort(a->names.begin(),\n          a->names.end());\n",
                            "2: write std::ranges::sort(a->names, ...)")
        self.assert_allowed("auto a = std::accumulate(x.begin(), x.end(), 0);\nstd::string b(x.begin(), x.end());\n"
                            "std::sort(x.begin(), y.end());\nstd::ranges::sort(x);\n")

    def test_a_driver_of_no_kernel(self):
        self.assert_refused("// Waits for the\n// Driver that starts it.\n", f"2: {DRIVER}")
        self.assert_refused('"""Starts the driver."""\ndriver = 1\n', f"1: {DRIVER}", f"2: {DRIVER}", name="room/unit.py")

    def test_a_driver_of_no_kernel_in_a_program_without_suffix(self):
        self.assert_refused("#!/usr/bin/env python3\n# The test driver.\n", f"2: {DRIVER}", name="room/program")
        self.assert_allowed("#!/bin/sh\n# Of another language.\n# The test driver.\n", name="room/script")

    def test_drivers_of_a_kernel(self):
        self.assert_allowed("// The SCSI generic\n// driver, the kernel's IPMI driver, a kernel driver and the driver sg.\n"
                            'auto a = "driver=raw";\n')

    def test_a_header_without_a_word_on_what_it_is_for(self):
        self.assert_allowed(HEADER, name="room/unit.h")
        self.assert_refused(HEADER.split("\n", 1)[1], "1: say at the top in a comment what the unit is for",
                            name="room/unit.h")

    def test_a_guard_that_is_not_the_path(self):
        self.assert_refused(HEADER, "1: guard the header with ROOM_OTHER_UNIT_H", name="room/OtherUnit.h")
        self.assert_refused(HEADER.replace("ifndef ROOM", "ifndef HOUSE"), "1: guard the header with ROOM_UNIT_H",
                            name="room/unit.h")
        self.assert_refused(HEADER.replace("#endif  // ROOM_UNIT_H", "#endif"), "1: guard the header with ROOM_UNIT_H",
                            name="room/unit.h")

    def test_what_is_ignored_by_git(self):
        (self.repository / ".gitignore").write_text("build/\n")
        self.assert_allowed("size_t b;\n", name="build/unit.cpp")

    def test_this_repository(self):
        done = subprocess.run([CHECK], capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))


if __name__ == "__main__":
    unittest.main()

"""tools/check-rooms: a wrong include is found, and so is a file in no room. Tried on a small repository of its own."""

import subprocess
import tempfile
import unittest
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]


class CheckRooms(unittest.TestCase):
    def setUp(self):
        self.repository = Path(self.enterContext(tempfile.TemporaryDirectory()))
        subprocess.run(["git", "init", "--quiet", str(self.repository)], check=True)

    def check(self, files: dict[str, str]) -> tuple[int, str]:
        for name, included in files.items():
            path = self.repository / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(f'#include "{included}"\n')
        done = subprocess.run([REPOSITORY / "tools" / "check-rooms", self.repository], capture_output=True, text=True)
        return done.returncode, done.stderr

    def assert_refused(self, name: str, included: str, reason: str):
        status, complaints = self.check({name: included})
        self.assertEqual(status, 1)
        self.assertEqual(len(complaints.splitlines()), 1)
        self.assertIn(f"{name}: ", complaints)
        self.assertIn(reason, complaints)

    def test_arrows_down_are_allowed(self):
        self.assertEqual(self.check({"provider/a.cpp": "firmware/a.h", "report/a.cpp": "firmware/a.h", "lab/bmc/a.h": "lab/a.h",
                                     "orvhost/main.cpp": "orvhost/run/a.h", "orvhost/run/a.cpp": "orvhost/plugin/a.h",
                                     "refhost/base/a.cpp": "refhost/a.h", "tests/lab/bmc/a.cpp": "lab/bmc/a.h",
                                     "bench/a.cpp": "provider/a.h", "posix/a.cpp": "gtest/gtest.h"}), (0, ""))

    def test_an_include_of_a_room_above(self):
        self.assert_refused("ipmi/a.cpp", "firmware/a.h", 'includes "firmware/a.h", but ipmi/ may include only itself and: host')

    def test_an_include_of_a_room_above_in_another_form(self):
        for form in ('#include <firmware/a.h>', ' #include "firmware/a.h"', '#  include "firmware/a.h"',
                     '#include "../firmware/a.h"'):
            with self.subTest(form):
                (self.repository / "ipmi").mkdir(exist_ok=True)
                (self.repository / "ipmi" / "a.cpp").write_text(form + "\n")
                status, complaints = self.check({})
                self.assertEqual((status, len(complaints.splitlines())), (1, 1), complaints)
                self.assertIn("firmware/a.h", complaints)

    def test_siblings(self):
        self.assert_refused("firmware/a.cpp", "svp/a.h", "firmware/ may include only")

    def test_the_plugin_stands_on_nothing_but_the_host(self):
        self.assert_refused("ipmi/a.cpp", "posix/a.h", "ipmi/ may include only")

    def test_a_room_within_a_room(self):
        self.assert_refused("orvhost/journal/a.cpp", "orvhost/commands/a.h", "orvhost/journal/ may include only")

    def test_what_a_library_keeps_to_itself(self):
        self.assert_refused("orvhost/run/a.cpp", "refhost/common/a.h", "orvhost/run/ may include only")

    def test_the_state_machine_knows_nothing_of_its_server(self):
        self.assert_refused("lab/bmc/a.cpp", "lab/server/a.h", "lab/bmc/ may include only")

    def test_one_header_of_a_room_alone(self):
        self.assertEqual(self.check({"lab/guest/a.cpp": "host/ManagementInterface.h"}), (0, ""))
        self.assert_refused("lab/guest/a.cpp", "host/DllCommon.h", "lab/guest/ may include only")
        self.assert_refused("lab/guest/a.cpp", "host/ManagementInterface.hpp", "lab/guest/ may include only")

    def test_nobody_includes_a_test(self):
        self.assert_refused("orvhost/run/a.cpp", "tests/a.h", "orvhost/run/ may include only")

    def test_a_file_in_no_room(self):
        self.assert_refused("orvhost/attic/a.cpp", "string.h", "lies in no room")
        self.repository = Path(self.enterContext(tempfile.TemporaryDirectory()))
        subprocess.run(["git", "init", "--quiet", str(self.repository)], check=True)
        self.assert_refused("stray.cpp", "string.h", "lies in no room; tools/check-rooms has these: host, ")
        (self.repository / "stray.cpp").unlink()
        self.assert_refused("attic/a.cc", "string.h", "lies in no room")

    def test_what_a_room_may_include_and_does_not(self):
        self.assertEqual(self.check({"ipmi/a.cpp": "host/a.h"}), (0, ""))
        done = subprocess.run([REPOSITORY / "tools" / "check-rooms", "--unused", self.repository], capture_output=True,
                              text=True)
        self.assertEqual(done.returncode, 1)
        self.assertIn("tools/check-rooms: firmware/ may include ipmi, and no file of it does\n", done.stderr)
        self.assertNotIn(" ipmi/ may include host", done.stderr)

    def test_this_repository(self):
        done = subprocess.run([REPOSITORY / "tools" / "check-rooms", "--unused"], capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))


if __name__ == "__main__":
    unittest.main()

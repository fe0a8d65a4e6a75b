"""The simulation as a program: the same twice, sentences for bad input, oracles that see, documents that are current."""

import hashlib
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]


def explore(*arguments: str) -> subprocess.CompletedProcess:
    return subprocess.run([os.environ["EXPLORE"], *arguments], capture_output=True, text=True, check=False)


class Replay(unittest.TestCase):
    def test_plays_the_same_bytes_twice(self):
        for text in ("life-ipmitool", "life-rack 300:kill", "update-ipmicmd 200:power", "notify-ipmitool 60:disk-full"):
            with self.subTest(text):
                first, second = explore("--replay", text), explore("--replay", text)
                self.assertIn(first.returncode, (0, 1), first.stdout)
                self.assertGreater(len(first.stdout.splitlines()), 50)
                self.assertEqual(hashlib.sha256(first.stdout.encode()).hexdigest(),
                                 hashlib.sha256(second.stdout.encode()).hexdigest())

    def test_shows_the_fault_and_what_the_operator_does_then(self):
        story = explore("--replay", "life-ipmitool 300:kill").stdout
        self.assertIn("<-- the tool is killed just before", story)
        self.assertRegex(story, r"The faults end in: killed\. What the operator does then: diagnose, .*verify\.\n\Z")

    def test_fails_in_a_sentence_for_what_is_not_there(self):
        for text, sentence in (("nowhere 1:busy", "There is no road"), ("life-rack 1:x", "There is no fault"),
                               ("life-rack busy", "is no fault"), ("life-ipmitool 99999:kill", "did not come"),
                               ("life-ipmitool 1:busy", "which \"busy\" cannot hit")):
            with self.subTest(text):
                done = explore("--replay", text)
                self.assertEqual(done.returncode, 2)
                self.assertEqual(len(done.stdout.splitlines()), 1, done.stdout)
                self.assertIn(sentence, done.stdout)

    def test_fails_for_options_that_are_not_there(self):
        self.assertEqual(explore("--jump").returncode, 2)
        self.assertEqual(explore("--road", "nowhere").returncode, 2)


class Oracles(unittest.TestCase):
    def test_see_what_is_broken_for_them(self):
        done = explore("--prove")
        self.assertEqual(done.returncode, 0, done.stdout)
        seen = re.findall(r"(?m)^(\w+): .*: seen: \1: ", done.stdout)
        self.assertEqual(sorted(seen), ["bounds", "files", "idempotence", "locks", "order", "recovery", "trace", "truth"])


class Survey(unittest.TestCase):
    def test_finds_nothing_new_at_any_event_and_makes_the_matrix_that_is_in_docs(self):
        with tempfile.TemporaryDirectory() as folder:
            done = explore("--matrix", folder, "--jobs", str(os.cpu_count()))
            self.assertEqual(done.returncode, 0, done.stdout)
            self.assertRegex(done.stdout, r"(?m)^\d{5,} scenarios on 29 roads, 0 findings")
            for name in ("fault-matrix.md", "fault-matrix.html"):
                made, kept = Path(folder, name).read_bytes(), (REPOSITORY / "docs" / name).read_bytes()
                self.assertTrue(made == kept, f"docs/{name} is not current: ./dev explore --matrix docs")

    def test_takes_the_same_pairs_for_the_same_seed(self):
        first, second, other = (explore("--pairs", "40", "--seed", seed, "--road", "verify-ipmitool").stdout
                                for seed in ("7", "7", "8"))
        first, second, other = (re.sub(r"(?m)^[\d.]+ s, .*$", "", text) for text in (first, second, other))
        self.assertRegex(first, r"(?m)^40 scenarios on 1 roads")
        self.assertEqual(first, second)

    def test_matrix_is_current(self):
        done = explore("--check-matrix", str(REPOSITORY / "docs"))
        self.assertEqual(done.returncode, 0, done.stdout)

    def test_matrix_that_is_not_there_is_not_current(self):
        self.assertEqual(explore("--check-matrix", "/nowhere").returncode, 1)


if __name__ == "__main__":
    unittest.main()

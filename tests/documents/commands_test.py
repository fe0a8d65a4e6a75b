"""Runs the commands of the documents that need no virtual server, and fails for one that no test runs."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

import commands

BUILD = Path(os.environ["KESTREL_BUILD_DIR"])
REGISTERED = "\n".join(path.read_text() for path in (commands.REPOSITORY / "tests").rglob("CMakeLists.txt"))


class Coverage(unittest.TestCase):
    def test_some_test_runs_every_command(self):
        unknown = [command for command in commands.all_commands() if not commands.rule_of(command.line)]
        self.assertEqual(unknown, [], "Add a rule to tests/documents/commands.py, and see that the test runs them.")

    def test_every_rule_is_used(self):
        used = {commands.rule_of(command.line) for command in commands.all_commands()}
        self.assertEqual([rule.pattern for rule in commands.RULES if rule not in used], [])

    def test_the_tests_are_registered(self):
        for name in {rule.test for rule in commands.RULES}:
            self.assertTrue((commands.REPOSITORY / name).exists(), name)
            self.assertIn(Path(name).stem, REGISTERED)

    def test_commands_are_found_in_every_place(self):
        text = ("Text `./dev one` and `--flag`.\n\n    ./dev two    # why\n    ./dev three --x\n\n```\nlab/lab four  # why\n```\n"
                "\n```json\n{}\n```\n\n```console\n# echo five\nanswer\n```\n")
        self.assertEqual(sorted(commands.commands_in(text)),
                         ["./dev one", "./dev three --x", "./dev two", "echo five", "lab/lab four"])


class Here(unittest.TestCase):
    def test_they_succeed(self):
        folder = self.enterContext(tempfile.TemporaryDirectory(prefix="kestrel documents "))
        lines = commands.commands_for(commands.HERE)
        self.assertIn("./dev help", lines)
        for number, line in enumerate(lines):
            with self.subTest(line):
                place = Path(folder) / str(number)
                place.mkdir()
                text = commands.to_run(line, build=f"'{BUILD}'", folder=f"'{place}'")
                done = subprocess.run(["bash", "-euc", text], cwd=commands.REPOSITORY, capture_output=True, text=True,
                                      check=False)
                self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
                self.assertNotIn("Total Tests: 0", done.stdout)


if __name__ == "__main__":
    unittest.main()

"""What orvhost prints with --json, against its schema in docs/. The tests of the tool leave every object that they see
in a folder; this one reads them all, so it runs after them."""

import copy
import json
import os
import re
import unittest
from collections.abc import Callable
from pathlib import Path

import jsonschema

SOURCES = Path(__file__).resolve().parents[3]
SCHEMA = json.loads((SOURCES / "docs" / "orvhost-output.schema.json").read_text())
OUTPUTS = Path(os.environ["ORVHOST_OUTPUTS"])

# The tool's tests leave more than this; fewer are those of a selection, which ctest lets this test follow too.
ALL = 500

VALIDATOR = jsonschema.Draft202012Validator(SCHEMA)


def outputs() -> dict[str, dict]:
    """Every object that the tool's tests saw, by the test and its number."""
    return {path.stem: json.loads(path.read_text()) for path in sorted(OUTPUTS.glob("*.json"))}


def complaints(output: dict) -> list[str]:
    return [f"{'/'.join(map(str, error.absolute_path))}: {error.message}" for error in VALIDATOR.iter_errors(output)]


class OutputSchema(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.outputs = outputs()

    def an_output(self, **wanted) -> dict:
        for output in self.outputs.values():
            if all(output[name] == value for name, value in wanted.items()):
                return copy.deepcopy(output)
        self.need_all()
        self.fail(f"no output with {wanted}")

    def need_all(self):
        if len(self.outputs) < ALL:
            self.skipTest(f"only {len(self.outputs)} outputs: this followed a selection of the tool's tests")

    def test_the_schema_is_one(self):
        jsonschema.Draft202012Validator.check_schema(SCHEMA)

    def test_every_output_keeps_to_it(self):
        for name, output in self.outputs.items():
            with self.subTest(name):
                self.assertEqual(complaints(output), [])

    def test_every_subcommand_and_exit_code_was_seen(self):
        self.need_all()
        properties = SCHEMA["properties"]
        self.assertEqual({output["command"] for output in self.outputs.values()}, set(properties["command"]["enum"]))
        self.assertEqual({output["exit_code"] for output in self.outputs.values()},
                         set(range(properties["exit_code"]["maximum"] + 1)))

    def test_the_documents_have_every_fact(self):
        self.need_all()
        table = (SOURCES / "docs" / "orvhost-json.md").read_text().split("\n## Facts\n")[1].strip().split("\n\n")[0]
        documented = {(command, key) for row in table.splitlines()[2:]
                      for command in re.findall(r"`([\w-]+)`", row.split("|")[1])
                      for key in re.findall(r"`(\w+)`", row.split("|")[2])}
        seen = {(output["command"], key) for output in self.outputs.values() for key in output["facts"]}
        of_the_report = {("report", key) for command, key in seen if command == "report"} - {("report", "file")}
        self.assertEqual(seen - of_the_report, documented)

    def test_its_verdicts_are_those_of_the_sources(self):
        tool = "\n".join(path.read_text() for path in (SOURCES / "orvhost").rglob("*.cpp"))
        known = {verdict for rule in SCHEMA["allOf"] if "command" in rule["if"]["properties"]
                 for verdict in rule["then"].get("properties", {}).get("verdict", {}).get("enum", [])}
        for verdict in known:
            with self.subTest(verdict):
                self.assertIn(f'"{verdict}"', tool)
        stated = set(re.findall(
            r'verdict = "([a-z-]+)"|ExitCode::k\w+, "([a-z-]+)"|ExitCode\(run_?\), "([a-z-]+)"', tool))
        self.assertEqual({verdict for groups in stated for verdict in groups if verdict} - known, set())

    def assert_refused(self, change: Callable[[dict], object], **wanted):
        output = self.an_output(**wanted)
        self.assertEqual(complaints(output), [])
        change(output)
        self.assertNotEqual(complaints(output), [])

    def test_a_wrong_object_is_refused(self):
        for name in SCHEMA["required"]:
            with self.subTest(missing=name):
                self.assert_refused(lambda output, name=name: output.pop(name), command="update", verdict="updated")
        changes = {"schema": 1, "command": "frobnicate", "run_id": "7", "verdict": "verified", "exit_code": 7,
                   "changed": "yes", "before": None, "needs_apply": "no", "phase": "", "flash_touched": None, "summary": "",
                   "facts": {"package": 1}, "notices": [""], "error": {"cause": "It failed."}, "more": 1}
        for name, value in changes.items():
            with self.subTest(changed=name):
                self.assert_refused(lambda output, change={name: value}: output.update(change),
                                    command="update", verdict="updated")

    def test_a_wrong_failure_is_refused(self):
        for change in ({"flash_touched": False}, {"exit_code": 7}, {"error": None}, {"summary": "It failed."},
                       {"verdict": "updated"}):
            with self.subTest(changed=change):
                self.assert_refused(lambda output, change=change: output.update(change),
                                    verdict="update-failed", exit_code=8)
        self.assert_refused(lambda output: output["error"]["evidence"].pop("records"), exit_code=8)
        self.assert_refused(lambda output: output["error"].update(next_step=""), exit_code=8)

    def test_a_wrong_list_is_refused(self):
        self.assert_refused(lambda output: output.pop("explanations"), verdict="explained")
        self.assert_refused(lambda output: output["explanations"][0].update(kind="thing"), verdict="explained")
        self.assert_refused(lambda output: output["checks"][0].update(result="maybe"), verdict="valid")
        self.assert_refused(lambda output: output.update(checks=output["explanations"]), verdict="explained")


if __name__ == "__main__":
    unittest.main()

"""The tables of the documents against the sources: levels, records and codes of the trace, requests to the BMC, services
of the host, commands and orders of the virtual BMC, exit codes and subcommands of orvhost, its JSON and its journal."""

import json
import os
import re
import subprocess
import unittest
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
PLUGIN = ("ipmi", "svp", "firmware", "report", "provider")
SCHEMA = "docs/orvhost-output.schema.json"


def document(name: str) -> str:
    return (REPOSITORY / name).read_text()


def section(name: str, title: str) -> str:
    """What stands below a heading of a document, down to the next heading of the same depth."""
    depth = "#" * (len(title) - len(title.lstrip("#")))
    return document(name).split(f"\n{title}\n")[1].split(f"\n{depth} ")[0]


def rows(text: str) -> list:
    """The rows of a text's tables as lists of cells, without headings."""
    lines = re.findall(r"(?m)^\| ?(.*?) ?\|$", text)
    cells = [re.split(r" \| ", line) for line in lines]
    return [row for row, below in zip(cells, lines[1:] + [""]) if not row[0].startswith("---") and not below.startswith("---")]


def sources(*folders: str) -> str:
    return "\n".join(path.read_text() for folder in folders for path in sorted((REPOSITORY / folder).rglob("*.*"))
                     if path.suffix in (".h", ".cpp"))


class Trace(unittest.TestCase):
    def test_levels(self):
        values = re.findall(r"TRACE_DBG_\w+ = (\d+)", document("host/DllCommon.h"))
        stated = [row[0] for row in rows(document("docs/trace.md").split("\n## ")[0])]
        self.assertEqual(sorted(stated), sorted(values))

    def test_records_and_codes(self):
        done = subprocess.run([os.environ["ORVHOST"], "explain", "--json"], check=True, capture_output=True, text=True)
        known = json.loads(done.stdout)["explanations"]
        table = rows(section("docs/trace.md", "## Records"))
        stated = [name if name.startswith("MSGID") else f"MSGID_BMC_{name}"
                for row in table for name in re.findall(r"`([\w]+_F)`", row[0])]
        self.assertEqual(sorted(stated), sorted(entry["code"] for entry in known if entry["kind"] == "message"))
        codes = {run[at:at + 2] for row in table for run in re.findall(r"`((?:[0-9A-F]{2})+)`", row[2])
                 for at in range(0, len(run), 2)}
        self.assertEqual(sorted(codes - {"02", "01"}),  # the management library's own
                         sorted(entry["code"] for entry in known if entry["kind"] == "detail"))


class Requests(unittest.TestCase):
    def test_every_request_of_the_plugin(self):
        requests = [[byte.lower() for byte in re.findall(r'"([0-9a-fA-F]{2})"', request)]
                    for request in re.findall(r"\{((?:\"[0-9a-fA-F]{2}\"|fileId|event|, )+)\}",
                                              sources(*PLUGIN)) if request.count('"') >= 4]
        self.assertGreaterEqual(len(requests), 15)
        table = rows(document("docs/ipmi-commands.md").split("## Standard commands")[1])
        stated = [re.findall(r"\b[0-9a-f]{2}\b", (row[1] + " " + row[2]).lower()) for row in table if len(row) > 3]
        for request in requests:
            with self.subTest(" ".join(request)):
                # The bytes in their order; between them stand file and event in words.
                self.assertTrue([row for row in stated if row[:2] == request[:2]
                                 and all(byte in row for byte in request[2:])], "not in docs/ipmi-commands.md")

    def test_no_other_request(self):
        code = re.sub(r"(?m)^.*ConfigFile.*$", "", sources(*PLUGIN))
        own = set(re.findall(r'\{"([0-9a-fA-F]{2})", "([0-9a-fA-F]{2})"', code))
        own = {f"{netfn} {command}".lower() for netfn, command in own}
        stated = {command.lower() for command in
                  re.findall(r"\| `([0-9a-fA-F]{2} [0-9a-fA-F]{2})` \|", document("docs/ipmi-commands.md"))}
        self.assertEqual(stated, own)


class HostContract(unittest.TestCase):
    def test_every_service_is_in_the_headers(self):
        headers = sources("host")
        names = [name for row in rows(section("docs/host-contract.md", "## What the plug-in relies on"))
                 for name in re.findall(r"`(~?\w+)`", row[0])]
        self.assertIn("ExecForeignModule", names)
        for name in names:
            self.assertIn(f"{name}(", headers)


    def test_every_special_value(self):
        built = re.findall(r"(?m)^inline constexpr .*?\b(k[A-Z]\w+) = ([^;]+);", document("host/Results.h"))
        self.assertGreaterEqual(len(built), 14)
        table = " ".join(row[0] for row in rows(section("docs/host-contract.md", "## Special values")))
        for name, value in built:
            with self.subTest(name):
                value = {"~0UL": "all bits set"}.get(value, value)
                shown = f"`{value}`" if value.startswith('"') else value
                self.assertIn(f"`{name}` {shown}", table)
        self.assertEqual(sorted(re.findall(r"`(k\w+)`", table)), sorted(name for name, _ in built))


class VirtualServer(unittest.TestCase):
    def test_every_command_of_the_bmc(self):
        built = {f"{netfn} {command}" for netfn, command in
                 re.findall(r"\{0x([0-9a-f]{2}), 0x([0-9a-f]{2}), [^}]*&\w+::", sources("lab/bmc"))}
        stated = set(re.findall(r"(?m)^\| `([0-9a-f]{2} [0-9a-f]{2})\b",
                                section("docs/lab.md", "## The BMC's commands")))
        self.assertGreater(len(built), 20)
        self.assertEqual(stated - {"06 01"}, built)  # the simulator's own

    def test_every_order(self):
        built = re.findall(r'\{"([a-z-]+)", &Server::Order', sources("lab/server"))
        stated = [re.match(r"`([a-z-]+)", row[0]).group(1) for row in rows(section("docs/lab.md", "## Orders"))]
        self.assertEqual(sorted(stated), sorted(built))


class Orvhost(unittest.TestCase):
    def test_every_exit_code(self):
        codes = re.findall(r"(?m)^  k\w+ = (\d+), ", document("orvhost/interface/outcome.h"))
        stated = re.findall(r"(?m)^\| (\d+) \| .* \|$",
                            document("orvhost/README.md").split("| Exit code |")[1].split("\n\n")[0])
        self.assertEqual(stated, codes)

    def test_every_subcommand(self):
        built = re.findall(r'"([a-z-]+)"', re.search(r'"command": \{\s*"enum": \[(.*?)\]', document(SCHEMA), re.DOTALL)[1])
        table = section("orvhost/README.md", "### Subcommands")
        self.assertEqual(re.findall(r"(?m)^    orvhost ([\w-]+)", table), built)

    def test_the_flash_tool_is_where_the_plugin_looks(self):
        install_path = re.search(r'installPath = "(.+?)"', document("refhost/settings.h"))[1]
        below = re.search(r'GetInstallPath\(host::kInstallation\) \+ "(/\w+/Yafuflash)"', document("firmware/flash_tool_method.cpp"))[1]
        self.assertIn(f" {install_path}{below}\n", document("README.md"))

    def test_the_makers_tool_is_where_the_plugin_looks(self):
        paths = re.findall(r'k(?:MakersTool|Ipmitool) = "(.+?)"', sources("ipmi"))
        self.assertEqual(len(paths), 2)
        self.assertEqual([row[1].strip("`") for row in rows(section("docs/ipmi-commands.md", "## The tools"))], paths)
        self.assertIn(f"`{paths[0]}`", document("README.md"))

    def test_symptoms_are_texts_of_the_program(self):
        texts = re.sub(r'"\n *"', "", sources("orvhost", "refhost/common", "refhost/base"))
        quoted = re.findall(r'"([^"]+)"', " ".join(row[0] for row in rows(document("docs/troubleshooting.md"))))
        self.assertGreater(len(quoted), 1)
        for text in quoted:
            for part in text.split(": "):
                self.assertIn(part, texts)


def verdict_rows(title: str) -> list[tuple[list[str], str]]:
    """The verdicts and the exit codes of each row below a heading of docs/orvhost-json.md."""
    table = rows(section("docs/orvhost-json.md", title))
    return [(re.findall(r"`([\w-]+)`", row[0]), row[1]) for row in table]


class Json(unittest.TestCase):
    schema = json.loads(document(SCHEMA))
    commands = [name for name in schema["properties"]["command"]["enum"] if name]
    common = "## Verdicts of every subcommand"
    with_plugin = "## Verdicts of every subcommand that loads a plug-in"

    def rules(self, name: str) -> dict:
        """For each value that the schema has a rule for: the verdicts that go with it."""
        found = {}
        for rule in self.schema["allOf"]:
            value = rule["if"]["properties"].get(name, {}).get("const")
            verdict = rule["then"]["properties"].get("verdict", {}) if value is not None else {}
            if "enum" in verdict:
                found[value] = set(verdict["enum"])
        return found

    def test_every_field(self):
        listed = [row[0].strip("`") for row in rows(section("docs/orvhost-json.md", "## The object"))]
        self.assertEqual(sorted(listed), sorted(self.schema["properties"]))

    def test_the_fields_of_the_lists(self):
        table = {row[0].strip("`"): row[1] for row in rows(section("docs/orvhost-json.md", "## The object"))}
        lists = {name: field for name, field in self.schema["properties"].items() if "required" in field.get("items", {})}
        self.assertEqual(sorted(lists), ["checks", "explanations", "metrics", "runs", "timeline"])
        for name, field in lists.items():
            for member in field["items"]["required"]:
                self.assertIn(f"`{member}`", table[name])

    def test_every_verdict_of_every_subcommand(self):
        titles = re.findall(r"(?m)^### ([\w-]+)$", document("docs/orvhost-json.md"))
        self.assertEqual(titles, self.commands)
        common = {verdict for verdicts, _ in verdict_rows(self.common) for verdict in verdicts}
        with_plugin = {verdict for verdicts, _ in verdict_rows(self.with_plugin) for verdict in verdicts}
        loads = set(re.findall(r"`(\w+)`", section("docs/orvhost-json.md", self.with_plugin).split("|")[0]))
        for command, allowed in self.rules("command").items():
            with self.subTest(command):
                own = [verdict for verdicts, _ in verdict_rows(f"### {command}") for verdict in verdicts]
                self.assertEqual(len(own), len(set(own)))
                self.assertEqual(set(own) | common | (with_plugin if command in loads else set()), allowed)

    def test_the_exit_code_of_every_verdict(self):
        by_code = self.rules("exit_code")
        self.assertGreaterEqual(len(by_code), 7)
        self.assertLessEqual({0, 2, 3}, set(by_code))
        for title in [self.common, self.with_plugin, *(f"### {command}" for command in self.commands)]:
            for verdicts, codes in verdict_rows(title):
                first, *last = map(int, re.findall(r"\d+", codes))
                listed = set(range(first, last[0] + 1)) if " to " in codes else {first, *last}
                for verdict in verdicts:
                    with self.subTest(f"{title} {verdict}"):
                        own = {code for code, its in by_code.items() if verdict in its} or {1, 7, 8}
                        self.assertTrue(listed & own if " to " in codes else listed <= own, f"{listed}, not {own}")

    def test_the_diagnoses(self):
        listed = [row[0].strip("`") for row in rows(section("docs/journal.md", "## Looking back"))]
        own = {verdict for verdicts, codes in verdict_rows("### diagnose") for verdict in verdicts if codes == "0"}
        self.assertEqual(sorted(listed), sorted(own))


class Server(unittest.TestCase):
    def test_the_message_ids(self):
        """As the document says that they are made, and as a test of the program has them."""
        made = {}
        for verdict, number in (re.findall(r"`([^`]+)`", " ".join(row)) for row in
                                rows(section("docs/on-a-server.md", "## Messages in the log"))[-8:]):
            value = 0x6c62272e07bb014262b821756295c58d
            for letter in f"orvhost {verdict}".encode():
                value = (value ^ letter) * 0x1000000000000000000013b % (1 << 128)
            made[verdict] = f"{value:032x}"
            self.assertEqual(number, made[verdict], verdict)
        pinned = dict(re.findall(r'MessageId\("([\w-]+)"\), "(\w+)"', sources("tests/orvhost/run")))
        self.assertGreaterEqual(len(pinned), 3)
        self.assertEqual({verdict: made.get(verdict) for verdict in pinned}, pinned)

    def test_every_metric(self):
        named = re.findall(r'Add\(\s*"(\w+)"', document("orvhost/commands/metrics.cpp"))
        listed = [name for row in rows(section("docs/on-a-server.md", "## Metrics"))
                  for name in re.findall(r"`orvhost_(\w+)`", row[0])]
        self.assertGreaterEqual(len(named), 10)
        self.assertEqual(sorted(listed), sorted(named))


class Journal(unittest.TestCase):
    def test_every_kind_of_line(self):
        written = re.findall(r'Append\(\s*"(\w+)"', document("orvhost/journal/journal.cpp"))
        self.assertGreaterEqual(len(written), 9)
        listed = [row[0].strip("`") for row in rows(section("docs/journal.md", "## The file"))]
        self.assertEqual(sorted(listed), sorted(set(written)))

    def test_how_many_are_kept(self):
        kept = re.findall(r"kKept\w+ = (\d+);", document("orvhost/journal/journal_folder.h"))
        self.assertEqual(re.findall(r"newest (\d+)", section("docs/journal.md", "## The file")), kept)


if __name__ == "__main__":
    unittest.main()

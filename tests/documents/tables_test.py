"""The tables of docs/ against the sources: levels, records and codes of the trace, requests to the BMC, services of the
host, commands and orders of the virtual BMC, exit codes."""

import json
import os
import re
import subprocess
import unittest
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
PLUGIN = ("ipmi", "svp", "firmware", "report", "provider")


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
        told = [row[0] for row in rows(document("docs/trace.md").split("\n## ")[0])]
        self.assertEqual(sorted(told), sorted(values))

    def test_records_and_codes(self):
        done = subprocess.run([os.environ["ORVHOST"], "explain", "--json"], check=True, capture_output=True, text=True)
        known = json.loads(done.stdout)["explanations"]
        table = rows(section("docs/trace.md", "## Records"))
        told = [name if name.startswith("MSGID") else f"MSGID_BMC_{name}"
                for row in table for name in re.findall(r"`([\w]+_F)`", row[0])]
        self.assertEqual(sorted(told), sorted(entry["code"] for entry in known if entry["kind"] == "message"))
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
        told = [re.findall(r"\b[0-9a-f]{2}\b", (row[1] + " " + row[2]).lower()) for row in table if len(row) > 3]
        for request in requests:
            with self.subTest(" ".join(request)):
                # The bytes in their order; between them stand file and event in words.
                self.assertTrue([row for row in told if row[:2] == request[:2]
                                 and all(byte in row for byte in request[2:])], "not in docs/ipmi-commands.md")

    def test_no_other_request(self):
        own = set(re.findall(r'(?m)^(?!.*ConfigFile).*\{"([0-9a-fA-F]{2})", "([0-9a-fA-F]{2})"', sources(*PLUGIN)))
        own = {f"{netfn} {command}".lower() for netfn, command in own}
        told = {command.lower() for command in re.findall(r"\| `([0-9a-fA-F]{2} [0-9a-fA-F]{2})` \|", document("docs/ipmi-commands.md"))}
        self.assertEqual(told, own)


class HostContract(unittest.TestCase):
    def test_every_service_is_in_the_headers(self):
        headers = sources("host")
        names = [name for row in rows(section("docs/host-contract.md", "## What the plug-in relies on"))
                 for name in re.findall(r"`(~?\w+)`", row[0])]
        self.assertIn("ExecForeignModule", names)
        for name in names:
            self.assertIn(f"{name}(", headers)


class VirtualServer(unittest.TestCase):
    def test_every_command_of_the_bmc(self):
        built = {f"{netfn} {command}" for netfn, command in
                 re.findall(r"\{0x([0-9a-f]{2}), 0x([0-9a-f]{2}), [^}]*&\w+::", sources("lab/bmc"))}
        told = set(re.findall(r"(?m)^\| `([0-9a-f]{2} [0-9a-f]{2})\b", section("docs/lab.md", "## The BMC's commands")))
        self.assertGreater(len(built), 20)
        self.assertEqual(told - {"06 01"}, built)  # the simulator's own

    def test_every_order(self):
        built = re.findall(r'\{"([a-z-]+)", &Server::Order', sources("lab/server"))
        told = [re.match(r"`([a-z-]+)", row[0]).group(1) for row in rows(section("docs/lab.md", "## Orders"))]
        self.assertEqual(sorted(told), sorted(built))


class Orvhost(unittest.TestCase):
    def test_every_exit_code(self):
        codes = re.findall(r"(?m)^  k\w+ = (\d+), ", document("orvhost/interface/outcome.h"))
        told = re.findall(r"(?m)^\| (\d+) \| .* \|$", document("orvhost/README.md").split("| Exit code |")[1].split("\n\n")[0])
        self.assertEqual(told, codes)

    def test_symptoms_are_texts_of_the_program(self):
        texts = re.sub(r'"\n *"', "", sources("orvhost", "refhost/common", "refhost/base"))
        quoted = re.findall(r'"([^"]+)"', " ".join(row[0] for row in rows(document("docs/troubleshooting.md"))))
        self.assertGreater(len(quoted), 1)
        for text in quoted:
            for part in text.split(": "):
                self.assertIn(part, texts)


if __name__ == "__main__":
    unittest.main()

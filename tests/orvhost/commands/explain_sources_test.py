"""Every identifier and detail code that the plug-in's sources write has its texts in the catalogue, and the catalogue
holds no other. The catalogue is asked as an operator asks it: by "orvhost explain"."""

import json
import os
import re
import subprocess
import unittest
from pathlib import Path

ORVHOST = os.environ["ORVHOST"]
SOURCES = Path(__file__).resolve().parents[3]
ROOMS = ("ipmi", "svp", "firmware", "report", "provider")

IDENTIFIER = re.compile(r'"(MSGID_BMC_\d{4}_F)"')
# A text of upper-case hexadecimal pairs is a detail code unless it stands in one of the places below.
PAIRS = re.compile(r'"((?:[0-9A-F]{2})+)"')
NO_DETAIL = (
    re.compile(r"//[^\n]*"),  # comment
    re.compile(r'[!=]= "[^"]*"'),  # compared with what somebody else wrote
    re.compile(r'(?:Succeeded|starts_with|emplace_back)\("[^"]*"\)'),  # an answer, a version, a byte of a record
    re.compile(r'(?:record|record\.insert)\([^;]*;'),  # bytes of a record
    re.compile(r'constexpr (?:ConfigFile|std::string_view|IpmiRequest)\b[^;]*;'),  # other constants
)
# The tables of requests hold bytes and nothing else.
REQUEST_TABLE = re.compile(r"^requests\.(h|cpp)$")


def plugin_sources() -> list[Path]:
    return sorted(path for room in ROOMS for path in (SOURCES / room).glob("*.*") if path.suffix in (".h", ".cpp"))


def identifiers_in(text: str) -> set[str]:
    return set(IDENTIFIER.findall(text))


def details_in(text: str) -> set[str]:
    for place in NO_DETAIL:
        text = place.sub("", text)
    return {run[at:at + 2] for run in PAIRS.findall(text) for at in range(0, len(run), 2)}


def written() -> tuple[set[str], set[str]]:
    """The identifiers and the detail codes that the plug-in's sources write."""
    identifiers, details = set(), set()
    for path in plugin_sources():
        text = path.read_text()
        identifiers |= identifiers_in(text)
        if not REQUEST_TABLE.match(path.name):
            details |= details_in(text)
    return identifiers, details


class CatalogueSources(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        done = subprocess.run([ORVHOST, "explain", "--json"], check=True, capture_output=True, text=True)
        cls.explanations = json.loads(done.stdout)["explanations"]

    def known(self, kind: str) -> set[str]:
        return {each["code"] for each in self.explanations if each["kind"] == kind}

    def test_every_identifier_has_a_message_and_every_message_a_writer(self):
        self.assertEqual(written()[0], self.known("message"))

    def test_every_detail_code_has_a_meaning_and_every_meaning_a_writer(self):
        self.assertEqual(written()[1], self.known("detail"))

    def test_every_text_is_made_of_whole_sentences(self):
        for each in self.explanations:
            for part in ("failed", "means", "do"):
                with self.subTest(code=each["code"], part=part):
                    self.assertRegex(each[part], r"^[A-Z][^%]*\.$")

    def test_the_walk_finds_what_stands_in_each_way_of_writing(self):
        self.assertEqual(identifiers_in('CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0042_F", "3A");'),
                         {"MSGID_BMC_0042_F"})
        self.assertEqual(details_in('detail_ = "3A"; detail.insert(0, bad ? "3B" : "3C"); Fail("3D3E");'),
                         {"3A", "3B", "3C", "3D", "3E"})
        self.assertEqual(details_in('if (code == "3A" || reply.Succeeded("01")) return;  // not "3B"'), set())


if __name__ == "__main__":
    unittest.main()

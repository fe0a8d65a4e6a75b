"""Every line of the plug-in's trace that the tool reads stands in the plug-in's sources, in these words, and the tool
knows the wording in one place only."""

import re
import unittest
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[3]
ROOMS = ("ipmi", "firmware", "svp", "report", "provider")
TOOL = SOURCES / "orvhost"
HEADER = TOOL / "trace" / "plugin_lines.h"

GLUE = re.compile(r"[\s+]*")  # between two literals that make one text
TRACED = re.compile(r"\b(?:WriteDebug|EndAs|OperationTrace trace)\((.*?)\);", re.DOTALL)
RECORDED = re.compile(r"\bWriteTrace\((.*?)\);", re.DOTALL)
REQUEST = re.compile(r'\{("[0-9a-fA-F]{2}", "[0-9a-fA-F]{2}"[^{}]*)\}')
WORDING = re.compile(r'\{("(?:\\.|[^"\\])*"), "')  # in a table: the plug-in's text, not the words for people


def without_comments(source: str) -> str:
    """Also without raw texts, which are help for people."""
    source = re.sub(r'R"\(.*?\)"', '""', source, flags=re.DOTALL)
    return re.sub(r'("(?:\\.|[^"\\\n])*")|//[^\n]*', lambda found: found[1] or "", source)


def literals_in(code: str) -> list[str]:
    """The texts of a piece of code without comments, those that are put together from literals as one."""
    texts, last_end = [], None
    for found in re.finditer(r'"((?:\\.|[^"\\])*)"', code):
        text = re.sub(r"\\(.)", r"\1", found[1])
        if last_end is not None and GLUE.fullmatch(code, last_end, found.start()):
            texts[-1] += text
        else:
            texts.append(text)
        last_end = found.end()
    return texts


def plugin_source() -> str:
    paths = sorted(path for room in ROOMS for path in (SOURCES / room).glob("*.*") if path.suffix in (".h", ".cpp"))
    return "\n".join(without_comments(path.read_text()) for path in paths)


def known_in(header: str, section: str) -> list[str]:
    """The plug-in's texts in one section (namespace) of the header."""
    body = re.search(rf"^namespace {section} \{{$(.*?)^\}}  // namespace {section}$", header, re.DOTALL | re.MULTILINE)
    code = without_comments(body[1])
    constants = re.findall(r'std::string_view k\w+ =\s*("(?:\\.|[^"\\])*");', code)
    return literals_in("\n,".join(constants + WORDING.findall(code)))


class Plugin:
    """What the plug-in's sources write."""

    def __init__(self, source: str):
        self.lines = [text for call in TRACED.findall(source) for text in literals_in(call)]
        self.records = {text for call in RECORDED.findall(source) for text in literals_in(call)}
        self.texts = literals_in(source)
        self.requests = {" ".join(literals_in(request)) for request in REQUEST.findall(source)}

    def missing(self, section: str, text: str) -> str:
        """"" when the plug-in writes it; otherwise the sentence that says what is wrong."""
        where = {"lines": ("line begins with", any(line.startswith(text) for line in self.lines)),
                 "parts": ("line holds", any(text in line for line in self.lines)),
                 "commands": ("text holds", any(text in each for each in self.texts)),
                 "requests": ("request begins with", any((each + " ").startswith(text + " ") for each in self.requests)),
                 "records": ("record has", text in self.records or any(text in each for each in self.texts))}
        how, found = where[section]
        return "" if found else f'No {how} "{text}" in the plug-in\'s sources, but {HEADER.name} says so.'


class PluginLines(unittest.TestCase):
    SECTIONS = {"lines": 40, "parts": 8, "commands": 6, "requests": 12, "records": 6}  # at least so many texts

    @classmethod
    def setUpClass(cls):
        cls.header = HEADER.read_text()
        cls.plugin = Plugin(plugin_source())

    def test_every_line_that_the_tool_knows_is_written_by_the_plugin(self):
        for section, least in self.SECTIONS.items():
            known = known_in(self.header, section)
            self.assertGreaterEqual(len(known), least, f"the walk of {HEADER.name} misses texts of {section}")
            for text in known:
                with self.subTest(section=section, text=text):
                    if problem := self.plugin.missing(section, text):
                        self.fail(problem)

    def test_every_text_of_the_header_is_looked_for(self):
        checked = sum(len(known_in(self.header, section)) for section in self.SECTIONS)
        code = without_comments(self.header)
        words = len(re.findall(r'(?:\{"(?:\\.|[^"\\])*"|\{k\w+), "', code)) + len(re.findall(r"k\w*Words =", code))
        includes = len(re.findall(r'#include "', code))
        self.assertEqual(checked + words + includes, len(re.findall(r'"(?:\\.|[^"\\])*"', code)))

    def test_no_other_place_of_the_tool_knows_one(self):
        # Short texts such as " < " and detail codes mean something else elsewhere.
        known = [text for section in self.SECTIONS for text in known_in(self.header, section)
                 if len(text) > 6 and section != "requests"]
        for path in sorted(TOOL.rglob("*.*")):
            if path.suffix not in (".h", ".cpp") or path == HEADER:
                continue
            for literal in literals_in(without_comments(path.read_text())):
                for text in known:
                    if literal.startswith(text):
                        self.fail(f'{path.relative_to(SOURCES)} knows the plug-in\'s "{text}" by itself: '
                                  f"take it from {HEADER.name}.")

    def test_a_text_that_the_plugin_does_not_write_is_found_missing(self):
        for section in self.SECTIONS:
            with self.subTest(section=section):
                self.assertIn('"Hello BMC"', self.plugin.missing(section, "Hello BMC"))

    def test_a_text_that_is_only_compared_or_run_is_no_line(self):
        plugin = Plugin('if (text == "One") { std::system("Two"); WriteDebug(kChannel, kInfo, "Three" " %s", four); }')
        self.assertEqual(plugin.lines, ["Three %s"])
        self.assertNotEqual(plugin.missing("lines", "One"), "")
        self.assertNotEqual(plugin.missing("lines", "Two"), "")
        self.assertNotEqual(plugin.missing("lines", "hree"), "")
        self.assertEqual(plugin.missing("parts", "hree"), "")


if __name__ == "__main__":
    unittest.main()

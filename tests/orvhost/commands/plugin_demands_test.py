"""What the tool says that the plug-in demands stands in the plug-in's sources, in these words, and a plug-in that was
built with the placeholder of the write-mode phrase can be known by its file."""

import os
import re
import unittest
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[3]
ROOMS = ("ipmi", "firmware", "provider")
HEADER = (SOURCES / "orvhost" / "commands" / "plugin_demands.h").read_text()
PLUGIN = Path(os.environ["PLUGIN"])
PHRASE = os.environ["WRITE_MODE_PHRASE"]


def literals(text: str) -> list[str]:
    return re.findall(r'"((?:\\.|[^"\\])*)"', re.sub(r"//[^\n]*|#include[^\n]*", "", text))


def constant(name: str) -> str:
    return re.search(rf'{name} =\s*"([^"]*)";', HEADER)[1]


class PluginDemands(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        paths = [path for room in ROOMS for path in (SOURCES / room).glob("*.*") if path.suffix in (".h", ".cpp")]
        cls.plugin = [text for path in paths for text in literals(path.read_text())]

    def test_every_text_stands_in_the_plugins_sources(self):
        demanded = [text for text in literals(HEADER) if text != constant("kPhrasePlaceholder")]
        self.assertGreaterEqual(len(demanded), 10)
        for text in demanded:
            with self.subTest(text):
                self.assertIn(text, self.plugin)

    def test_a_text_that_the_plugin_does_not_know_is_missed(self):
        self.assertNotIn("/KV6KBMC/OtherTool", self.plugin)

    def test_the_placeholder_is_that_of_the_build(self):
        build = (SOURCES / "CMakeLists.txt").read_text()
        self.assertIn(f'set(KESTREL_WRITE_MODE_PHRASE "{constant("kPhrasePlaceholder")}" CACHE STRING', build)

    def test_a_plugin_that_was_built_with_the_placeholder_holds_it(self):
        placeholder = constant("kPhrasePlaceholder")
        self.assertEqual(placeholder.encode() in PLUGIN.read_bytes(), PHRASE == placeholder)
        self.assertIn(PHRASE.encode(), PLUGIN.read_bytes())


if __name__ == "__main__":
    unittest.main()

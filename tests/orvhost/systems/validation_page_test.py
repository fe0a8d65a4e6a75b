"""The page of a validation in a real browser: whole, silent, and drawn at two widths, light and dark."""

import json
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from browser import NOT_INSTALLED, Browser, faults_of

TOOL = os.environ["ORVHOST"]
PLUGIN = os.environ["TEST_PLUGIN_PATH"]


class ValidationPage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="orvhost-validation-")))
        cls.browser = Browser(cls.folder / "browser")
        cls.pages = {}
        for words, status in (("", 0), ("crashes", 3)):
            page = cls.folder / f"page{status}.html"
            done = subprocess.run([TOOL, "validate", PLUGIN, "--html", page, "--json"], capture_output=True, check=False,
                                  env={**os.environ, "TEST_PLUGIN": words})
            cls.pages[page] = json.loads(done.stdout)
            if done.returncode != status:
                raise AssertionError(done.stdout + done.stderr)
        page = cls.folder / "hostile.html"
        done = subprocess.run([TOOL, "validate", PLUGIN, "--class", "<b>&\"'\x1b[1m", "--html", page, "--json"],
                              capture_output=True, check=False)
        cls.pages[page] = json.loads(done.stdout)

    def test_they_are_whole_and_fetch_nothing(self):
        for page in self.pages:
            with self.subTest(page.name):
                self.assertEqual(faults_of(page.read_text()), [])
        self.assertIn("&lt;b&gt;&amp;&quot;&#39;", (self.folder / "hostile.html").read_text())

    def test_they_say_what_the_object_says(self):
        for page, said in self.pages.items():
            with self.subTest(page.name):
                text = page.read_text()
                self.assertEqual(len(re.findall("<tr", text)), 1 + len(said["checks"]))
                for check in said["checks"]:
                    self.assertIn(f"<b>{check['name']}</b><br>", text)
                for fact in ("plugin", "plugin_sha256", "validated", "host", "liborv_dllcommon_so_sha256"):
                    self.assertIn(f"<dd>{said['facts'][fact]}</dd>", text)
                self.assertIn(f"{said['verdict']}, exit code {said['exit_code']}</p>", text)
                self.assertEqual(said["facts"]["page"], str(page))
        self.assertIn("it was ended by signal 11", (self.folder / "page3.html").read_text())

    @unittest.skipIf(NOT_INSTALLED, "not installed: chromium")
    def test_a_browser_reads_them_without_a_word(self):
        for page in self.pages:
            self.assertEqual(self.browser.console(page), [], page.name)

    @unittest.skipIf(NOT_INSTALLED, "not installed: chromium")
    def test_they_are_drawn_at_two_widths_light_and_dark(self):
        for page in list(self.pages)[:2]:
            self.browser.assert_drawn(self, page)


if __name__ == "__main__":
    unittest.main()

"""The page of a run in a real browser: whole, silent, and drawn at two widths, light and dark; also on paper."""

import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

from browser import NOT_INSTALLED, Browser, faults_of

HERE = Path(__file__).resolve().parent
SHOWN = HERE.parents[2] / "docs" / "run-page.html"  # KESTREL_RENEW_GOLDEN=1 makes it anew
TALKATIVE = "<!DOCTYPE html><title>x</title><script>console.log('heard')</script>"


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="orvhost-page-")))
        environment = {**os.environ, "ORVHOST_LAB_MACHINE": "1", "ORVHOST_LAB_LOCK_FOLDER": str(cls.folder / "runs"),
                       "ORVHOST_LAB_SLEEP_SCALE": "0.001", "TEST_PLUGIN": "traces-controls"}
        tool = [os.environ["ORVHOST"], "--install-path", str(cls.folder / "path"), "--plugin", os.environ["TEST_PLUGIN_PATH"]]
        subprocess.run([*tool, "--server-type", "<b>kv</b>", "identify"], env=environment, check=True, capture_output=True)
        cls.page = cls.folder / "page.html"
        cls.browser = Browser(cls.folder / "browser")
        subprocess.run([*tool, "show", "last", "--html", str(cls.page)], env=environment, check=True, capture_output=True)

    def test_the_documents_show_one_as_it_is_today(self):
        path = self.folder / "shown"
        (path / "journal").mkdir(parents=True)
        shutil.copy(HERE / "failed_update.jsonl", path / "journal" / "00000003-20261122T185732Z.jsonl")
        made = self.folder / "shown.html"
        subprocess.run([os.environ["ORVHOST"], "--install-path", path, "show", "3", "--html", made], check=True,
                       capture_output=True)
        today = made.read_text().replace(str(path), "/srv/orv")
        if os.environ.get("KESTREL_RENEW_GOLDEN"):
            SHOWN.write_text(today)
        without_version = re.compile(r"(?<=<footer>Made by orvhost )[\d.]+")
        self.assertEqual(without_version.sub("", today), without_version.sub("", SHOWN.read_text()))

    def test_it_is_whole_and_fetches_nothing(self):
        text = self.page.read_text()
        self.assertEqual(faults_of(text), [])
        self.assertIn("&lt;b&gt;kv&lt;/b&gt;", text)

    @unittest.skipIf(NOT_INSTALLED, "not installed: chromium")
    def test_a_browser_reads_it_without_a_word(self):
        self.assertEqual(self.browser.console(self.page), [])
        seen = self.browser.run(self.page, "--dump-dom").stdout.decode()
        self.assertEqual(len(re.findall("<tr", seen)), len(re.findall("<tr", self.page.read_text())))
        talkative = self.folder / "talkative.html"
        talkative.write_text(TALKATIVE)
        self.assertIn("heard", "".join(self.browser.console(talkative)), "no message would be seen")
        # The page's own policy keeps a script from running even if one came into it.
        talkative.write_text(self.page.read_text().replace("</body>", "<script>console.log('heard')</script></body>"))
        self.assertNotIn('"heard"', "".join(self.browser.console(talkative)))

    @unittest.skipIf(NOT_INSTALLED, "not installed: chromium")
    def test_it_is_drawn_at_two_widths_light_and_dark(self):
        self.browser.assert_drawn(self, self.page)

    @unittest.skipIf(NOT_INSTALLED, "not installed: chromium")
    def test_it_can_be_printed(self):
        paper = self.folder / "page.pdf"
        self.browser.run(self.page, f"--print-to-pdf={paper}")
        self.assertTrue(paper.read_bytes().startswith(b"%PDF-"))
        self.assertGreater(paper.stat().st_size, 5000)


if __name__ == "__main__":
    unittest.main()

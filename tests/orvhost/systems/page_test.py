"""The page of a run in a real browser: whole, silent, and drawn at two widths, light and dark; also on paper."""

import os
import re
import shutil
import struct
import subprocess
import tempfile
import unittest
import zlib
from html.parser import HTMLParser
from pathlib import Path

VOID = {"meta", "link", "br", "hr", "img", "input"}
HERE = Path(__file__).resolve().parent
SHOWN = HERE.parents[2] / "docs" / "run-page.html"  # KESTREL_RENEW_GOLDEN=1 makes it anew
TALKATIVE = "<!DOCTYPE html><title>x</title><script>console.log('heard')</script>"


class Nesting(HTMLParser):
    """Complains about an element that is not closed where it must be, and keeps what would fetch something."""

    def __init__(self):
        super().__init__()
        self.open, self.complaints, self.elements, self.sources = [], [], set(), []

    def handle_starttag(self, tag, attrs):
        self.elements.add(tag)
        self.sources += [value for name, value in attrs if name in ("src", "href", "action", "data", "srcset")]
        self.complaints += [f"a script: {name}" for name, _ in attrs if name.startswith("on")]
        if tag not in VOID:
            self.open.append(tag)

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag:
            self.complaints.append(f"</{tag}> at {self.getpos()}")


def pixels(png: bytes) -> tuple[int, int, set]:
    """Width, height and the different bytes of a PNG's picture, still filtered: enough to know a blank one."""
    width, height = struct.unpack(">II", png[16:24])
    data, at = b"", 8
    while at < len(png):
        length, kind = struct.unpack(">I4s", png[at:at + 8])
        data += png[at + 8:at + 8 + length] if kind == b"IDAT" else b""
        at += length + 12
    return width, height, set(zlib.decompress(data))


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="orvhost-page-")))
        environment = {**os.environ, "ORVHOST_LAB_MACHINE": "1", "ORVHOST_LAB_LOCK_FOLDER": str(cls.folder / "runs"),
                       "ORVHOST_LAB_SLEEP_SCALE": "0.001", "TEST_PLUGIN": "traces-controls"}
        tool = [os.environ["ORVHOST"], "--install-path", str(cls.folder / "path"), "--plugin", os.environ["TEST_PLUGIN_PATH"]]
        subprocess.run([*tool, "--server-type", "<b>kv</b>", "identify"], env=environment, check=True, capture_output=True)
        cls.page = cls.folder / "page.html"
        subprocess.run([*tool, "show", "last", "--html", str(cls.page)], env=environment, check=True, capture_output=True)

    def chromium(self, page: Path, *options: str) -> subprocess.CompletedProcess:
        return subprocess.run(["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars",
                               "--enable-logging=stderr", f"--user-data-dir={self.folder}/browser", *options, page.as_uri()],
                              capture_output=True, check=True, timeout=300)

    def console(self, page: Path) -> list[str]:
        done = self.chromium(page, "--dump-dom")
        return [line for line in done.stderr.decode(errors="replace").splitlines() if "CONSOLE" in line]

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
        parser = Nesting()
        parser.feed(text)
        parser.close()
        self.assertEqual((parser.complaints, parser.open), ([], []))
        self.assertEqual(parser.sources, ["data:,"])
        self.assertNotIn("script", parser.elements)
        self.assertNotRegex(text, r"url\(|@import|https?:")
        self.assertIn("&lt;b&gt;kv&lt;/b&gt;", text)

    @unittest.skipIf(shutil.which("chromium") is None, "not installed: chromium")
    def test_a_browser_reads_it_without_a_word(self):
        self.assertEqual(self.console(self.page), [])
        seen = self.chromium(self.page, "--dump-dom").stdout.decode()
        self.assertEqual(len(re.findall("<tr", seen)), len(re.findall("<tr", self.page.read_text())))
        talkative = self.folder / "talkative.html"
        talkative.write_text(TALKATIVE)
        self.assertIn("heard", "".join(self.console(talkative)), "no message would be seen")
        # The page's own policy keeps a script from running even if one came into it.
        talkative.write_text(self.page.read_text().replace("</body>", "<script>console.log('heard')</script></body>"))
        self.assertNotIn('"heard"', "".join(self.console(talkative)))

    @unittest.skipIf(shutil.which("chromium") is None, "not installed: chromium")
    def test_it_is_drawn_at_two_widths_light_and_dark(self):
        grounds = {}
        for width in (1200, 480):
            for theme, options in (("light", []), ("dark", ["--blink-settings=preferredColorScheme=0"])):
                picture = self.folder / f"{theme}{width}.png"
                self.chromium(self.page, f"--window-size={width},1000", f"--screenshot={picture}", *options)
                seen_width, seen_height, shades = pixels(picture.read_bytes())
                self.assertEqual((seen_width, seen_height), (width, 1000))
                self.assertGreater(len(shades), 20, "a blank picture")
                grounds[theme, width] = picture.read_bytes()
        for width in (1200, 480):
            self.assertNotEqual(grounds["light", width], grounds["dark", width])

    @unittest.skipIf(shutil.which("chromium") is None, "not installed: chromium")
    def test_it_can_be_printed(self):
        paper = self.folder / "page.pdf"
        self.chromium(self.page, f"--print-to-pdf={paper}")
        self.assertTrue(paper.read_bytes().startswith(b"%PDF-"))
        self.assertGreater(paper.stat().st_size, 5000)


if __name__ == "__main__":
    unittest.main()

"""A page in a real browser, Debian's chromium, for the tests of pages: what it says of it, and how it draws it."""

import re
import shutil
import struct
import subprocess
import unittest
import zlib
from html.parser import HTMLParser
from pathlib import Path

NOT_INSTALLED = shutil.which("chromium") is None
VOID = {"meta", "link", "br", "hr", "img", "input"}
THEMES = {"light": [], "dark": ["--blink-settings=preferredColorScheme=0"]}
WIDTHS = (1200, 480)


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


def faults_of(page: str) -> list:
    """What is wrong with a page that must be whole, have no script and fetch nothing; its icon is an empty one."""
    parser = Nesting()
    parser.feed(page)
    parser.close()
    return [*parser.complaints, *(f"<{tag}> stays open" for tag in parser.open),
            *(source for source in parser.sources if source != "data:,"), *(parser.elements & {"script"}),
            *re.findall(r"url\(|@import|https?:|\x1b", page), *([] if parser.sources == ["data:,"] else ["no icon"])]


def pixels(png: bytes) -> tuple[int, int, set]:
    """Width, height and the different bytes of a PNG's picture, still filtered: enough to know a blank one."""
    width, height = struct.unpack(">II", png[16:24])
    data, at = b"", 8
    while at < len(png):
        length, kind = struct.unpack(">I4s", png[at:at + 8])
        data += png[at + 8:at + 8 + length] if kind == b"IDAT" else b""
        at += length + 12
    return width, height, set(zlib.decompress(data))


class Browser:
    """The browser, with its own files in a folder."""

    def __init__(self, folder: Path):
        self._folder = folder

    def run(self, page: Path, *options: str) -> subprocess.CompletedProcess:
        return subprocess.run(["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars",
                               "--enable-logging=stderr", f"--user-data-dir={self._folder}", *options, page.as_uri()],
                              capture_output=True, check=True, timeout=300)

    def console(self, page: Path) -> list[str]:
        """The lines that it has to say."""
        done = self.run(page, "--dump-dom")
        return [line for line in done.stderr.decode(errors="replace").splitlines() if "CONSOLE" in line]

    def assert_drawn(self, test: unittest.TestCase, page: Path):
        """It is drawn at two widths, and otherwise where dark is preferred."""
        for width in WIDTHS:
            pictures = {}
            for theme, options in THEMES.items():
                file = page.with_name(f"{theme}{width}.png")
                self.run(page, f"--window-size={width},1000", f"--screenshot={file}", *options)
                pictures[theme] = file.read_bytes()
                seen_width, seen_height, shades = pixels(pictures[theme])
                test.assertEqual((seen_width, seen_height), (width, 1000))
                test.assertGreater(len(shades), 20, "a blank picture")
            test.assertNotEqual(pictures["light"], pictures["dark"], f"at {width}")

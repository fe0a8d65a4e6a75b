"""What `./dev demo` runs, and that the README's picture shows what it prints today."""

import os
import re
import subprocess
import unittest
from xml.etree import ElementTree

import terminal_picture
from kv6000.paths import REPOSITORY

SVG = "{http://www.w3.org/2000/svg}"


def steady(transcript: str) -> list:
    """The lines without what differs from run to run: times, and the making of the guest, which most runs find made."""
    lines = [re.sub(r" *\d+(\.\d+)? s\b", " # s", line) for line in transcript.splitlines()]
    return [line for line in lines if not re.fullmatch(r"\[ # s\] (fetching|packing) .*", line)]


class Demo(unittest.TestCase):
    maxDiff = None

    def test_the_picture_shows_what_the_demo_prints(self):
        done = subprocess.run([REPOSITORY / "tools" / "demo"], capture_output=True, text=True, check=False,
                              env=dict(os.environ, PYTHONUNBUFFERED="1"))
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(done.stdout.splitlines()[-1], "demo: BMC firmware 01-23 -> 01-24, verified")
        shown = terminal_picture.transcript_of(terminal_picture.PICTURE.read_text())
        self.assertEqual(steady(shown), steady(done.stdout), "Run tools/terminal_picture.py and look at docs/demo.svg.")


class Picture(unittest.TestCase):
    def setUp(self):
        self.picture = terminal_picture.PICTURE.read_text()

    def test_it_is_as_the_script_draws_it(self):
        self.assertEqual(terminal_picture.drawn(terminal_picture.transcript_of(self.picture)), self.picture)

    def test_it_shows_every_word_of_its_text(self):
        shown = " ".join(text.text for text in ElementTree.fromstring(self.picture).iter(f"{SVG}text"))
        text = re.sub(r"(?m)^ {10}\| ?", "", terminal_picture.transcript_of(self.picture))
        self.assertIn("orvhost", shown)
        self.assertEqual(shown.split(), text.split())

    def test_nothing_stands_outside_of_it(self):
        root = ElementTree.fromstring(self.picture)
        width, height = float(root.get("width")), float(root.get("height"))
        for text in root.iter(f"{SVG}text"):
            self.assertLess(float(text.get("x")) + float(text.get("textLength")), width, text.text)
            self.assertLess(float(text.get("y")), height, text.text)


if __name__ == "__main__":
    unittest.main()

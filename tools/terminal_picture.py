#!/usr/bin/python3
"""Runs the demo and draws what it prints as a terminal: docs/demo.svg, the picture of the README.

The picture carries its text as its description, for those who cannot see it and for the test that compares it with what
the demo prints.
"""

import re
import subprocess
import sys
import textwrap
from pathlib import Path
from xml.etree import ElementTree
from xml.sax.saxutils import escape

REPOSITORY = Path(__file__).resolve().parent.parent
PICTURE = REPOSITORY / "docs" / "demo.svg"

COLUMNS = 104
CHARACTER = 8.0  # width and height in the picture's units
LINE = 18.0
MARGIN = 16.0

STYLE = """
text { font: 13px "DejaVu Sans Mono", Menlo, Consolas, monospace; fill: #c9d1d9 }
.time { fill: #6e7681 }
.say { fill: #79c0ff }
.command { fill: #7ee787; font-weight: bold }
.end { fill: #ffffff; font-weight: bold }
"""


def rows(transcript: str) -> list:
    """(kind, leading column, rest) for each row on the terminal; long lines are folded below their own beginning."""
    result = []
    for line in transcript.splitlines():
        head, text = re.fullmatch(r"(\[ *[\d.]+ s\] | {10}\| ?| {10}\$ |)(.*)", line).groups()
        kind = "say" if head.startswith("[") else "command" if "$" in head else "end" if not head else "output"
        indent = " " * (len(text) - len(text.lstrip()))
        folded = textwrap.wrap(text, COLUMNS - len(head), subsequent_indent=indent, break_on_hyphens=False) or [""]
        result.append((kind, head, folded[0]))
        result += [(kind, " " * len(head), more) for more in folded[1:]]
    return result


def drawn(transcript: str) -> str:
    """The picture of a demo's output."""
    lines = rows(transcript)
    width, height = COLUMNS * CHARACTER + 2 * MARGIN, len(lines) * LINE + 2 * MARGIN
    texts = []
    for number, (kind, head, text) in enumerate(lines):
        y = MARGIN + (number + 0.75) * LINE
        for part, column, name in ((head, 0, "time"), (text, len(head), kind)):
            if part.strip(" |"):
                # The length keeps columns aligned with any font the reader has.
                blanks = len(part) - len(part.lstrip())
                shown = part.strip()
                texts.append(f'<text class="{name}" x="{MARGIN + (column + blanks) * CHARACTER:g}" y="{y:g}" '
                             f'textLength="{len(shown) * CHARACTER:g}">{escape(shown)}</text>')
    return (f'<svg xmlns="http://www.w3.org/2000/svg" xml:space="preserve" viewBox="0 0 {width:g} {height:g}" '
            f'width="{width:g}" height="{height:g}">\n<title>What ./dev demo prints</title>\n<desc>{escape(transcript)}</desc>\n'
            f"<style>{STYLE}</style>\n"
            f'<rect width="100%" height="100%" rx="8" fill="#0d1117"/>\n' + "\n".join(texts) + "\n</svg>\n")


def transcript_of(picture: str) -> str:
    return ElementTree.fromstring(picture).findtext("{http://www.w3.org/2000/svg}desc")


def recorded() -> str:
    """What the demo prints, on a machine where the guest is packed already."""
    subprocess.run([REPOSITORY / "lab" / "lab", "build"], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return subprocess.run([REPOSITORY / "tools" / "demo"], check=True, stdout=subprocess.PIPE, text=True).stdout


if __name__ == "__main__":
    PICTURE.write_text(drawn(recorded()))
    print(PICTURE, file=sys.stderr)

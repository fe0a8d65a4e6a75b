"""The documents as texts: the same headings in every folder's README, nothing named that is not there, links that lead
somewhere, and plain words.

What their commands do is the business of commands_test.py, what their tables hold that of tables_test.py.
"""

import re
import unittest
from pathlib import Path

from commands import DOCUMENTS, REPOSITORY

FOLDERS = sorted(path for path in REPOSITORY.iterdir()
                 if path.is_dir() and not path.name.startswith(".") and path.name != "build")
HEADINGS = ["What it is for", "Files", "What to know", "Tests"]
WIDTH = 120

# Words that readers should not have to stop at; CONTRIBUTING.md has the list for people.
NOT_PLAIN = re.compile(r"(?i)\b(told|untold|retold|mend|mends|mended|mending|whatever|whichever|counts not)\b")


def without_code(text: str) -> str:
    return re.sub(r"(?ms)^```.*?^```$", "", text)


def prose(text: str) -> str:
    """A text without code and without what it quotes."""
    text = re.sub(r"`[^`]*`", "", without_code(text))
    return re.sub(r'"(?:[^"\n]|\n(?!\n))*"', "", text)


def anchors(text: str) -> list[str]:
    """What a link can name after its number sign: the headings, as a browser of the repository makes names of them."""
    titles = re.findall(r"(?m)^#+ (.*)$", without_code(text))
    return [re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-") for title in titles]


def dead_links(text: str, folder: Path) -> list[str]:
    """The links of a document in that folder that lead to no file, or to no heading of it."""
    dead = []
    for target in re.findall(r"\]\(([^)\s]+)\)", without_code(text)):
        name, _, anchor = target.partition("#")
        if "://" in target:
            continue
        file = folder / name
        if not file.exists() or (anchor and anchor not in anchors(file.read_text() if name else text)):
            dead.append(target)
    return dead


class Readmes(unittest.TestCase):
    def test_every_folder_has_one_with_the_same_headings(self):
        self.assertIn("firmware", [folder.name for folder in FOLDERS])
        for folder in FOLDERS:
            with self.subTest(folder.name):
                text = without_code((folder / "README.md").read_text())
                self.assertRegex(text, rf"\A# {folder.name}: \w.*\n\n## ")
                self.assertEqual(re.findall(r"(?m)^## (.*)$", text), HEADINGS)
                for section in re.split(r"(?m)^## ", text)[1:]:
                    self.assertGreater(len(section.splitlines()), 2, section)

    def test_the_files_that_they_name_are_there(self):
        for folder in FOLDERS:
            files = (folder / "README.md").read_text().split("## Files\n")[1].split("\n## ")[0]
            named = [name
                     for cell in re.findall(r"(?m)^\| ((?:`[^`|]+`(?:, )?)+) \|", files)
                     for name in re.findall(r"`([^`]+)`", cell)]
            for name in named:
                with self.subTest(f"{folder.name}/{name}"):
                    self.assertTrue(list(folder.glob(name.rstrip("/"))), "no such file")

    def test_the_first_one_names_every_folder(self):
        text = (REPOSITORY / "README.md").read_text()
        for folder in FOLDERS:
            self.assertIn(f"`{folder.name}/`", text)

    def test_the_files_that_contributors_are_sent_to_are_there(self):
        text = (REPOSITORY / "CONTRIBUTING.md").read_text()
        paths = [path for path in re.findall(r"`([\w/.-]+)`", text) if "/" in path and not path.startswith("./")]
        self.assertGreater(len(paths), 10)
        for path in paths:
            self.assertTrue((REPOSITORY / path).exists(), path)


class Links(unittest.TestCase):
    def test_they_lead_somewhere(self):
        links = 0
        for document in DOCUMENTS:
            with self.subTest(str(document.relative_to(REPOSITORY))):
                self.assertEqual(dead_links(document.read_text(), document.parent), [])
            links += len(re.findall(r"\]\([^)]*#", document.read_text()))
        self.assertGreater(links, 3)  # with an anchor

    def test_a_dead_one_is_found(self):
        self.assertEqual(anchors("## C17: it is `a_b`!\n"), ["c17-it-is-a_b"])
        for link in ("README.md", "README.md#tests", "../README.md", "#the-end"):
            self.assertEqual(dead_links(f"[text]({link})\n\n## The end\n", REPOSITORY / "docs"), [])
        for link in ("none.md", "README.md#no-such", "#tests", "none.md#tests"):
            self.assertEqual(dead_links(f"[text]({link})\n\n## The end\n", REPOSITORY / "docs"), [link])

    def test_every_page_of_docs_stands_in_its_index(self):
        index = (REPOSITORY / "docs" / "README.md").read_text()
        for page in (REPOSITORY / "docs").iterdir():
            if page.name != "README.md":
                self.assertIn(f"({page.name})", index)


class Words(unittest.TestCase):
    def test_they_are_plain(self):
        for document in DOCUMENTS:
            with self.subTest(str(document.relative_to(REPOSITORY))):
                self.assertEqual(NOT_PLAIN.findall(prose(document.read_text())), [])

    def test_those_of_the_sources_are_plain_too(self):
        for room in ("orvhost", "refhost", "posix", "lab", "bench", "fuzz", "tools", "packaging", "fleet"):
            for source in (REPOSITORY / room).rglob("*"):
                if source.suffix in (".h", ".cpp", ".py", ".txt"):
                    with self.subTest(str(source.relative_to(REPOSITORY))):
                        self.assertEqual(NOT_PLAIN.findall(source.read_text()), [])

    def test_others_are_found(self):
        self.assertEqual(NOT_PLAIN.findall(prose("It is Told.\n\n```\ntold\n```\nThe verdict `told`, \"mend it\"; mended.")),
                         ["Told", "mended"])

    def test_lines_are_not_too_long(self):
        for document in DOCUMENTS:
            long = [number for number, line in enumerate(document.read_text().splitlines(), 1)
                    if len(line) > WIDTH and not line.startswith("|")]
            self.assertEqual(long, [], document.relative_to(REPOSITORY))


if __name__ == "__main__":
    unittest.main()

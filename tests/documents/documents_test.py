"""The READMEs and docs/ as texts: the same headings in every folder, and nothing named that is not there.

What their commands do is the business of commands_test.py.
"""

import re
import unittest
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
FOLDERS = sorted(path for path in REPOSITORY.iterdir()
                 if path.is_dir() and not path.name.startswith(".") and path.name != "build")
DOCUMENTS = sorted([REPOSITORY / "README.md", *(folder / "README.md" for folder in FOLDERS),
                    *(REPOSITORY / "docs").glob("*.md")])
HEADINGS = ["What it is for", "Files", "What to know", "Tests"]


def without_code(text: str) -> str:
    return re.sub(r"(?ms)^```.*?^```$", "", text)


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


class Links(unittest.TestCase):
    def test_they_lead_somewhere(self):
        count = 0
        for document in DOCUMENTS:
            for target in re.findall(r"\]\(([^)#]+)[^)]*\)", without_code(document.read_text())):
                if "://" not in target:
                    count += 1
                    self.assertTrue((document.parent / target).exists(), f"{document.relative_to(REPOSITORY)}: {target}")
        self.assertGreater(count, 10)

    def test_every_page_of_docs_stands_in_its_index(self):
        index = (REPOSITORY / "docs" / "README.md").read_text()
        for page in (REPOSITORY / "docs").iterdir():
            if page.name != "README.md":
                self.assertIn(f"({page.name})", index)


if __name__ == "__main__":
    unittest.main()

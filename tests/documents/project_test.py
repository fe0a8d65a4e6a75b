"""What the project says about itself in more than one place: version, terms, build options, checks, line ends."""

import configparser
import re
import subprocess
import unittest

from commands import REPOSITORY
from tables_test import rows

CMAKE = (REPOSITORY / "CMakeLists.txt").read_text()


def text(name: str) -> str:
    return (REPOSITORY / name).read_text()


class Version(unittest.TestCase):
    version = re.search(r"project\(\w+ VERSION ([\d.]+)", CMAKE).group(1)

    def test_the_newest_change_is_of_this_version(self):
        self.assertEqual(re.findall(r"(?m)^## ([\d.]+) \(\d{4}-\d\d-\d\d\)$", text("CHANGELOG.md"))[0], self.version)

    def test_the_packages_newest_change_is_too(self):
        self.assertEqual(re.match(r"kestrel-bmc \(([\d.]+)\)", text("packaging/changelog")).group(1), self.version)

    def test_schemas_of_the_formats(self):
        """CHANGELOG.md names the schema of each format that the sources write."""
        written = [re.search(r"constexpr int kSchema = (\d+);", text(name)).group(1)
                   for name in ("orvhost/interface/outcome.cpp", "orvhost/journal/journal.cpp", "refhost/base/module_state.cpp")]
        newest = " ".join(text("CHANGELOG.md").split("\n## ")[1].split())
        self.assertEqual(re.findall(r"(?:JSON|journal|state file) schema (\d+)", newest), written)


class Terms(unittest.TestCase):
    def test_they_are_the_same_everywhere(self):
        packaged = text("packaging/copyright.in").split("\n\n")
        for paragraph in packaged[1:3]:  # whose it is, and what is granted
            self.assertRegex(paragraph, "Copyright|licence")
        here = " ".join(text("LICENSE").split())
        self.assertIn(packaged[1], here)
        self.assertIn("No licence has been granted", " ".join(packaged[2].split()))
        self.assertIn("No licence has been granted", here)


class Options(unittest.TestCase):
    def test_the_first_readme_has_every_variable_of_the_build(self):
        variables = re.findall(r"(?m)^option\((\w+) ", CMAKE) + re.findall(r'(?m)^set\((\w+) "[^"]*" CACHE ', CMAKE)
        if "include(CTest)" in CMAKE:
            variables.append("BUILD_TESTING")
        table = rows(text("README.md").split("| CMake variable |")[1].split("\n\n")[0])
        self.assertEqual(sorted(row[0].strip("`") for row in table), sorted(variables))
        defaults = dict(re.findall(r'(?m)^option\((\w+) "[^"]*" (ON|OFF)\)', CMAKE))
        self.assertGreaterEqual(len(defaults), 3)
        for row in table:
            if row[0].strip("`") in defaults:
                self.assertEqual(row[1], f"`{defaults[row[0].strip('`')]}`", row[0])


class Lint(unittest.TestCase):
    def test_contributors_know_every_check(self):
        function = re.search(r"(?ms)^lint\(\) \{$(.*?)^\}$", text("dev")).group(1)
        table = rows(text("CONTRIBUTING.md").split("| Check |")[1].split("\n\n")[0])
        self.assertEqual([row[0] for row in table], re.findall(r'(?m)^ *say "([^"]+)"', function))


class Lines(unittest.TestCase):
    """.editorconfig only speaks to editors that read it; this looks at what is in the repository."""

    def setUp(self):
        parser = configparser.ConfigParser()
        parser.read_string("[top]\n" + text(".editorconfig"))
        self.sections = parser
        listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=REPOSITORY,
                                check=True, capture_output=True, text=True).stdout
        exact = ("fuzz/seeds/", "tests/lab/golden/")  # byte for byte what they are
        self.files = [REPOSITORY / name for name in listed.split("\0")
                      if name and not name.startswith(exact) and (REPOSITORY / name).is_file()]

    def test_the_style_is_stated(self):
        self.assertEqual(self.sections["*"]["max_line_length"], re.search(r"ColumnLimit: (\d+)", text(".clang-format"))[1])
        self.assertEqual((self.sections["*"]["indent_size"], self.sections["*.py"]["indent_size"]), ("2", "4"))

    def test_files_keep_it(self):
        self.assertGreater(len(self.files), 300)
        for path in self.files:
            content = path.read_bytes()
            with self.subTest(str(path.relative_to(REPOSITORY))):
                self.assertNotIn(b"\r", content)
                self.assertTrue(content.endswith(b"\n") or not content, "no line end at its end")
                self.assertIsNone(re.search(rb"[ \t]\n", content), "blanks at the end of a line")


if __name__ == "__main__":
    unittest.main()

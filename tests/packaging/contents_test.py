"""The list of contents (SPDX 2.3) that each Debian and RPM package brings: what it says of the package is so. And that the
two kinds hold the same files."""

import copy
import json
import re
import tempfile
import unittest
from pathlib import Path

from debian import output_of
from packed import NAMES, pack, unpack
from spdx_document import differences, problems, related

OF_THE_SYSTEM = {"libc.so.6", "libm.so.6", "ld-linux-x86-64.so.2"}  # their version is that of no library that we name


def loaded(path: Path) -> set[str]:
    """The libraries that a program loads, by another program than the one that made the list."""
    return set(re.findall(r"(?m)^ +NEEDED +(\S+)", output_of("objdump", "-p", path)))


class Contents(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="kestrel-contents-")))
        cls.trees = {}
        for kind in ("DEB", "RPM"):
            for name, path in pack(kind, folder / kind).items():
                cls.trees[kind, name] = unpack(path, folder / kind / "unpacked" / name)

    def document(self, kind: str, name: str) -> dict:
        return json.loads((self.trees[kind, name] / f"usr/share/doc/{name}/{name}.spdx.json").read_text())

    def each(self):
        """What is packed as what, its tree and its document."""
        for (kind, name), tree in self.trees.items():
            yield kind, name, tree, self.document(kind, name)

    def test_every_package_brings_one(self):
        self.assertEqual(sorted(self.trees), sorted((kind, name) for kind in ("DEB", "RPM") for name in NAMES))

    def test_it_is_a_document_of_spdx(self):
        for kind, name, _, document in self.each():
            with self.subTest(name, kind=kind):
                self.assertEqual(problems(document), [])
                self.assertEqual(related(document, "DESCRIBES"), {document["name"]: {name}})

    def test_it_lists_every_file_as_it_is(self):
        for kind, name, tree, document in self.each():
            with self.subTest(name, kind=kind):
                self.assertEqual(differences(document, tree), [])
                self.assertEqual(related(document, "CONTAINS")[name], {file["fileName"] for file in document["files"]})

    def test_it_names_the_libraries_that_are_loaded(self):
        for kind, name, tree, document in self.each():
            with self.subTest(name, kind=kind):
                binaries = {file["fileName"]: loaded(tree / file["fileName"]) for file in document["files"]
                            if file["fileTypes"] == ["BINARY"]}
                self.assertEqual(related(document, "DYNAMIC_LINK"), binaries)
                unknown = [package["name"] for package in document["packages"]
                           if "NOASSERTION" in (package["licenseDeclared"], package["versionInfo"])]
                self.assertEqual(set(unknown) - OF_THE_SYSTEM, set())

    def test_it_names_the_libraries_whose_code_is_carried(self):
        carried = {"./usr/bin/orvhost": {"CLI11", "nlohmann_json"},
                   "./usr/lib/orvhost/liborv_ProviderBase.so": {"nlohmann_json"}}
        for kind in ("DEB", "RPM"):
            document = self.document(kind, "orvhost")
            self.assertEqual(related(document, "STATIC_LINK"), carried)
            tool = next(file for file in document["files"] if file["fileName"] == "./usr/bin/orvhost")
            self.assertEqual(tool["licenseConcluded"], "LicenseRef-KESTREL-all-rights-reserved AND BSD-3-Clause AND MIT")
            self.assertEqual(related(self.document(kind, "orv-plugin-kestrel-bmc"), "STATIC_LINK"), {})

    def test_both_kinds_hold_the_same_files(self):
        for name in NAMES:
            files = {}
            for kind in ("DEB", "RPM"):
                tree = self.trees[kind, name]
                files[kind] = {str(path.relative_to(tree)): path.read_bytes() for path in tree.rglob("*")
                               if path.is_file() and "/lintian/" not in str(path) and not path.name.endswith(".spdx.json")}
            self.assertEqual(sorted(files["DEB"]), sorted(files["RPM"]), name)
            self.assertEqual([path for path in files["DEB"] if files["DEB"][path] != files["RPM"][path]], [])

    def test_what_is_wrong_is_found(self):
        document, tree = self.document("DEB", "orvhost"), self.trees["DEB", "orvhost"]
        by_itself = (
            (lambda it: it.pop("creationInfo"), "'creationInfo' is a required property"),
            (lambda it: it["packages"][0].pop("packageVerificationCode"), "'packageVerificationCode' is a required"),
            (lambda it: it["packages"][1].update(licenseDeclared="BSD-3-Close"), "unknown licence BSD-3-Close"),
            (lambda it: it["packages"][1].update(licenseDeclared="MIT AND"), "MIT AND: "),
            (lambda it: it["files"][0].update(SPDXID=it["files"][1]["SPDXID"]), "stands twice"),
            (lambda it: it["relationships"][0].update(relatedSpdxElement="SPDXRef-none"), "SPDXRef-none, which is not"),
            (lambda it: it["files"].pop(0), "SPDXRef-File-.-usr-bin-orvhost, which is not there"),
        )
        beside_the_tree = (
            (lambda it: it["files"][0]["checksums"][1].update(checksumValue="0" * 64), "SHA256 of ./usr/bin/orvhost"),
            (lambda it: it["files"].pop(0), "not listed: ./usr/bin/orvhost"),
            (lambda it: it["files"][0].update(fileName="./usr/bin/other"), "not there: ./usr/bin/other"),
            (lambda it: it["packages"][0]["packageVerificationCode"].update(packageVerificationCodeValue="0" * 40),
             "the verification code differs"),
        )
        for cases, judge in ((by_itself, problems), (beside_the_tree, lambda it: differences(it, tree))):
            for act, expected in cases:
                with self.subTest(expected):
                    changed = copy.deepcopy(document)
                    act(changed)
                    self.assertTrue(any(expected in problem for problem in judge(changed)), judge(changed))


if __name__ == "__main__":
    unittest.main()

"""The unit files for systemd: systemd itself judges them, and the program takes the command lines that they give."""

import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

ORVHOST = os.environ["ORVHOST"]
UNITS = sorted((Path(__file__).resolve().parents[3] / "orvhost" / "systemd").iterdir())


def verify(text: str, name: str) -> tuple[int, str]:
    """What systemd-analyze says of a unit; its program is the one of this build, since none may be installed."""
    with tempfile.TemporaryDirectory(prefix="orvhost-units-") as folder:
        for unit in UNITS:  # a timer needs its service
            (Path(folder) / unit.name).write_text(unit.read_text().replace("ExecStart=orvhost ", f"ExecStart={ORVHOST} "))
        (Path(folder) / name).write_text(text.replace("ExecStart=orvhost ", f"ExecStart={ORVHOST} "))
        done = subprocess.run(["systemd-analyze", "verify", "--man=no", "--recursive-errors=no", Path(folder) / name],
                              capture_output=True, text=True, check=False)
    return done.returncode, done.stdout + done.stderr


class Units(unittest.TestCase):
    def test_there_are_some(self):
        self.assertEqual([unit.name for unit in UNITS],
                         ["orvhost-metrics.service", "orvhost-metrics.timer", "orvhost-verify.service"])

    @unittest.skipIf(shutil.which("systemd-analyze") is None, "not installed: systemd-analyze")
    def test_systemd_finds_nothing_to_complain_about(self):
        for unit in UNITS:
            with self.subTest(unit.name):
                self.assertEqual(verify(unit.read_text(), unit.name), (0, ""))
        broken = UNITS[0].read_text().replace("Type=oneshot", "Type=once").replace("ExecStart=orvhost", "ExecStart=/none")
        self.assertNotEqual(verify(broken, UNITS[0].name)[0], 0, "systemd-analyze takes everything")

    def test_the_program_takes_their_command_lines(self):
        for unit in UNITS:
            for line in re.findall(r"(?m)^ExecStart=orvhost (.*)$", unit.read_text()):
                with self.subTest(unit.name), tempfile.TemporaryDirectory(prefix="orvhost-units-") as folder:
                    words = line.replace("/var/lib/prometheus/node-exporter", folder).split()
                    done = subprocess.run([ORVHOST, "--install-path", folder, *words], capture_output=True, text=True,
                                          env={**os.environ, "ORVHOST_LAB_MACHINE": "1",
                                               "ORVHOST_LAB_LOCK_FOLDER": f"{folder}/runs"}, check=False)
                    self.assertEqual(done.returncode, 0, done.stderr)

    def test_the_document_names_those_that_are_there(self):
        document = (UNITS[0].parents[2] / "docs" / "on-a-server.md").read_text()
        named = re.findall(r"(?m)^    systemctl enable (?:--now )?([\w.-]+)", document)
        self.assertGreaterEqual(len(named), 1)
        for unit in named:
            self.assertIn("[Install]", (UNITS[0].parent / unit).read_text())

    def test_every_page_of_the_manual_that_they_name(self):
        for unit in UNITS:
            name, section = re.search(r"(?m)^Documentation=man:([\w-]+)\((\d)\)$", unit.read_text()).groups()
            self.assertTrue((Path(os.environ["ORVHOST_PAGES"]) / f"{name}.{section}.gz").exists(), f"{name}({section})")


if __name__ == "__main__":
    unittest.main()

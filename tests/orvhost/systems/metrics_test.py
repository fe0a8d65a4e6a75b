"""The metrics as those take them for whom they are: promtool judges them, and a node exporter serves them."""

import os
import re
import shutil
import socket
import subprocess
import tempfile
import time
import unittest
import urllib.error
import urllib.request
from pathlib import Path

ORVHOST = os.environ["ORVHOST"]
EXPORTER = "prometheus-node-exporter"
MISSING = [name for name in ("promtool", EXPORTER) if shutil.which(name) is None]


def free_port() -> int:
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


@unittest.skipIf(MISSING, f"not installed: {', '.join(MISSING)}")
class Metrics(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory(prefix="orvhost-metrics-")))
        self.environment = {**os.environ, "ORVHOST_LAB_MACHINE": "1", "ORVHOST_LAB_LOCK_FOLDER": str(self.folder / "runs"),
                            "ORVHOST_LAB_SLEEP_SCALE": "0.001"}

    def orvhost(self, *words) -> str:
        done = subprocess.run([ORVHOST, "--install-path", self.folder / "path", "--server-type", "kv6000",
                               "--plugin", os.environ["TEST_PLUGIN_PATH"], *words], env=self.environment, check=True,
                              capture_output=True, text=True)
        return done.stdout

    def scrape(self, collected: Path) -> list[str]:
        """What a node exporter serves of the files in that folder, without what it says of itself."""
        port = free_port()
        # What else it measures is no concern of this test.
        exporter = subprocess.Popen([EXPORTER, f"--web.listen-address=127.0.0.1:{port}", "--collector.disable-defaults",
                                     "--collector.textfile", f"--collector.textfile.directory={collected}"],
                                    stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        try:
            for _ in range(1200):
                try:
                    with urllib.request.urlopen(f"http://127.0.0.1:{port}/metrics", timeout=5) as answer:
                        return answer.read().decode().splitlines()
                except urllib.error.URLError:
                    self.assertIsNone(exporter.poll(), "the exporter has ended")
                    time.sleep(0.05)
            self.fail("the exporter does not answer")
        finally:
            exporter.terminate()
            exporter.communicate(timeout=10)

    def test_promtool_finds_nothing_to_complain_about(self):
        for steps in ((), (("identify",),)):
            for step in steps:
                self.orvhost(*step)
            text = self.orvhost("metrics")
            done = subprocess.run(["promtool", "check", "metrics"], input=text, capture_output=True, text=True, check=False)
            self.assertEqual((done.returncode, done.stdout + done.stderr), (0, ""), text)
        refused = subprocess.run(["promtool", "check", "metrics"], input=text.replace('verdict="', "verdict="),
                                 capture_output=True, text=True, check=False)
        self.assertNotEqual(refused.returncode, 0, "promtool takes everything")

    def test_a_node_exporter_serves_them_all(self):
        self.orvhost("identify")
        collected = self.folder / "collected"
        collected.mkdir()
        self.orvhost("metrics", "--out", str(collected / "orvhost.prom"))
        written = [line for line in self.orvhost("metrics").splitlines() if not line.startswith("#")]
        served = self.scrape(collected)
        self.assertIn("node_textfile_scrape_error 0", served)

        def samples(lines: list[str]) -> list:
            """Names, labels in their order, and values as numbers: the exporter sorts labels and writes 1e+09."""
            found = [re.fullmatch(r"(\w+)(?:\{(.*)\})? (\S+)", line) for line in lines if line.startswith("orvhost_")]
            return sorted((name, sorted(re.findall(r'\w+="(?:[^"\\]|\\.)*"', labels or "")), repr(float(value)))
                          for name, labels, value in (match.groups() for match in found))

        self.assertGreaterEqual(len(written), 10)
        self.assertEqual(samples(served), samples(written))


if __name__ == "__main__":
    unittest.main()

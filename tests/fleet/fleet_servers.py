"""What the tests over SSH share: a fleet of virtual servers, and the playbook run against it as an operator runs it."""

import json
import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path
from typing import NamedTuple

import product
from kv6000.fleet import Fleet, fleet_settings
from kv6000.packages import make_image, make_packages, write_package
from kv6000.rack_packages import make_rack_packages

REPOSITORY = Path(__file__).resolve().parents[2]
# The plug-in's pauses are a tenth, as in the roads of single servers.
QUICK = "#!/bin/sh\nexport ORVHOST_LAB_SLEEP_SCALE=0.1\n"


class Played(NamedTuple):
    """One finished run of ansible-playbook."""

    exit: int
    out: str
    recap: dict  # for each host "changed", "failed" and the others
    rows: dict  # of report.json, by host
    page: str


class FleetTest(unittest.TestCase):
    """One fleet for all tests of the class; COUNT servers, which the tests share in the order of their names."""

    count = 2
    products = ("KV6000",)
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="kestrel-fleet-")))
        overlay = product.install(cls.folder / "overlay")
        cls.add_to(overlay)
        make_packages(cls.folder / "packages")
        make_rack_packages(cls.folder / "packages")
        cls.fleet = cls.enterClassContext(Fleet(fleet_settings(cls.count, cls.products, overlay=overlay, install_path="/opt/orv")))
        for name in cls.fleet.servers:
            cls.put_program(name)

    @classmethod
    def add_to(cls, overlay: Path):
        """What the servers have beside the product."""

    @classmethod
    def make_package(cls, version: str) -> str:
        name = f"made-{version}"
        write_package(cls.folder / "packages" / f"{name}.zip", version, {"kv6000.ima": make_image(version)})
        return name

    @classmethod
    def put_program(cls, name: str, first=""):
        """The orvhost that the playbook runs on a server: the real one in the end, after other lines of a script."""
        path = cls.fleet.servers[name].share / "orvhost"
        path.write_text(f'{QUICK}{first}\nexec /usr/bin/orvhost "$@"\n')
        path.chmod(0o755)

    def environment(self) -> dict:
        return dict(os.environ, ANSIBLE_COLLECTIONS_PATH=str(REPOSITORY / "fleet"), ANSIBLE_NOCOLOR="1",
                    ANSIBLE_HOME=str(self.folder / "ansible"), ANSIBLE_SSH_CONTROL_PATH_DIR=str(self.folder / "cp"),
                    ANSIBLE_SSH_ARGS="-o ControlMaster=auto -o ControlPersist=10s", ANSIBLE_RETRY_FILES_ENABLED="0")

    def start_playbook(self, *options, package="good-01-24", **variables):
        report = Path(tempfile.mkdtemp(prefix="report-", dir=self.folder))
        given = dict({"bmc_update_package": str(self.folder / "packages" / f"{package}.zip"), "bmc_update_serial": 1,
                      "bmc_update_orvhost": "/share/orvhost", "bmc_update_report_folder": str(report)}, **variables)
        process = subprocess.Popen(["ansible-playbook", "-i", self.fleet.inventory, "kestrel.kv6000.rolling_update",
                                    "-e", json.dumps(given), *options], env=self.environment(), stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return process, report

    def finished(self, started) -> Played:
        process, report = started
        out = process.communicate(timeout=400)[0]
        recap = {name: {key: int(value) for key, value in re.findall(r"(\w+)=(\d+)", rest)}
                 for name, rest in re.findall(r"(?m)^(server\d+) +: (.*)$", out)}
        files = {path.name: path.read_text() for path in report.iterdir()}
        rows = {row["host"]: row for row in json.loads(files.get("report.json", '{"servers": []}'))["servers"]}
        shutil.rmtree(report)
        return Played(process.returncode, out, recap, rows, files.get("report.html", ""))

    def play(self, *options, **variables) -> Played:
        return self.finished(self.start_playbook(*options, **variables))

    def run_module(self, name: str, *options, server="server1", **arguments) -> dict:
        """Runs a module alone, by the command `ansible`; its result."""
        given = dict({"executable": "/share/orvhost"}, **arguments)
        done = subprocess.run(["ansible", server, "-i", self.fleet.inventory, "-m", f"kestrel.kv6000.{name}",
                               "-a", json.dumps(given), *options], env=self.environment(), stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, check=False, timeout=400)
        self.assertIn(" => {", done.stdout, done.stderr)
        return dict(json.loads(done.stdout[done.stdout.index("{"):]), failed=done.returncode != 0)

    def assert_fields(self, result: dict, **fields):
        self.assertEqual({name: result.get(name) for name in fields}, fields, json.dumps(result, indent=1))

    def assert_played(self, played: Played, exit_code: int, **verdicts):
        self.assertEqual((played.exit, {name: row["verdict"] for name, row in played.rows.items()}), (exit_code, verdicts),
                         played.out)

    def changed(self, played: Played) -> dict:
        return {name: played.recap[name]["changed"] for name in sorted(played.recap)}

    def running(self) -> list:
        return [self.fleet.servers[name].bmc("state")["running"] for name in sorted(self.fleet.servers)]

    def asked(self, name: str) -> int:
        """How many commands the BMC of a server got that change something, or prepare for it."""
        # Media, waiting, flash, reboot flag and write mode; reading the versions is no change.
        return len([line for line in self.fleet.servers[name].bmc("state")["commands"]
                    if line.startswith(("34 8c", "34 2c", "34 5e", "34 90", "34 2a"))])

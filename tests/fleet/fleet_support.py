"""What the tests of the collection share: servers that are folders, each with an orvhost that plays its part."""

import importlib.util
import json
import shutil
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

from ansible.module_utils import basic
from ansible.module_utils.common.text.converters import to_bytes

REPOSITORY = Path(__file__).resolve().parents[2]
COLLECTION = REPOSITORY / "fleet" / "ansible_collections" / "kestrel" / "kv6000"
sys.path.insert(0, str(REPOSITORY / "fleet"))  # as Ansible lets a module find what it shares with others
orvhost = importlib.import_module("ansible_collections.kestrel.kv6000.plugins.module_utils.orvhost")
SCRIPTED = Path(__file__).with_name("scripted_orvhost.py")


class Played:
    """A server that is a folder."""

    def __init__(self, folder: Path, **state):
        folder.mkdir(parents=True)
        self.folder = folder
        self.program = folder / "orvhost"
        shutil.copy(SCRIPTED, self.program)
        self.program.chmod(0o755)
        self.put(**dict({"running": "01-23", "recorded": "", "waiting": False, "server_type": "kv6000", "instead": {}}, **state))

    def put(self, **state):
        path = self.folder / "state.json"
        old = json.loads(path.read_text()) if path.exists() else {}
        path.write_text(json.dumps(dict(old, **state)))

    @property
    def state(self) -> dict:
        return json.loads((self.folder / "state.json").read_text())

    @property
    def calls(self) -> list:
        """The subcommands that were run, with their options and without their files."""
        path = self.folder / "calls"
        lines = path.read_text().splitlines() if path.exists() else []
        return [" ".join(word for word in line.split("\t") if word != "--json" and "/" not in word) for line in lines]


def write_package(path: Path, version: str, server_type="kv6000") -> Path:
    path.write_text(f"{version} {server_type}\n")
    return path


def load_module(path: Path):
    spec = importlib.util.spec_from_file_location(path.stem, path)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


class ModuleEnd(Exception):
    """A module ended."""


class ModuleTest(unittest.TestCase):
    """One played server and a package of 01-24 for each test."""

    maxDiff = None

    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory(prefix="kestrel fleet ")))
        self.server = Played(self.folder / "server")
        self.package = write_package(self.folder / "p.zip", "01-24")

    def module(self, name: str, check_mode=False, **options) -> dict:
        """Runs a module in this process; its result."""
        given = dict({"executable": str(self.server.program), "busy_time_limit": 0, "_ansible_check_mode": check_mode,
                      "_ansible_tmpdir": str(self.folder)}, **options)
        module = load_module(COLLECTION / "plugins" / "modules" / f"{name}.py")
        ended = []

        def end(_, **fields):
            ended.append(fields)
            raise ModuleEnd

        with mock.patch.object(basic, "_ANSIBLE_ARGS", to_bytes(json.dumps({"ANSIBLE_MODULE_ARGS": given}))), \
                mock.patch.object(basic.AnsibleModule, "exit_json", end), \
                mock.patch.object(basic.AnsibleModule, "fail_json", lambda self, **fields: end(self, failed=True, **fields)):
            self.assertRaises(ModuleEnd, module.main)
        return dict({"failed": False}, **ended[0])

    def instead(self, **steps):
        """What happens in the place of subcommands; "_" stands for " --dry-run"."""
        self.server.put(instead={name.replace("_dry", " --dry-run"): value for name, value in steps.items()})

    def assert_result(self, result: dict, **fields):
        self.assertEqual({name: result.get(name) for name in fields}, fields, json.dumps(result, indent=1, default=str))

"""A machine of its own on which updates are attacked, and what must be true of it after every one of them."""

import json
import os
import shutil
import subprocess
import zipfile
from pathlib import Path

ORVHOST = os.environ["ORVHOST"]
PLUGIN = os.environ["TEST_PLUGIN_PATH"]
# Where no process of others comes and goes, and file systems may be mounted; needs no root.
APART = ["unshare", "--user", "--map-root-user", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
TIME_LIMIT = 20  # seconds; a run takes a hundredth of it
DEFINED = {0, 1, 2, 3, 4, 5, 6, 7, 8, 10, 12}
NOT_LOADED = 127  # the loader's own, before the program begins
NOT_DELIVERED = 12
WRITTEN = 3  # the update status of a package that is written
VERIFIED = 5
IMAGE = "firmware " * 300 + "\n"

# Keeps what it is given, between a line for its begin and one for its end. Meanwhile something else may fill a disk.
FLASH_TOOL = """#!/bin/sh
echo begun >> "$TEST_FLASH"
eval "$TEST_MEANWHILE"
cat "$2" >> "$TEST_FLASH" && echo written >> "$TEST_FLASH"
"""


class Untrue(Exception):
    """What must hold after a run does not."""


def demand(holds: bool, sentence: str):
    if not holds:
        raise Untrue(sentence)


def package(path: Path, version: str):
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("module.json", json.dumps(
            {"name": "KV6000 BMC firmware", "version": version, "server_types": ["kv6000"]}))
        archive.writestr("image.ima", IMAGE)


class Ended:
    """A run that has ended, with the one object that it printed; None when it printed none."""

    def __init__(self, code: int, out: str, err: str):
        self.code = code
        self.err = err
        self.out = out
        self.object = None

    def read(self):
        demand(self.code in DEFINED, f"exit code {self.code}")
        if self.out:
            demand(self.out.count("\n") == 1, "more or less than one line on the standard output")
            self.object = json.loads(self.out)
            demand(self.object["exit_code"] in (self.code, 0) and
                   self.code in (self.object["exit_code"], NOT_DELIVERED), "the object has another exit code")

    def says_incomplete(self) -> bool:
        return any("journal of this run is incomplete" in notice for notice in (self.object or {}).get("notices", [])) \
            or "journal of this run is incomplete" in self.err


class Machine:
    """01-23 runs, which was written by an update and verified; 01-24 is to be written."""

    def __init__(self, folder: Path):
        self.folder = folder
        self.install = folder / "inst"
        self.scratch = folder / "tmp"
        self.logs = folder / "log"
        self.flash = folder / "flash"
        self.locks = folder / "machine"
        self._template = folder / "template"
        self.expected = set()  # the files after a good update
        self.meanwhile = {"prepare": "", "write": ""}  # what a shell does in these steps
        self._first()

    def _first(self):
        tool = self.install / "KV6KBMC" / "Yafuflash"
        tool.parent.mkdir(parents=True)
        tool.write_text(FLASH_TOOL)
        tool.chmod(0o755)
        for part in (self.scratch, self.locks, self.logs):
            part.mkdir(exist_ok=True)
        package(self.folder / "old.zip", "01-23")
        package(self.folder / "new.zip", "01-24")
        before = self.run(["update", str(self.folder / "old.zip"), "--json"], version="01-22")
        after = self.run(["verify", "--json"])
        if before.code or after.code:
            raise RuntimeError(before.out + after.out + before.err + after.err)
        self._template.mkdir()
        for part in (self.install, self.locks):
            shutil.copytree(part, self._template / part.name)

    def renew(self):
        """As it was at the beginning."""
        for part in (self.install, self.locks, self.scratch, self.logs):
            for path in part.iterdir():
                if path.is_dir() and not path.is_symlink():
                    shutil.rmtree(path)
                else:
                    path.unlink()
        for part in (self.install, self.locks):
            shutil.copytree(self._template / part.name, part, dirs_exist_ok=True)
        self.flash.unlink(missing_ok=True)

    def run(self, words: list[str], around: tuple = (), version: str = "01-23", **streams) -> Ended:
        command = [*around, ORVHOST, "--install-path", str(self.install), "--plugin", PLUGIN, "--server-type",
                   "kv6000", *words]
        environment = {"PATH": "/usr/bin:/bin", "TMPDIR": str(self.scratch), "TEST_FLASH": str(self.flash),
                       "TEST_MEANWHILE": self.meanwhile["write"],
                       "TEST_PLUGIN_COMMAND": self.meanwhile["prepare"], "TEST_PLUGIN": "unpacks writes-image is-disturbed", "TEST_PLUGIN_VERSION": version, "ORVHOST_LAB_MACHINE": "1",
                       "ORVHOST_LAB_LOCK_FOLDER": str(self.locks / "runs")}
        streams = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **streams}
        with subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, text=True, **streams) as process:
            try:
                out, err = process.communicate(timeout=TIME_LIMIT)
            except subprocess.TimeoutExpired:
                process.kill()
                process.communicate()
                raise Untrue("it does not end by itself") from None
        return Ended(process.returncode, out or "", err or "")

    def update(self, around: tuple = (), padding: int = 0, **streams) -> Ended:
        """With so many more bytes, an even number, in the journal's first line."""
        return self.run(["update", str(self.folder / "new.zip"), "--allow-reinstall", "--json", "--log-file",
                         str(self.logs) + "/." * (padding // 2) + "/log"], around, **streams)

    def state(self) -> dict:
        return json.loads((self.install / "repository" / "state.json").read_text())

    def flashed(self) -> tuple[bool, bool]:
        """Whether the flash tool began, and whether it wrote the whole image."""
        text = self.flash.read_text() if self.flash.exists() else ""
        return text.startswith("begun\n"), text == "begun\n" + IMAGE + "written\n"

    def files(self) -> set[str]:
        found = set()
        for part in (self.install, self.locks, self.scratch):
            found |= {str(path.relative_to(self.folder)) for path in part.rglob("*")}
        return {name for name in found if not name.startswith("inst/journal/")}

    def content(self) -> dict[str, bytes]:
        parts = [path for part in (self.install, self.locks) for path in part.rglob("*") if path.is_file()]
        return {str(path.relative_to(self.folder)): path.read_bytes() for path in parts}

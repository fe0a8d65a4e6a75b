"""An update on a disk that is full: whichever disk it is, from no free block on until the update succeeds.

The disks are file systems in memory, in a mount namespace of this test's own."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from collections.abc import Iterator
from pathlib import Path

from machine import APART, Machine, Untrue
from truth import judge

INSIDE = "ATTACK_MOUNTS"
SIZE = 24 * 1024 * 1024
BALLAST = "ballast"
MOST = SIZE // 4096


def levels() -> Iterator[int]:
    """Every number at first, then larger steps."""
    level = 0
    while level < MOST:
        yield level
        level += 1 if level < 24 else level // 2


class Disk:
    """A file system in memory at a folder."""

    def __init__(self, folder: Path):
        self.folder = folder
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={SIZE}", "none", folder], check=True)

    def leave_blocks(self, blocks: int):
        free = os.statvfs(self.folder)
        with open(self.folder / BALLAST, "wb") as ballast:
            os.posix_fallocate(ballast.fileno(), 0, max((free.f_bavail - blocks) * free.f_frsize, 1))

    def leave_files(self, files: int):
        used = os.statvfs(self.folder)
        self._remount(f"nr_inodes={used.f_files - used.f_ffree + files}")

    def relieve(self):
        (self.folder / BALLAST).unlink(missing_ok=True)
        self._remount("nr_inodes=10000")

    def _remount(self, option: str):
        subprocess.run(["mount", "-o", f"remount,{option}", self.folder], check=True)


class FullDisk(unittest.TestCase):
    tried = 0

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.disk_of = {}
        for name in ("inst", "machine", "tmp", "log", "out"):
            (self.folder / name).mkdir()
            self.disk_of[name] = Disk(self.folder / name)
            self.addCleanup(subprocess.run, ["umount", self.folder / name], check=True)
        self.machine = Machine(self.folder)
        self.machine.renew()
        self.assertEqual(self.update().code, 0)
        self.machine.expected = self.machine.files()

    def update(self, around: tuple = (), padding: int = 0):
        with open(self.folder / "out" / "out", "w", encoding="utf-8") as out:
            ended = self.machine.update(around, padding, stdout=out)
        ended.out = (self.folder / "out" / "out").read_text()
        return ended

    def attempt(self, level, prepare, relieve, around: tuple = (), padding: int = 0) -> bool:
        """True when it succeeded."""
        self.machine.renew()
        (self.folder / "out" / "out").unlink(missing_ok=True)
        prepare(level)
        try:
            ended = self.update(around, padding)
            if not ended.out.endswith("\n"):
                ended.out = ""  # what there was room for
            judge(self.machine, ended, relieve)
        except Untrue as untrue:
            self.fail(f"level {level}, padding {padding}: {untrue}")
        finally:
            relieve()
        FullDisk.tried += 1
        return ended.code == 0 and not ended.says_incomplete()

    def sweep(self, prepare, relieve, least: int = 1):
        failures = 0
        for level in levels():
            if self.attempt(level, prepare, relieve):
                self.assertGreaterEqual(failures, least, "no room was missed")
                return
            failures += 1
        self.fail("it never succeeds")

    def test_blocks_of_the_install_path(self):
        disk = self.disk_of["inst"]
        self.sweep(disk.leave_blocks, disk.relieve)

    def fill_in(self, step: str):
        """Fills the disk of the install path in that step: just before the flash, or when it is written. Wherever the
        journal's last block ends."""
        disk = self.disk_of["inst"]

        def fill(blocks: int):
            self.machine.meanwhile[step] = (f'blocks=$(($(stat -f -c %a "{disk.folder}") - {blocks})); '
                                            f'fallocate -l $((blocks * 4096)) "{disk.folder}/{BALLAST}"')

        def relieve():
            self.machine.meanwhile[step] = ""
            disk.relieve()

        for padding in range(0, 4096, 256):
            for blocks in range(8):
                if self.attempt(blocks, fill, relieve, padding=padding):
                    break
            else:
                self.fail("it never succeeds")
            self.assertGreater(blocks, 0)

    def test_blocks_of_the_install_path_that_somebody_takes_before_the_flash(self):
        self.fill_in("prepare")

    def test_blocks_of_the_install_path_that_somebody_takes_while_the_flash_is_written(self):
        self.fill_in("write")

    def test_files_of_the_install_path(self):
        disk = self.disk_of["inst"]
        self.sweep(disk.leave_files, disk.relieve)

    def test_the_locks_of_the_machine(self):
        disk = self.disk_of["machine"]
        for leave in (disk.leave_blocks, disk.leave_files):
            self.sweep(leave, disk.relieve, 0)

    def test_the_scratch_folder(self):
        disk = self.disk_of["tmp"]
        for leave in (disk.leave_blocks, disk.leave_files):
            self.sweep(leave, disk.relieve, 0)

    def test_the_disk_of_the_log(self):
        disk = self.disk_of["log"]
        for leave in (disk.leave_blocks, disk.leave_files):
            self.sweep(leave, disk.relieve, 0)

    def test_the_standard_output(self):
        disk = self.disk_of["out"]
        self.sweep(disk.leave_blocks, disk.relieve)

    def test_the_largest_file_that_is_allowed(self):
        """Of every file, also of those of the programs that it runs."""
        for size in range(0, 200 * 256, 256):
            if self.attempt(size, lambda _: None, lambda: None, ("prlimit", f"--fsize={size}")):
                self.assertGreater(size, 1024)
                return
        self.fail("it never succeeds")


if __name__ == "__main__":
    if INSIDE in os.environ:
        program = unittest.main(exit=False)
        print(f"{FullDisk.tried} updates tried", file=sys.stderr)
        sys.exit(not program.result.wasSuccessful())
    elif subprocess.run([*APART, "mount", "-t", "tmpfs", "none", "/mnt"], check=False).returncode != 0:
        print("SKIPPED: no file system can be mounted in a namespace of one's own here")
        sys.exit(77)
    else:
        os.execvpe(APART[0], [*APART, sys.executable, *sys.argv], {**os.environ, INSIDE: "1"})

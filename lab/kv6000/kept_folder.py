"""A folder that goes with this process, however that ends, and with it the processes that work in it."""

import os
import select
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path
from typing import Sequence

# The path of a UNIX socket holds 107 characters.
LONGEST_PARENT = 70


def make_folder(prefix: str) -> Path:
    """A new folder below $TMPDIR, or below /tmp when that is too long for sockets."""
    parent = Path(os.environ.get("TMPDIR") or "/tmp").resolve()
    if len(str(parent)) > LONGEST_PARENT:
        parent = Path("/tmp")
    return Path(tempfile.mkdtemp(prefix=prefix, dir=parent))


class KeptFolder:
    """`command` is what the keeper starts when it is asked to, a program and its arguments."""

    def __init__(self, path: Path, command: Sequence[str] = ()):
        self.path = path
        try:
            self._keeper = subprocess.Popen(
                [sys.executable, "-S", "-E", str(Path(__file__).with_name("keeper.py")), str(path), *command],
                stdin=subprocess.PIPE, stdout=subprocess.PIPE, start_new_session=True)
        except BaseException:
            shutil.rmtree(path, ignore_errors=True)
            raise

    def start(self):
        """Has the keeper start its command."""
        self._tell("start")

    def has_ended(self, time_limit: float) -> bool:
        """Whether the command's process ends within the time; each end is seen once."""
        ended, _, _ = select.select([self._keeper.stdout], [], [], time_limit)
        if ended:
            os.read(self._keeper.stdout.fileno(), 100)
        return bool(ended)

    def close(self, keep: bool):
        """Ends the processes and removes the folder, unless it is to be kept."""
        if keep:
            self._tell("keep")
        self._keeper.stdin.close()
        self._keeper.wait()
        self._keeper.stdout.close()
        if not keep:
            shutil.rmtree(self.path, ignore_errors=True)

    def _tell(self, word: str):
        self._keeper.stdin.write(word.encode() + b"\n")
        self._keeper.stdin.flush()

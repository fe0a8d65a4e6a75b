"""Installs the product for a virtual server, and lets the lab's Python package be found."""

import os
import subprocess
import sys
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(REPOSITORY / "lab"))


def build_folder() -> Path:
    """The CMake build folder that is installed: $KESTREL_BUILD_DIR, else the release build."""
    return Path(os.environ.get("KESTREL_BUILD_DIR") or REPOSITORY / "build" / "release").resolve()


def install(folder: Path) -> Path:
    """Installs plug-in and reference host below `folder` as a package would, without debug information."""
    for component in ("plugin", "refhost"):
        subprocess.run(["cmake", "--install", str(build_folder()), "--prefix", "/usr", "--strip",
                        "--component", component],
                       check=True, stdout=subprocess.DEVNULL, env=dict(os.environ, DESTDIR=str(folder)))
    return folder

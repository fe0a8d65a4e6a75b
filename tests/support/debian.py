"""Debian packages, for the tests that look into them or install them below a folder."""

import re
import subprocess
from pathlib import Path


def output_of(*command) -> str:
    return subprocess.run([str(word) for word in command], check=True, capture_output=True, text=True).stdout


def field(package: Path, name: str) -> str:
    return output_of("dpkg-deb", "-f", package, name).strip()


def dependencies(packages) -> list:
    """The names of the Debian packages that these depend on."""
    return sorted({re.match(r"[\w.+-]+", entry.strip()).group()
                   for package in packages for entry in field(package, "Depends").split(",") if entry.strip()})


def begin_database(root: Path, installed: list):
    """Makes a database of dpkg below a root, in which the named packages of this machine are installed."""
    for folder in ("updates", "info", "parts", "triggers", "alternatives"):
        (root / "var/lib/dpkg" / folder).mkdir(parents=True)
    (root / "var/lib/dpkg/status").write_text(output_of("dpkg-query", "-s", *installed))
    (root / "var/lib/dpkg/available").touch()

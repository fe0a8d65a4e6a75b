"""Takes what a guest needs out of Debian's packages, without installing them, and keeps it until its inputs change."""

import fcntl
import hashlib
import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path
from typing import Callable, Iterable

from kv6000.errors import LabError
from kv6000.paths import LAB


def run(command, advice="", **options) -> str:
    """Runs a program to its end and returns its standard output."""
    try:
        done = subprocess.run([str(word) for word in command], check=True, capture_output=True, text=True, **options)
    except FileNotFoundError as error:
        raise LabError(f"{command[0]} is not installed.", advice=advice or "Install the packages that ./dev lists.") \
            from error
    except subprocess.CalledProcessError as error:
        raise LabError(f"{' '.join(map(str, command))} ended with {error.returncode}.",
                       error.stderr.strip(), advice) from error
    return done.stdout


def fetch(package: str, cache: Path, work: Path) -> Path:
    """Downloads a package, or takes it from the cache, and unpacks it into a folder of its own in `work`."""
    have = sorted(cache.glob(f"{package}_*.deb"))
    if not have:
        run(["apt-get", "download", "-q", package], cwd=cache, advice="Check the network and run apt-get update; "
            f"or put {package}_*.deb into {cache} by hand.")
        have = sorted(cache.glob(f"{package}_*.deb"))
    unpacked = work / package
    run(["dpkg", "-x", have[-1], unpacked])
    return unpacked


def kernel_package(cache: Path) -> str:
    """The package of the kernel in the cache, else of Debian's newest."""
    have = sorted(cache.glob("linux-image-[0-9]*.deb"))
    if have:
        return have[-1].name.split("_")[0]
    found = re.search(r"Depends: (linux-image-\S+)", run(["apt-cache", "depends", "linux-image-amd64"]))
    if not found:
        raise LabError("apt knows no kernel package linux-image-amd64.", advice="Run apt-get update.")
    return found.group(1)


def own_files(module: str, folder: str) -> list:
    """What an image is made of beside programs: the modules that build it, and its folder below lab/guest."""
    modules = [Path(module), Path(__file__), Path(__file__).with_name("packing.py")]
    return modules + sorted(path for path in (LAB / "guest" / folder).rglob("*") if path.is_file())


def digest(files: Iterable[Path], programs: Iterable[str]) -> str:
    """What something is made of: the content of files of our own, and programs of this machine by their dates."""
    inputs = hashlib.sha256()
    for path in files:
        inputs.update(path.read_bytes())
    for name in programs:
        try:
            inputs.update(f"{name} {os.stat(name).st_mtime_ns}".encode())
        except OSError as error:
            raise LabError(f"{name} is missing on this machine; the guest needs it.",
                           advice="Install the packages that ./dev lists.") from error
    return inputs.hexdigest()


def keep_built(cache: Path, name: str, inputs: str, build: Callable[[Path], None]):
    """Has `build` make something in the cache, with an empty work folder as its argument, unless that was done from the
    same inputs already."""
    cache.mkdir(parents=True, exist_ok=True)
    with open(cache / "lock", "w") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        stamp = cache / name
        if stamp.exists() and stamp.read_text() == inputs:
            return
        stamp.unlink(missing_ok=True)
        for rest in cache.glob("guest-*"):  # of a build that was killed
            shutil.rmtree(rest)
        with tempfile.TemporaryDirectory(prefix="guest-", dir=cache) as work:
            build(Path(work))
        stamp.write_text(inputs)

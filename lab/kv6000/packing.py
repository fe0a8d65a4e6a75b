"""Packs programs with their libraries, and folder trees, into the cpio archives that a guest boots from."""

import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path

from kv6000.errors import LabError


def libraries(program: Path, search=()) -> list:
    """The paths of the shared libraries that an ELF file needs, its interpreter included."""
    environment = dict(os.environ, LD_LIBRARY_PATH=":".join(map(str, search)))
    done = subprocess.run(["ldd", str(program)], capture_output=True, text=True, env=environment, check=False)
    missing = re.findall(r"^\s*(\S+) => not found", done.stdout, re.MULTILINE)
    if missing:
        raise LabError(f"{program} needs {', '.join(missing)}, which this machine does not have.")
    return [Path(path) for path in re.findall(r"(/\S+) \(0x", done.stdout)]


def is_elf(path: Path) -> bool:
    with open(path, "rb") as file:
        return file.read(4) == b"\x7fELF"


def place(source: Path, tree: Path, target: Path = None):
    """Copies a file under its own absolute path (or `target`) into a tree whose /bin, /sbin and /lib are in /usr."""
    name = str(target or source).lstrip("/")
    if re.match(r"(bin|sbin|lib|lib64)/", name):
        name = "usr/" + name
    destination = tree / name
    if not destination.exists():
        destination.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(source, destination)


def place_program(source: Path, tree: Path, target: Path = None):
    place(source, tree, target)
    for library in libraries(source):
        place(library, tree)


def pack(tree: Path, archive: Path):
    """Packs a tree as an uncompressed cpio archive owned by root."""
    names = sorted(str(path.relative_to(tree)) for path in tree.rglob("*"))
    temporary = archive.with_suffix(".new")
    with open(temporary, "wb") as output:
        try:
            subprocess.run(["cpio", "--quiet", "-0", "-o", "-H", "newc", "-R", "0:0"], check=True, cwd=tree,
                           input="\0".join(names).encode(), stdout=output, stderr=subprocess.PIPE)
        except FileNotFoundError as error:
            raise LabError("cpio is not installed.", advice="Install the packages that ./dev lists.") from error
        except subprocess.CalledProcessError as error:
            raise LabError(f"cpio cannot pack {tree}.", error.stderr.decode(errors="replace").strip()) from error
    temporary.rename(archive)


def pack_overlay(overlay: Path, archive: Path):
    """Packs a staged tree, as `cmake --install` leaves it, with the libraries that its programs need beside it."""
    with tempfile.TemporaryDirectory(prefix="overlay-", dir=archive.parent) as folder:
        tree = Path(folder)
        for entry in sorted(overlay.iterdir()):
            merged = entry.name in ("bin", "sbin", "lib", "lib64")
            target = tree / "usr" / entry.name if merged else tree / entry.name
            if entry.is_dir():
                shutil.copytree(entry, target, symlinks=True, dirs_exist_ok=True)
            else:
                shutil.copy(entry, target, follow_symlinks=False)
        files = [path for path in tree.rglob("*") if path.is_file() and not path.is_symlink()]
        binaries = [path for path in files if is_elf(path)]
        folders = sorted({path.parent for path in binaries if ".so" in path.name})
        for binary in binaries:
            for library in libraries(binary, folders):
                if tree not in library.parents:
                    place(library, tree)
        pack(tree, archive)

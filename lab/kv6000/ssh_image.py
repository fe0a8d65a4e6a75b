"""What a server gets on top when it is to be reached over SSH: the kernel drivers of a network card, an SSH server and Python.

Only such servers need it, so it is built and kept apart from the guest that every server boots.
"""

import shutil
from dataclasses import dataclass
from pathlib import Path

from kv6000.debian import digest, fetch, keep_built, kernel_package, own_files, run
from kv6000.packing import libraries, pack, place, place_program
from kv6000.paths import LAB, guest_cache

DROPBEAR = "/usr/sbin/dropbear"
MODULES = ("net/core/failover", "drivers/net/net_failover", "drivers/net/virtio_net")
PYTHON = "python3.11"
PYTHON_PACKAGES = ("python3.11-minimal", "libpython3.11-minimal", "libpython3.11-stdlib")
# What a server does not need of Python's library, above all what needs large libraries of its own.
LEFT_OUT = ("test", "pydoc_data", "turtle.py", "lib2to3", "ensurepip", "idlelib", "tkinter", "__phello__",
            "lib-dynload/_codecs_*", "lib-dynload/_curses*", "lib-dynload/_dbm*", "lib-dynload/_hashlib*",
            "lib-dynload/_sqlite3*", "lib-dynload/_ssl*", "lib-dynload/_*test*", "lib-dynload/audioop*",
            "lib-dynload/nis*", "lib-dynload/ossaudiodev*", "lib-dynload/readline*", "lib-dynload/*xx*")


@dataclass(frozen=True)
class SshLogin:
    """How one server is reached: root logs in with a key, at a port of 127.0.0.1.

    name        the server's host name
    port        the port, which must be free whenever the machine is powered on
    host_key    file with the server's private key, as dropbear writes it
    public_key  the line of the key that may log in, as ssh-keygen writes it
    """

    name: str
    port: int
    host_key: Path
    public_key: str


class SshImage:
    """The cpio segments for servers that are reached over SSH."""

    def __init__(self):
        self.cache = guest_cache()
        self.common = self.cache / "ssh.cpio"

    def ensure(self, progress=lambda text: None):
        """Builds what is missing or stale."""
        keep_built(self.cache, "ssh-stamp", digest(own_files(__file__, "ssh"), [DROPBEAR]),
                   lambda work: self._build(work, progress))

    def segments(self, login: SshLogin, folder: Path) -> list:
        """The archives for a server with this login; its own one is packed into `folder`."""
        tree = folder / "ssh-login"
        for name, content, mode in (("etc/hostname", login.name + "\n", 0o644),
                                    ("root/.ssh/authorized_keys", login.public_key + "\n", 0o600)):
            path = tree / name
            path.parent.mkdir(parents=True)
            path.write_text(content)
            path.chmod(mode)
        for name in ("root", "root/.ssh"):
            (tree / name).chmod(0o700)
        (tree / "etc/dropbear").mkdir()
        shutil.copy(login.host_key, tree / "etc/dropbear/host_key")
        archive = folder / "ssh-login.cpio"
        pack(tree, archive)
        shutil.rmtree(tree)
        return [self.common, archive]

    def _build(self, work: Path, progress):
        tree = work / "tree"
        progress("fetching the kernel drivers of the network card")
        self._add_modules(work, tree)
        progress("fetching Python")
        self._add_python(work, tree)
        progress("packing the SSH server")
        place_program(Path(DROPBEAR), tree)
        shutil.copytree(LAB / "guest" / "ssh", tree, dirs_exist_ok=True)
        (tree / "etc/shadow").write_text("root:*:19000:0:99999:7:::\n")
        (tree / "etc/shells").write_text("/bin/sh\n")
        pack(tree, self.common)

    def _add_modules(self, work: Path, tree: Path):
        package = kernel_package(self.cache)
        unpacked = fetch(package, self.cache, work)
        folder = Path("lib/modules") / package.removeprefix("linux-image-") / "kernel"
        for name in MODULES:
            place(unpacked / folder / f"{name}.ko", tree, folder / f"{name}.ko")

    def _add_python(self, work: Path, tree: Path):
        python = work / "python"
        for package in PYTHON_PACKAGES:
            shutil.copytree(fetch(package, self.cache, work), python, symlinks=True, dirs_exist_ok=True)
        library = python / "usr/lib" / PYTHON
        for path in [path for pattern in LEFT_OUT for path in library.glob(pattern)]:
            shutil.rmtree(path) if path.is_dir() else path.unlink(missing_ok=True)
        # Byte code in the place of the sources: an emulated machine would compile at every start.
        run([python / "usr/bin" / PYTHON, "-S", "-E", "-B", "-m", "compileall", "-q", "-b", library])
        for source in library.rglob("*.py"):
            source.unlink()
        place_program(python / "usr/bin" / PYTHON, tree, Path("usr/bin") / PYTHON)
        (tree / "usr/bin/python3").symlink_to(PYTHON)
        shutil.copytree(library, tree / "usr/lib" / PYTHON, symlinks=True)
        for extension in (library / "lib-dynload").iterdir():
            for needed in libraries(extension):
                place(needed, tree)

"""Builds the guest of the virtual server from Debian's own kernel and programs, and keeps it until its inputs change.

The guest is a kernel and three cpio segments that a server strings together as it needs them: the base, the
open-source IPMI tool and the maker's IPMI tool. An overlay of the product is a fourth.
"""

import fcntl
import hashlib
import lzma
import os
import re
import shutil
import struct
import subprocess
import tempfile
from pathlib import Path

from kv6000.errors import LabError
from kv6000.paths import LAB, build_folder, guest_cache

MAKER_TOOL = "opt/kestrel/node_keeper/ipmi_tools/ipmicmd"

# Programs of the base, each with the libraries that it needs. busybox fills in the rest under its own names.
PROGRAMS = """
    /usr/bin/bash /usr/bin/busybox /usr/bin/dash /usr/bin/kmod /usr/sbin/dmidecode /usr/bin/grep /usr/bin/basename
    /usr/bin/cat /usr/bin/chmod /usr/bin/cp /usr/bin/date /usr/bin/dd /usr/bin/dirname /usr/bin/echo /usr/bin/env
    /usr/bin/false /usr/bin/head /usr/bin/id /usr/bin/ln /usr/bin/ls /usr/bin/mkdir /usr/bin/mkfifo /usr/bin/mv
    /usr/bin/printf /usr/bin/rm /usr/bin/rmdir /usr/bin/sleep /usr/bin/sort /usr/bin/stat /usr/bin/stty /usr/bin/sync
    /usr/bin/tail /usr/bin/tee /usr/bin/timeout /usr/bin/touch /usr/bin/true /usr/bin/uname /usr/bin/wc
""".split()

BUSYBOX_NAMES = ("awk clear cmp df dmesg du find free hexdump hostname kill less mount more od ps pwd reset sed seq "
                 "setsid tar top tr umount uptime usleep vi which xargs xxd").split()

MODULES = ("virtio_pci 9pnet_virtio 9p ipmi_msghandler ipmi_devintf ipmi_si xhci_pci usb_storage uas sd_mod sr_mod sg "
           "virtio_scsi").split()

LINKS = {
    "bin": "usr/bin", "sbin": "usr/sbin", "lib": "usr/lib", "lib64": "usr/lib64",
    "usr/bin/sh": "dash", "usr/bin/lsmod": "kmod",
    "usr/sbin/lsmod": "../bin/kmod", "usr/sbin/modprobe": "../bin/kmod", "usr/sbin/insmod": "../bin/kmod",
    "usr/sbin/rmmod": "../bin/kmod", "usr/sbin/modinfo": "../bin/kmod", "usr/sbin/depmod": "../bin/kmod",
}


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


def unpack_kernel(path: Path) -> bytes:
    """The kernel proper inside a bzImage. QEMU boots it as it is; unpacked by the emulated machine it costs 4 s more."""
    image = path.read_bytes()
    # Fields of the boot protocol's header: setup sectors, then offset and length of the compressed kernel after them.
    setup = (image[0x1f1] or 4) + 1
    offset, length = struct.unpack_from("<II", image, 0x248)
    packed = image[setup * 512 + offset:setup * 512 + offset + length]
    try:
        # The last four bytes are the unpacked length, not part of the stream.
        kernel = lzma.decompress(packed[:-4])
    except lzma.LZMAError as error:
        raise LabError(f"{path} holds no xz-compressed kernel.", str(error)) from error
    if not kernel.startswith(b"\x7fELF"):
        raise LabError(f"{path} holds something else than a kernel.")
    return kernel


class GuestImage:
    """The kernel and the cpio segments; `ensure()` builds what is missing or stale."""

    def __init__(self):
        self.cache = guest_cache()
        self.kernel = self.cache / "vmlinux"
        self.base = self.cache / "base.cpio"
        self.ipmitool = self.cache / "ipmitool.cpio"

    def ensure(self, progress=lambda text: None):
        self.cache.mkdir(parents=True, exist_ok=True)
        with open(self.cache / "lock", "w") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            stamp = self.cache / "stamp"
            inputs = self._inputs()
            if stamp.exists() and stamp.read_text() == inputs:
                return
            stamp.unlink(missing_ok=True)
            for rest in self.cache.glob("guest-*"):  # of a build that was killed
                shutil.rmtree(rest)
            self._build(progress)
            stamp.write_text(inputs)

    def segments(self, tool: str, folder: Path) -> list:
        """The archives for a server with the named tool; what is not cached is packed into `folder`."""
        chosen = [self.base]
        if tool in ("ipmitool", "both"):
            chosen.append(self.ipmitool)
        if tool in ("maker", "both"):
            with tempfile.TemporaryDirectory(dir=folder) as tree:
                place(build_folder() / "lab" / "ipmicmd", Path(tree), Path(MAKER_TOOL))
                pack(Path(tree), folder / "maker.cpio")
            chosen.append(folder / "maker.cpio")
        return chosen

    def _inputs(self) -> str:
        digest = hashlib.sha256()
        own = [Path(__file__)] + sorted(path for path in (LAB / "guest" / "root").rglob("*") if path.is_file())
        for path in own:
            digest.update(path.read_bytes())
        for name in PROGRAMS + ["/usr/bin/ipmitool"]:
            try:
                digest.update(f"{name} {os.stat(name).st_mtime_ns}".encode())
            except OSError as error:
                raise LabError(f"{name} is missing on this machine; the guest needs it.",
                               advice="Install the packages that ./dev lists.") from error
        return digest.hexdigest()

    def _build(self, progress):
        with tempfile.TemporaryDirectory(prefix="guest-", dir=self.cache) as folder:
            work = Path(folder)
            tree = work / "tree"
            for name in ("usr/bin", "usr/sbin", "usr/lib", "usr/lib64", "dev", "etc/inittab.d", "proc", "sys", "run", "tmp",
                         "root", "share", "srv", "var/log", "var/run"):
                (tree / name).mkdir(parents=True, exist_ok=True)
            progress("fetching the kernel package")
            self._add_kernel(work, tree)
            progress("fetching init and shutdown")
            self._add_init(work, tree)
            progress("packing the guest")
            for name in PROGRAMS:
                place_program(Path(name), tree)
            for name in BUSYBOX_NAMES:
                if not (tree / "usr/bin" / name).exists():
                    (tree / "usr/bin" / name).symlink_to("busybox")
            for name, target in LINKS.items():
                (tree / name).symlink_to(target)
            shutil.copytree(LAB / "guest" / "root", tree, dirs_exist_ok=True)
            (tree / "etc/passwd").write_text("root:x:0:0:root:/root:/bin/sh\n")
            (tree / "etc/group").write_text("root:x:0:\n")
            pack(tree, self.base)

            tool = work / "ipmitool"
            place_program(Path("/usr/bin/ipmitool"), tool)
            # Without an entry the tool fails; with all of them every run reads half a megabyte.
            numbers = tool / "usr/share/misc/enterprise-numbers.txt"
            numbers.parent.mkdir(parents=True)
            numbers.write_text("343\n  Intel Corporation\n    Nobody\n      nobody&example.com\n")
            pack(tool, self.ipmitool)

    def _fetch(self, package: str, work: Path) -> Path:
        """Downloads a Debian package, or takes it from the cache, and unpacks it."""
        have = sorted(self.cache.glob(f"{package}_*.deb"))
        if not have:
            run(["apt-get", "download", "-q", package], cwd=self.cache, advice="Check the network and run apt-get update; "
                f"or put {package}_*.deb into {self.cache} by hand.")
            have = sorted(self.cache.glob(f"{package}_*.deb"))
        unpacked = work / package
        run(["dpkg", "-x", have[-1], unpacked])
        return unpacked

    def _add_kernel(self, work: Path, tree: Path):
        have = sorted(self.cache.glob("linux-image-[0-9]*.deb"))
        if have:
            package = have[-1].name.split("_")[0]
        else:
            found = re.search(r"Depends: (linux-image-\S+)", run(["apt-cache", "depends", "linux-image-amd64"]))
            if not found:
                raise LabError("apt knows no kernel package linux-image-amd64.", advice="Run apt-get update.")
            package = found.group(1)
        unpacked = self._fetch(package, work)
        release = package.removeprefix("linux-image-")
        self.kernel.write_bytes(unpack_kernel(unpacked / "boot" / f"vmlinuz-{release}"))
        # depmod and modprobe look below lib/modules of the folder they are given.
        run(["/usr/sbin/depmod", "-b", unpacked, release])
        wanted = run(["/usr/sbin/modprobe", "-d", unpacked, "-S", release, "-D", "-a", *MODULES])
        for path in sorted(set(re.findall(r"^insmod (\S+)", wanted, re.MULTILINE))):
            source = Path(path)
            place(source, tree, source.relative_to(unpacked))
        for extra in ("modules.order", "modules.builtin", "modules.builtin.modinfo"):
            place(unpacked / "lib/modules" / release / extra, tree, Path("lib/modules") / release / extra)
        (tree / "lib").symlink_to("usr/lib")
        run(["/usr/sbin/depmod", "-b", tree, release])
        (tree / "lib").unlink()

    def _add_init(self, work: Path, tree: Path):
        unpacked = self._fetch("sysvinit-core", work)
        for name in ("init", "shutdown", "halt", "poweroff", "reboot", "telinit", "runlevel"):
            place_program(unpacked / "sbin" / name, tree, Path("sbin") / name)

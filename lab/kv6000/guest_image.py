"""Builds the guest of the virtual server from Debian's own kernel and programs, and keeps it until its inputs change.

The guest is a kernel and three cpio segments that a server strings together as it needs them: the base, the
open-source IPMI tool and the maker's IPMI tool. An overlay of the product is a fourth.
"""

import lzma
import re
import shutil
import struct
import tempfile
from pathlib import Path

from kv6000.debian import digest, fetch, keep_built, kernel_package, own_files, run
from kv6000.errors import LabError
from kv6000.packing import pack, place, place_program
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
    """The kernel and the cpio segments that every server is made of."""

    def __init__(self):
        self.cache = guest_cache()
        self.kernel = self.cache / "vmlinux"
        self.base = self.cache / "base.cpio"
        self.ipmitool = self.cache / "ipmitool.cpio"

    def ensure(self, progress=lambda text: None):
        """Builds what is missing or stale."""
        keep_built(self.cache, "stamp", digest(own_files(__file__, "root"), PROGRAMS + ["/usr/bin/ipmitool"]),
                   lambda work: self._build(work, progress))

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

    def _build(self, work: Path, progress):
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

    def _add_kernel(self, work: Path, tree: Path):
        package = kernel_package(self.cache)
        unpacked = fetch(package, self.cache, work)
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
        unpacked = fetch("sysvinit-core", self.cache, work)
        for name in ("init", "shutdown", "halt", "poweroff", "reboot", "telinit", "runlevel"):
            place_program(unpacked / "sbin" / name, tree, Path("sbin") / name)

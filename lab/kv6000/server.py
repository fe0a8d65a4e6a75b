"""One virtual KV6000 server: its run folder, its processes and what a test or a person can do with it."""

import json
import os
import re
import select
import shutil
import socket
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from kv6000 import bmc, guest, management
from kv6000.errors import LabError, last_lines
from kv6000.guest import Result
from kv6000.guest_image import GuestImage, pack_overlay
from kv6000.hardware import Dmi, lan_settings
from kv6000.paths import build_folder
from kv6000.sdr import repository

__all__ = ["Result", "Server"]

START_ATTEMPTS = 5
# The major is seven bits wide in Get Device ID.
VERSION = re.compile(r"[0-7][0-9a-f]-[0-9a-f]{2}")
MEDIA_SIZE = 16 * 1024 * 1024
# The path of a UNIX socket holds 107 characters.
LONGEST_PARENT = 70

KERNEL_LINE = ("console=ttyS0 quiet loglevel=4 rdinit=/sbin/init panic=0 nokaslr mitigations=off random.trust_cpu=on "
               "cryptomgr.notests 8250.nr_uarts=4 usb-storage.delay_use=0")


def free_port() -> int:
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def make_run_folder() -> Path:
    parent = Path(os.environ.get("TMPDIR") or "/tmp").resolve()
    if len(str(parent)) > LONGEST_PARENT:
        parent = Path("/tmp")
    return Path(tempfile.mkdtemp(prefix="kv6000-", dir=parent))


class Server:
    """A context manager: entering starts the server and waits until commands can run in it, leaving ends it.

    tool          the IPMI tool in the guest: "ipmitool", "maker", "both" or "none"
    firmware      the running BMC firmware, "01-23"
    manufacturer, product, version, serial, bios_version    what dmidecode reads; "Not Specified" for ""
    bare_tables   the DMI tables that lack all their fields: "system", "bios"
    lan           the BMC's network settings: mac, address, netmask, gateway, dhcp; what is left out has a default
    capability    the support flags that Get Capability ends with: bit 0 the OS file, bit 1 the disk file
    sdr           the SDR repository: version (None for no version record), records, version_record (its number),
                  length_byte (what it says as its length), unreadable (numbers); what is left out has a default
    install_path  where the host is installed in the guest; a folder of the share, so that it survives power cycles
    overlay       a staged folder tree that is laid over the guest's root, libraries of its programs included
    keep          spare the run folder when the server ends
    """

    def __init__(self, tool="ipmitool", firmware="01-23", manufacturer="KESTREL", product="KV6000", version="1.0",
                 serial="KV6K000001", bios_version="V1.2.0", bare_tables=(), lan=None, capability=0x03, sdr=None,
                 install_path="/srv/orv", overlay=None, keep=False, progress=lambda text: None):
        if tool not in ("ipmitool", "maker", "both", "none"):
            raise LabError(f"There is no tool '{tool}': take ipmitool, maker, both or none.")
        if not VERSION.fullmatch(firmware):
            raise LabError(f"'{firmware}' is not a firmware version such as 01-23.")
        if overlay and not Path(overlay).is_dir():
            raise LabError(f"There is no folder {overlay} to lay over the guest's root.")
        if not install_path.startswith("/"):
            raise LabError(f"The install path '{install_path}' is not absolute.")
        self._tool = tool
        self._firmware = firmware
        self._dmi = Dmi({"manufacturer": manufacturer, "product": product, "version": version, "serial": serial},
                        bios_version, bare_tables)
        self._lan = lan_settings(lan)
        if capability not in range(256):
            raise LabError(f"The support flags {capability} are not one byte.")
        self._capability = capability
        self._sdr, self._unreadable_sdr = repository(sdr)
        self.install_path = install_path
        self._overlay = Path(overlay) if overlay else None
        self._keep = keep
        self._progress = progress
        self._keeper = None
        self._guest = None
        self.folder = None

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, *_):
        self.close()

    @property
    def share(self) -> Path:
        """The folder that the guest sees as /share."""
        return self.folder / "share"

    @property
    def install(self) -> Path:
        """The folder that the guest sees as its install path."""
        return self.share / "install"

    def start(self, timeout: float = 60):
        image = GuestImage()
        image.ensure(self._progress)
        try:
            self.folder = make_run_folder()
            # From here on the folder goes with this process, however it ends.
            self._start_keeper()
            self._fill_run_folder(image)
            self._start_bmc(image)
            self._guest = guest.Guest(self.folder, self.bmc)
            self._guest.wait_for_new_boot(timeout)
        except BaseException:
            self.close()
            raise

    def close(self):
        """Ends the server's processes and removes the run folder, unless it is to be kept."""
        if self._guest:
            self._guest.release()
            self._guest = None
        if self._keeper and self._keep:
            self._tell_keeper("keep")
        self._end_keeper()
        if self.folder and not self._keep:
            shutil.rmtree(self.folder, ignore_errors=True)

    def bmc(self, order: str):
        """Sends an order to the BMC: a dict for "state" and "files", "ok" for the others; LabError when it is refused."""
        return bmc.order(self.folder, order)

    def wait_bmc(self, key: str, value, timeout: float = 30):
        """Waits until the BMC's state has the value, e.g. ("media", "connected")."""
        deadline = time.monotonic() + timeout
        while (state := self.bmc("state"))[key] != value:
            if time.monotonic() > deadline:
                raise LabError(f"The BMC's '{key}' is still '{state[key]}', not '{value}', after {timeout:g} s.",
                               last_lines(self.folder / "bmc.log"))
            time.sleep(0.02)

    def run(self, command, timeout: float = 60) -> Result:
        """Runs a command line (or a list of words) in the guest and waits for its end."""
        return self._guest.start(command).wait(timeout)

    def start_job(self, command) -> guest.Job:
        """Starts a command in the guest; several may run at the same time."""
        return self._guest.start(command)

    def wait_power_cycle(self, timeout: float = 60):
        """Waits until the machine has gone down and come up again since the caller last knew it up."""
        self._guest.wait_for_new_boot(timeout)

    def wait_off(self, timeout: float = 30):
        self._guest.wait_for_off(timeout)

    def power_on(self, timeout: float = 60):
        self.bmc("power-on")
        self._guest.wait_for_new_boot(timeout)

    def plan_flash_exits(self, exits):
        """What the coming runs of Yafuflash do: an exit code, "hang" or "ok" for each; the flash itself after that."""
        (self.share / "lab" / "flash-exits").write_text("".join(f"{word}\n" for word in exits))

    def put_management_library(self, **answer):
        """Puts the management library where the host looks for it; see management.install() for what it can answer."""
        management.install(self.install / "MngSrv", **answer)

    def remove_management_library(self):
        management.remove(self.install / "MngSrv")

    def stored_file(self, number: str):
        """The bytes of a config file ("40", "41") in the BMC, None when none were ever stored."""
        stored = self.bmc("files")[number]["stored"]
        return None if stored is None else bytes.fromhex(stored)

    def release(self):
        """Lets another driver run commands in the guest; the next command of this one takes hold again."""
        self._guest.release()

    def _fill_run_folder(self, image: GuestImage):
        (self.share / "lab" / "jobs").mkdir(parents=True)
        (self.share / "lab" / "install-path").write_text(self.install_path + "\n")
        flash_tool = self.install / "KV6KBMC" / "Yafuflash"
        flash_tool.parent.mkdir(parents=True)
        shutil.copy(build_folder() / "lab" / "Yafuflash", flash_tool)
        with open(self.folder / "media.img", "wb") as media:
            media.truncate(MEDIA_SIZE)
        segments = image.segments(self._tool, self.folder)
        if self._overlay:
            pack_overlay(self._overlay, self.folder / "overlay.cpio")
            segments.append(self.folder / "overlay.cpio")
        with open(self.folder / "initrd", "wb") as initrd:
            for segment in segments:
                with open(segment, "rb") as source:
                    shutil.copyfileobj(source, initrd, 1024 * 1024)

    def _start_keeper(self):
        self._keeper = subprocess.Popen(
            [sys.executable, "-S", "-E", str(Path(__file__).with_name("keeper.py")), str(self.folder),
             "/usr/bin/ipmi_sim", "-n", "-c", "lan.conf", "-f", "bmc.emu", "-s", "state"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, start_new_session=True)

    def _start_bmc(self, image: GuestImage):
        for _ in range(START_ATTEMPTS):
            # Another process may take the port before the BMC does: then it ends, and another port is tried.
            self._write_bmc_files(image, free_port())
            self._tell_keeper("start")
            if self._wait_for_bmc():
                return
        raise LabError("The BMC did not start.", last_lines(self.folder / "bmc.log"),
                       "Check that openipmi is installed and that the lab was built on this machine.")

    def _wait_for_bmc(self, timeout: float = 10) -> bool:
        log = self.folder / "bmc.log"
        deadline = time.monotonic() + timeout
        while time.monotonic() < deadline:
            if log.exists() and "lab: ready" in log.read_text(errors="replace"):
                return True
            ended, _, _ = select.select([self._keeper.stdout], [], [], 0.01)
            if ended:
                os.read(self._keeper.stdout.fileno(), 100)
                return False
        return False

    def _tell_keeper(self, word: str):
        self._keeper.stdin.write(word.encode() + b"\n")
        self._keeper.stdin.flush()

    def _end_keeper(self):
        if not self._keeper:
            return
        keeper, self._keeper = self._keeper, None
        keeper.stdin.close()
        keeper.wait()
        keeper.stdout.close()

    def _write_bmc_files(self, image: GuestImage, port: int):
        folder = self.folder
        (folder / "state").mkdir(exist_ok=True)
        (folder / "bmc.log").unlink(missing_ok=True)  # no "ready" of an earlier attempt
        major, minor = self._firmware.split("-")
        (folder / "lan.conf").write_text(
            'name "kv6000"\n'
            "set_working_mc 0x20\n"
            f"  serial 15 127.0.0.1 {port} codec VM\n"
            f'loadlib "{build_folder()}/lab/kv6000_sim.so" "{folder}/bmc.json"\n')
        (folder / "bmc.emu").write_text(
            "mc_setbmc 0x20\n"
            f"mc_add 0x20 0x20 no-device-sdrs 0x01 0x{major} 0x{minor} 0x9f 0x001291 0xf02\n"
            "sel_enable 0x20 1000 0x0a\n"
            "mc_enable 0x20\n")
        phrase = (build_folder() / "lab" / "write-mode-phrase").read_text()
        (folder / "bmc.json").write_text(json.dumps({
            "running": self._firmware, "writeModePhrase": phrase, "lan": self._lan,
            "capability": self._capability, "sdr": [record.hex(" ") for record in self._sdr],
            "sdrUnreadable": self._unreadable_sdr, "orders": str(folder / "bmc.sock"),
            "machineLog": str(folder / "machine.log"), "media": str(folder / "media.img"),
            "machine": self._machine_command(image, port)}, indent=1))

    def _machine_command(self, image: GuestImage, port: int) -> list:
        folder = self.folder
        return ["qemu-system-x86_64", "-name", "kv6000", "-accel", "tcg", "-m", "512", "-nodefaults",
                "-no-user-config", "-display", "none",
                "-kernel", str(image.kernel), "-initrd", f"{folder}/initrd", "-append", KERNEL_LINE,
                "-chardev", f"file,id=console,path={folder}/console.log,append=on", "-serial", "chardev:console",
                "-chardev", f"socket,id=bell,path={folder}/bell.sock,server=on,wait=off", "-serial", "chardev:bell",
                "-chardev", f"socket,id=shell,path={folder}/shell.sock,server=on,wait=off", "-serial", "chardev:shell",
                "-virtfs", f"local,id=share,path={folder}/share,mount_tag=share,security_model=none,multidevs=remap",
                "-device", "qemu-xhci,id=usb",
                "-blockdev", f"driver=raw,node-name=media,file.driver=file,file.filename={folder}/media.img",
                "-chardev", f"socket,id=ipmi,host=127.0.0.1,port={port},reconnect=1",
                "-device", "ipmi-bmc-extern,id=bmc,chardev=ipmi", "-device", "isa-ipmi-kcs,bmc=bmc",
                *self._dmi.write(folder)]

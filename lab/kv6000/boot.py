"""What the BMC and the machine of one server are started with: the files in the run folder and QEMU's command line."""

import json
import shutil
from pathlib import Path

from kv6000.guest_image import GuestImage
from kv6000.packing import pack_overlay
from kv6000.paths import build_folder
from kv6000.settings import ServerSettings
from kv6000.ssh_image import SshImage, SshLogin

MEDIA_SIZE = 16 * 1024 * 1024
KERNEL_LINE = ("console=ttyS0 quiet loglevel=4 rdinit=/sbin/init panic=0 nokaslr mitigations=off random.trust_cpu=on "
               "cryptomgr.notests 8250.nr_uarts=4 usb-storage.delay_use=0")


def ready_file(folder: Path) -> Path:
    """Holds the identity of a boot that takes commands: the guest writes it, the BMC removes it at every power-on."""
    return folder / "share" / "lab" / "ready"


def name_file(folder: Path) -> Path:
    """Holds the name of a server that has one."""
    return folder / "name"


def fill_run_folder(folder: Path, settings: ServerSettings, image: GuestImage):
    """Writes what does not change over the server's life: the share, the media, the guest's image."""
    share = folder / "share"
    (share / "lab" / "jobs").mkdir(parents=True)
    (share / "lab" / "install-path").write_text(settings.install_path + "\n")
    flash_tool = share / "install" / "KV6KBMC" / "Yafuflash"
    flash_tool.parent.mkdir(parents=True)
    shutil.copy(build_folder() / "lab" / "Yafuflash", flash_tool)
    with open(folder / "media.img", "wb") as media:
        media.truncate(MEDIA_SIZE)
    segments = image.segments(settings.tool, folder)
    if settings.login:
        name_file(folder).write_text(settings.login.name + "\n")
        segments += SshImage().segments(settings.login, folder)
    if settings.overlay:
        pack_overlay(Path(settings.overlay), folder / "overlay.cpio")
        segments.append(folder / "overlay.cpio")
    with open(folder / "initrd", "wb") as initrd:
        for segment in segments:
            with open(segment, "rb") as source:
                shutil.copyfileobj(source, initrd, 1024 * 1024)


def write_bmc_files(folder: Path, settings: ServerSettings, image: GuestImage, port: int):
    """Writes what the BMC's process reads at its start; the machine will reach it at `port`."""
    (folder / "state").mkdir(exist_ok=True)
    (folder / "bmc.log").unlink(missing_ok=True)  # no "ready" of an earlier attempt
    major, minor = settings.firmware.split("-")
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
    records, unreadable = settings.sdr_repository()
    (folder / "bmc.json").write_text(json.dumps({
        "running": settings.firmware, "writeModePhrase": phrase, "lan": settings.bmc_lan(),
        "capability": settings.capability, "sdr": [record.hex(" ") for record in records],
        "sdrUnreadable": unreadable, "orders": str(folder / "bmc.sock"),
        "machineLog": str(folder / "machine.log"), "media": str(folder / "media.img"),
        "ready": str(ready_file(folder)),
        "machine": machine_command(folder, settings, image, port)}, indent=1))


def machine_command(folder: Path, settings: ServerSettings, image: GuestImage, port: int) -> list:
    """QEMU and its arguments; the BMC adds those that it needs to control the machine."""
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
            *settings.dmi().write(folder), *(network_card(settings.login) if settings.login else [])]


def network_card(login: SshLogin) -> list:
    """A network of the machine's own, which reaches nothing outside; from outside only its SSH server is reached."""
    return ["-netdev", f"user,id=net,restrict=on,hostfwd=tcp:127.0.0.1:{login.port}-:22",
            "-device", "virtio-net-pci,netdev=net,romfile="]

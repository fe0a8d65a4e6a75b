"""The commands of lab/lab."""

import argparse
import os
import signal
import socket
import sys
import tempfile
import time
from pathlib import Path

from kv6000 import bmc, management
from kv6000.boot import name_file
from kv6000.errors import LabError
from kv6000.fleet import Fleet, fleet_settings
from kv6000.guest import Guest, Job
from kv6000.guest_image import GuestImage
from kv6000.packages import make_packages
from kv6000.paths import build_folder
from kv6000.rack_packages import make_rack_packages
from kv6000.server import Server
from kv6000.settings import TOOLS, ServerSettings
from kv6000.terminal import attach


def say(text: str):
    print(f"lab: {text}", file=sys.stderr, flush=True)


def running_server(chosen: str) -> Path:
    """The run folder of the server that is chosen by its folder or its name, or of the only one that is running."""
    if chosen and Path(chosen).is_dir():
        return Path(chosen)
    places = {os.environ.get("TMPDIR") or "/tmp", tempfile.gettempdir(), "/tmp"}
    found = sorted({path.parent for place in places for path in Path(place).resolve().glob("kv6000-*/bmc.sock")
                    if takes_orders(path)})
    if chosen:
        found = [folder for folder in found if name_of(folder) == chosen]
    if not found:
        raise LabError(f"No server '{chosen}' is running." if chosen else "No server is running.",
                       advice="Start one with lab/lab run or lab/lab fleet.")
    if len(found) > 1:
        raise LabError("Several servers are running: " + ", ".join(map(str, found)),
                       advice="Choose one with --server FOLDER.")
    return found[0]


def name_of(folder: Path) -> str:
    """The name of a server of a fleet, "" of another one."""
    path = name_file(folder)
    return path.read_text().strip() if path.exists() else ""


def takes_orders(path: Path) -> bool:
    with socket.socket(socket.AF_UNIX) as client:
        return client.connect_ex(str(path)) == 0


def command_build(_):
    build_folder()
    image = GuestImage()
    image.ensure(say)
    print(image.cache)


def command_packages(options):
    for path in make_packages(options.folder) + make_rack_packages(options.folder):
        print(path)


def command_run(options):
    started = time.monotonic()
    settings = ServerSettings(tool=options.tool, firmware=options.firmware, product=options.product,
                              serial=options.serial, version=options.dmi_version, bios_version=options.bios_version,
                              sdr={"version": options.sdr_version, "records": options.sdr_records},
                              install_path=options.install_path, overlay=options.overlay, keep=options.keep)
    with Server(settings, progress=say) as server:
        say(f"ready after {time.monotonic() - started:.1f} s")
        say(f"run folder {server.folder} (shared with the guest: {server.share} is /share)")
        server.release()
        if sys.stdin.isatty():
            say("Ctrl-] ends the server")
            attach(server.folder / "shell.sock", say)
        else:
            stay()
    if options.keep:
        say(f"kept {server.folder}")


def command_fleet(options):
    started = time.monotonic()
    settings = fleet_settings(options.count, options.product.split(","), options.firmware.split(","),
                              options.tool.split(","), install_path=options.install_path, overlay=options.overlay,
                              keep=options.keep)
    with Fleet(settings, options.folder, say) as fleet:
        say(f"ready after {time.monotonic() - started:.1f} s")
        say(f"Ansible's inventory: {fleet.inventory}")
        say(f"a shell: {' '.join(fleet.ssh('server1'))}")
        for server in fleet.servers.values():
            server.release()
        stay()


def stay():
    """The servers stay until the input ends or this process is asked to end."""
    if sys.stdin.isatty():
        say("Ctrl-D ends the servers")
    while sys.stdin.readline():
        pass


def show(answer: dict, indent=""):
    for key, value in answer.items():
        if isinstance(value, dict):
            print(f"{indent}{key}")
            show(value, indent + "  ")
        else:
            print(f"{indent}{key:13} {value}")


def command_bmc(options):
    answer = bmc.order(running_server(options.server), " ".join(options.order))
    if not isinstance(answer, dict):
        print(answer)
        return
    commands = answer.pop("commands", None)
    show(answer)
    if commands is not None:
        print("commands      (the last ones, request -> answer)")
        for line in commands[-options.commands:]:
            print("  " + line)


def command_library(options):
    folder = running_server(options.server) / "share" / "install" / "MngSrv"
    if options.absent:
        management.remove(folder)
    else:
        management.install(folder, options.info, options.error, options.warning, options.fails, options.null,
                           options.throws, options.without)


def command_guest(options):
    folder = running_server(options.server)
    guest = Guest(folder, lambda order: bmc.order(folder, order))
    words = options.words
    job: Job = guest.start(words[0] if len(words) == 1 else words)
    result = job.wait(options.time_limit)
    sys.stdout.write(result.out)
    sys.stderr.write(result.err)
    return result.exit


def parser() -> argparse.ArgumentParser:
    top = argparse.ArgumentParser(prog="lab", description="A virtual KV6000 server that boots and can be updated.")
    commands = top.add_subparsers(required=True, metavar="COMMAND")

    def add(name, function, text):
        command = commands.add_parser(name, help=text, description=text)
        command.set_defaults(function=function)
        return command

    add("build", command_build, "fetch and pack what the guest needs")
    packages = add("packages", command_packages, "make the update packages, good and bad")
    packages.add_argument("folder", type=Path, metavar="FOLDER", help="where to write them")
    run = add("run", command_run, "start a server with a shell in this terminal")
    run.add_argument("--tool", default="ipmitool", choices=TOOLS, help="IPMI tool in the guest (default ipmitool)")
    run.add_argument("--firmware", default="01-23", help="running BMC firmware (default 01-23)")
    run.add_argument("--product", default="KV6000", help="product name in DMI (default KV6000)")
    run.add_argument("--serial", default="KV6K000001", help="serial number in DMI (default KV6K000001)")
    run.add_argument("--dmi-version", default="1.0", help="product version in DMI (default 1.0)")
    run.add_argument("--bios-version", default="V1.2.0", help="BIOS version in DMI (default V1.2.0)")
    run.add_argument("--sdr-version", default="A1", help="version in the SDR repository (default A1)")
    run.add_argument("--sdr-records", type=int, default=20, help="number of records in it (default 20)")
    run.add_argument("--install-path", default="/srv/orv", help="install path in the guest (default /srv/orv)")
    run.add_argument("--overlay", type=Path, help="folder tree to copy over the guest's root")
    run.add_argument("--keep", action="store_true", help="keep the run folder when the server ends")
    fleet = add("fleet", command_fleet, "start several servers that SSH reaches, with an inventory for Ansible")
    fleet.add_argument("count", type=int, metavar="N", help="how many; they are named server1, server2 and so on")
    fleet.add_argument("--product", default="KV6000", metavar="NAMES", help="product name in DMI (default KV6000)")
    fleet.add_argument("--firmware", default="01-23", metavar="VERSIONS", help="running BMC firmware (default 01-23)")
    fleet.add_argument("--tool", default="ipmitool", metavar="TOOLS",
                       help=f"IPMI tool: {', '.join(TOOLS)} (default ipmitool)")
    fleet.add_argument("--install-path", default="/opt/orv", help="install path in the guests (default /opt/orv)")
    fleet.add_argument("--overlay", type=Path, help="folder tree to copy over the guests' root")
    fleet.add_argument("--folder", type=Path, help="where the inventory and the keys are written, removed at the end")
    fleet.add_argument("--keep", action="store_true", help="keep the run folders when the servers end")
    fleet.epilog = "Several names, versions or tools, with commas between, are given to the servers in turn."
    order = add("bmc", command_bmc, "send an order to the BMC of a running server")
    order.add_argument("--server", metavar="SERVER", help="its run folder or name, when several are running")
    order.add_argument("--commands", type=int, default=20, metavar="N", help="commands that `state` lists (default 20)")
    order.add_argument("order", nargs="+", metavar="ORDER", help="an order of docs/lab.md with its words, e.g. state")
    library = add("library", command_library, "put a management library into a running server")
    library.add_argument("--server", metavar="SERVER", help="its run folder or name, when several are running")
    library.add_argument("--info", default="", help="the disk record as hexadecimal digits")
    library.add_argument("--error", default="", help="error code, e.g. 02")
    library.add_argument("--warning", default="", help="warning code, e.g. 01")
    library.add_argument("--fails", action="store_true", help="its queries fail without throwing")
    library.add_argument("--null", action="store_true", help="it CreateLibIF returns null")
    library.add_argument("--throws", metavar="TEXT", help="its queries throw an exception with this text")
    library.add_argument("--without", metavar="ENTRY", help="it lacks this entry point, e.g. CreateLibIF")
    library.add_argument("--absent", action="store_true", help="remove the library")
    guest = add("guest", command_guest, "run a command in a running server")
    guest.add_argument("--server", metavar="SERVER", help="its run folder or name, when several are running")
    guest.add_argument("--time-limit", type=float, default=900, metavar="SECONDS", help="time limit (default 900)")
    guest.add_argument("words", nargs=argparse.REMAINDER, metavar="COMMAND",
                       help="one word is a line for sh, several are a program and its arguments")
    return top


def main() -> int:
    options = parser().parse_args()
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda number, _: sys.exit(128 + number))
    if getattr(options, "words", None) == []:
        parser().error("guest needs a command")
    try:
        return options.function(options) or 0
    except LabError as error:
        print(f"lab: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130

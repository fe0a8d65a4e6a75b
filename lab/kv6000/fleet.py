"""Several virtual servers at once, each reached over SSH, with the files that an SSH client and Ansible need."""

import contextlib
import dataclasses
import json
import os
import random
import re
import shlex
import socket
from pathlib import Path
from typing import Callable, Sequence

from kv6000.debian import run
from kv6000.errors import LabError
from kv6000.kept_folder import KeptFolder, make_folder
from kv6000.server import Server
from kv6000.settings import ServerSettings
from kv6000.ssh_image import SshLogin

MOST_SERVERS = 200
# Below those that the kernel gives to connections: a server needs its port again after every power cycle.
PORTS = range(20000, 32000)
ADVICE = "Install the packages that ./dev lists (./dev setup)."


def fleet_settings(count: int, products: Sequence[str] = ("KV6000",), firmwares: Sequence[str] = ("01-23",),
                   tools: Sequence[str] = ("ipmitool",), **common) -> list:
    """Settings of so many servers. The n-th takes the n-th product, firmware and tool, from the first on again after
    the last; each has a serial number of its model's form and network settings of its own. `common` are settings that
    all of them have."""
    if not 1 <= count <= MOST_SERVERS:
        raise LabError(f"A fleet has 1 to {MOST_SERVERS} servers, not {count}.")
    chosen = [products[n % len(products)] for n in range(count)]
    return [ServerSettings(product=product, firmware=firmwares[n % len(firmwares)], tool=tools[n % len(tools)],
                           serial=serial_number(product, n + 1),
                           lan={"mac": f"02:4b:45:53:00:{n + 1:02x}", "address": f"192.168.10.{n + 20}"}, **common)
            for n, product in enumerate(chosen)]


def serial_number(product: str, number: int) -> str:
    """Of a rack server it says which model of its family it is; packages are judged by that."""
    return f"KV6KRT{number:07d}A000" if product == "KV6000RT" else f"KV6K{number:06d}"


class Fleet:
    """A context manager as Server is. The servers are named server1, server2 and so on.

    settings   of each server; how it is reached is filled in
    folder     where the files are written, a folder that is empty or not there yet; one of its own by default. It is
               removed when the fleet ends.
    progress   is called with a line for people about each step that takes time
    """

    def __init__(self, settings: Sequence[ServerSettings], folder: Path | None = None,
                 progress: Callable[[str], None] = lambda text: None):
        if folder and folder.exists() and (not folder.is_dir() or any(folder.iterdir())):
            raise LabError(f"{folder} is not an empty folder.", advice="Choose one that is empty or not there yet.")
        self._settings = {f"server{number}": chosen for number, chosen in enumerate(settings, 1)}
        self._chosen_folder = folder
        self._progress = progress
        self._open = contextlib.ExitStack()
        self.folder = None
        self.servers = {}  # by name

    def __enter__(self):
        with contextlib.ExitStack() as started:
            self._start(started)
            self._open = started.pop_all()
        return self

    def __exit__(self, *_):
        self._open.close()

    @property
    def inventory(self) -> Path:
        """An inventory for Ansible, with a group for each product."""
        return self.folder / "inventory.yml"

    @property
    def ssh_config(self) -> Path:
        """The configuration with which ssh reaches every server by its name."""
        return self.folder / "ssh_config"

    def ssh(self, name: str, *words: str) -> list:
        """The words of the ssh command that runs something on a server, or opens a shell there."""
        return ["ssh", "-F", str(self.ssh_config), name, *words]

    def _start(self, started: contextlib.ExitStack):
        self.folder = self._make_folder()
        kept = KeptFolder(self.folder)
        started.callback(kept.close, keep=False)
        for name, login in self._make_logins().items():
            self.servers[name] = Server(dataclasses.replace(self._settings[name], login=login), self._progress)
        self._write_ssh_config()
        self._write_inventory()
        self._boot_all(started)

    def _boot_all(self, started: contextlib.ExitStack):
        """Boots as many at a time as there are processors."""
        servers = list(self.servers.items())
        at_once = os.cpu_count() or 1
        for index, (_, server) in enumerate(servers):
            if index >= at_once:
                self._wait_for(*servers[index - at_once])
            server.begin()
            started.callback(server.close)
        for name, server in servers[-at_once:]:
            self._wait_for(name, server)

    def _wait_for(self, name: str, server: Server):
        server.wait_until_up(120)
        chosen = server.settings
        self._progress(f"{name} is up: {chosen.product}, firmware {chosen.firmware}, IPMI tool {chosen.tool}, "
                       f"SSH port {chosen.login.port}, run folder {server.folder}")

    def _make_folder(self) -> Path:
        if not self._chosen_folder:
            return make_folder("kv6000-fleet-")
        self._chosen_folder.mkdir(parents=True, exist_ok=True)
        return self._chosen_folder.resolve()

    def _make_logins(self) -> dict:
        """Makes the key that may log in, the servers' keys, and the list of these that the client goes by."""
        key = self.folder / "id_ed25519"
        run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-C", "kv6000-fleet", "-f", key], ADVICE)
        allowed = key.with_suffix(".pub").read_text().strip()
        ports = random.sample(PORTS, 20 * len(self._settings))
        logins, known = {}, []
        for name in self._settings:
            host_key = self.folder / f"{name}_host_key"
            printed = run(["dropbearkey", "-t", "ed25519", "-f", host_key], ADVICE)
            port = next_free(ports)
            logins[name] = SshLogin(name, port, host_key, allowed)
            known.append(f"[127.0.0.1]:{port} " + re.search(r"^ssh-ed25519 \S+", printed, re.MULTILINE).group() + "\n")
        (self.folder / "known_hosts").write_text("".join(known))
        return logins

    def _write_ssh_config(self):
        servers = "".join(f"Host {name}\n  Port {server.settings.login.port}\n"
                          for name, server in self.servers.items())
        self.ssh_config.write_text(
            f"{servers}"
            "Host *\n"
            "  HostName 127.0.0.1\n"
            "  User root\n"
            f'  IdentityFile "{self.folder}/id_ed25519"\n'
            "  IdentitiesOnly yes\n"
            f'  UserKnownHostsFile "{self.folder}/known_hosts"\n'
            "  StrictHostKeyChecking yes\n"
            "  LogLevel ERROR\n")

    def _write_inventory(self):
        # Host and port stand here too: Ansible keeps connections open under these.
        groups = {}
        for name, server in self.servers.items():
            group = groups.setdefault(re.sub(r"\W", "_", server.settings.product.lower()), [])
            group.append(f"        {name}:\n          ansible_port: {server.settings.login.port}\n")
        options = "-F " + shlex.quote(str(self.ssh_config))
        self.inventory.write_text(
            "# The servers of a virtual fleet; goes with them.\n"
            "all:\n"
            "  vars:\n"
            "    ansible_host: 127.0.0.1\n"
            "    ansible_user: root\n"
            f"    ansible_ssh_common_args: {json.dumps(options)}\n"
            "    ansible_ssh_transfer_method: piped\n"
            "    ansible_pipelining: true\n"
            "    ansible_python_interpreter: /usr/bin/python3\n"
            "  children:\n" +
            "".join(f"    {group}:\n      hosts:\n{''.join(hosts)}" for group, hosts in sorted(groups.items())))


def next_free(ports: list) -> int:
    """Takes ports off the list up to one that is free."""
    while ports:
        port = ports.pop()
        with socket.socket() as probe:
            try:
                probe.bind(("127.0.0.1", port))
                return port
            except OSError:
                pass
    raise LabError(f"No free port was found between {PORTS.start} and {PORTS.stop}.")

"""One virtual KV6000 server: its run folder, its processes and what a test or a person can do with it."""

import socket
import time
from pathlib import Path
from typing import Callable

from kv6000 import bmc, boot, guest, management
from kv6000.errors import LabError, last_lines
from kv6000.guest import Result
from kv6000.guest_image import GuestImage
from kv6000.kept_folder import KeptFolder, make_folder
from kv6000.settings import ServerSettings
from kv6000.ssh_image import SshImage

START_ATTEMPTS = 5
BMC = ("/usr/bin/ipmi_sim", "-n", "-c", "lan.conf", "-f", "bmc.emu", "-s", "state")


def free_port() -> int:
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def answers_ssh(port: int, limit: float) -> bool:
    """Waits until an SSH server introduces itself at a port of 127.0.0.1. QEMU takes every connection, and drops it as
    long as nobody listens in the guest."""
    while time.monotonic() < limit:
        with socket.socket() as client:
            client.settimeout(2)
            try:
                client.connect(("127.0.0.1", port))
                if client.recv(4) == b"SSH-":
                    return True
            except OSError:
                pass
        time.sleep(0.1)
    return False


class Server:
    """A context manager: entering starts the server and waits until commands can run in it, leaving ends it. `progress`
    is called with a line for people about each step that takes time."""

    def __init__(self, settings: ServerSettings = ServerSettings(),
                 progress: Callable[[str], None] = lambda text: None):
        self.settings = settings
        self._progress = progress
        self._kept = None
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

    def start(self, time_limit: float = 60):
        """Starts the server and waits until commands can run in it."""
        self.begin()
        self.wait_until_up(time_limit)

    def begin(self):
        """Starts the server; wait_until_up() is to follow."""
        image = GuestImage()
        image.ensure(self._progress)
        if self.settings.login:
            SshImage().ensure(self._progress)
        try:
            self.folder = make_folder("kv6000-")
            self._kept = KeptFolder(self.folder, BMC)
            boot.fill_run_folder(self.folder, self.settings, image)
            self._start_bmc(image)
            self._guest = guest.Guest(self.folder, self.bmc)
        except BaseException:
            self.close()
            raise

    def wait_until_up(self, time_limit: float = 60):
        """Waits for a boot that the caller has not seen at work yet; when that fails, the server is ended."""
        try:
            self._wait_for_new_boot(time_limit)
        except BaseException:
            self.close()
            raise

    def close(self):
        """Ends the server's processes and removes the run folder, unless it is to be kept."""
        if self._guest:
            self._guest.release()
            self._guest = None
        if self._kept:
            kept, self._kept = self._kept, None
            kept.close(self.settings.keep)

    def bmc(self, order: str):
        """Sends an order to the BMC: a dict for "state" and "files", "ok" for the others; LabError when it is refused."""
        return bmc.order(self.folder, order)

    def wait_bmc(self, key: str, value, time_limit: float = 30):
        """Waits until the BMC's state has the value, e.g. ("media", "connected")."""
        limit = time.monotonic() + time_limit
        while (state := self.bmc("state"))[key] != value:
            if time.monotonic() > limit:
                raise LabError(f"The BMC's '{key}' is still '{state[key]}', not '{value}', after {time_limit:g} s.",
                               last_lines(self.folder / "bmc.log"))
            time.sleep(0.02)

    def run(self, command, time_limit: float = 60) -> Result:
        """Runs a command line (or a list of words) in the guest and waits for its end."""
        return self._guest.start(command).wait(time_limit)

    def start_job(self, command) -> guest.Job:
        """Starts a command in the guest; several may run at the same time."""
        return self._guest.start(command)

    def wait_power_cycle(self, time_limit: float = 60):
        """Waits until the machine has gone down and come up again since the caller last knew it up."""
        self._wait_for_new_boot(time_limit)

    def wait_off(self, time_limit: float = 30):
        self._guest.wait_for_off(time_limit)

    def power_on(self, time_limit: float = 60):
        self.bmc("power-on")
        self._wait_for_new_boot(time_limit)

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
        """Lets another client run commands in the guest; the next command of this one takes hold again."""
        self._guest.release()

    def _wait_for_new_boot(self, time_limit: float):
        limit = time.monotonic() + time_limit
        self._guest.wait_for_new_boot(time_limit)
        if self.settings.login and not answers_ssh(self.settings.login.port, limit):
            raise LabError(f"The SSH server is not there after {time_limit:g} s.", last_lines(self.folder / "console.log"))

    def _start_bmc(self, image: GuestImage):
        for _ in range(START_ATTEMPTS):
            # Another process may take the port before the BMC does: then it ends, and another port is tried.
            boot.write_bmc_files(self.folder, self.settings, image, free_port())
            self._kept.start()
            if self._wait_for_bmc():
                return
        raise LabError("The BMC did not start.", last_lines(self.folder / "bmc.log"),
                       "Check that openipmi is installed and that the lab was built on this machine.")

    def _wait_for_bmc(self, time_limit: float = 10) -> bool:
        log = self.folder / "bmc.log"
        limit = time.monotonic() + time_limit
        while time.monotonic() < limit:
            if log.exists() and "lab: ready" in log.read_text(errors="replace"):
                return True
            if self._kept.has_ended(0.01):
                return False
        return False

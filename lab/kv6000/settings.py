"""What a virtual server is made of, checked as soon as it is stated."""

import re
from dataclasses import dataclass, field
from pathlib import Path
from typing import Mapping, Sequence

from kv6000.errors import LabError
from kv6000.hardware import Dmi, lan_settings
from kv6000.sdr import repository
from kv6000.ssh_image import SshLogin

TOOLS = ("ipmitool", "maker", "both", "none")
# The major is seven bits wide in Get Device ID.
VERSION = re.compile(r"[0-7][0-9a-f]-[0-9a-f]{2}")


@dataclass(frozen=True)
class ServerSettings:
    """The settings of one server; each has a default. LabError when a server cannot be made so.

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
    login         how the server is reached over SSH; None: it has no network card, no SSH server and no Python
    """

    tool: str = "ipmitool"
    firmware: str = "01-23"
    manufacturer: str = "KESTREL"
    product: str = "KV6000"
    version: str = "1.0"
    serial: str = "KV6K000001"
    bios_version: str = "V1.2.0"
    bare_tables: Sequence[str] = ()
    lan: Mapping = field(default_factory=dict)
    capability: int = 0x03
    sdr: Mapping = field(default_factory=dict)
    install_path: str = "/srv/orv"
    overlay: Path | None = None
    keep: bool = False
    login: SshLogin | None = None

    def __post_init__(self):
        if self.tool not in TOOLS:
            raise LabError(f"There is no tool '{self.tool}': take {', '.join(TOOLS[:-1])} or {TOOLS[-1]}.")
        if not VERSION.fullmatch(self.firmware):
            raise LabError(f"'{self.firmware}' is not a firmware version such as 01-23.")
        if self.overlay and not Path(self.overlay).is_dir():
            raise LabError(f"There is no folder {self.overlay} to lay over the guest's root.")
        if not self.install_path.startswith("/"):
            raise LabError(f"The install path '{self.install_path}' is not absolute.")
        if self.capability not in range(256):
            raise LabError(f"The support flags {self.capability} are not one byte.")
        self.dmi()
        self.bmc_lan()
        self.sdr_repository()

    def dmi(self) -> Dmi:
        """The machine's DMI tables."""
        system = {"manufacturer": self.manufacturer, "product": self.product, "version": self.version,
                  "serial": self.serial}
        return Dmi(system, self.bios_version, self.bare_tables)

    def bmc_lan(self) -> dict:
        """The BMC's network settings in its own notation."""
        return lan_settings(self.lan)

    def sdr_repository(self) -> tuple:
        """The BMC's sensor data records, and the numbers of those that cannot be read."""
        return repository(self.sdr)

"""What a server is made of, as its BMC and its machine are told: network settings and DMI tables."""

import ipaddress
import re
import struct
from pathlib import Path

from kv6000.errors import LabError

DEFAULT_LAN = {"mac": "02:4b:45:53:00:01", "address": "192.168.10.20", "netmask": "255.255.255.0",
               "gateway": "192.168.10.1", "dhcp": False}
MAC = re.compile(r"[0-9a-fA-F]{2}(:[0-9a-fA-F]{2}){5}")

# Types of DMI tables, and the length of one that is too short to hold any of its fields.
TABLES = {"bios": 0, "system": 1}
BARE_LENGTH = 4


def lan_settings(chosen) -> dict:
    """The BMC's network settings in its own notation: the defaults with what was chosen laid over them."""
    unknown = set(chosen or {}) - set(DEFAULT_LAN)
    if unknown:
        raise LabError(f"There is no network setting '{sorted(unknown)[0]}': take {', '.join(DEFAULT_LAN)}.")
    lan = {**DEFAULT_LAN, **(chosen or {})}
    if not MAC.fullmatch(lan["mac"]):
        raise LabError(f"'{lan['mac']}' is not a MAC address such as {DEFAULT_LAN['mac']}.")
    settings = {"mac": lan["mac"].replace(":", " "), "dhcp": bool(lan["dhcp"])}
    for name in ("address", "netmask", "gateway"):
        try:
            settings[name] = ipaddress.IPv4Address(lan[name]).packed.hex(" ")
        except ValueError as error:
            raise LabError(f"The {name} '{lan[name]}' is not an IPv4 address.") from error
    return settings


def escaped(fields: dict) -> str:
    return ",".join(f"{name}={value.replace(',', ',,')}" for name, value in fields.items())


class Dmi:
    """The DMI tables. `bare` names those that stand without their fields, "bios" and "system"."""

    def __init__(self, system: dict, bios_version: str, bare=()):
        unknown = set(bare) - set(TABLES)
        if unknown:
            raise LabError(f"There is no DMI table '{sorted(unknown)[0]}' to strip: take {' or '.join(TABLES)}.")
        self._fields = {"bios": {"vendor": "KESTREL", "version": bios_version}, "system": system}
        self._bare = [name for name in TABLES if name in bare]

    def write(self, folder: Path) -> list:
        """Writes what the machine needs as files into `folder`; returns the machine's arguments."""
        arguments = []
        for name, number in TABLES.items():
            if name in self._bare:
                path = folder / f"dmi-{name}.bin"
                # Type, length, handle; then the end of its list of strings.
                path.write_bytes(struct.pack("<BBH", number, BARE_LENGTH, number << 8) + b"\0\0")
                arguments += ["-smbios", "file=" + str(path).replace(",", ",,")]
            else:
                arguments += ["-smbios", f"type={number}," + escaped(self._fields[name])]
        return arguments

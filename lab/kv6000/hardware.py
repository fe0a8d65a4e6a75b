"""What a server is made of, as its BMC and its machine read it: network settings and DMI tables."""

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

# Of a dump's tables: the length and where each text has its number.
LENGTHS = {"bios": 24, "system": 27}
TEXTS = {"bios": {"vendor": 4, "version": 5}, "system": {"manufacturer": 4, "product": 5, "version": 6, "serial": 7}}
END_OF_TABLES = struct.pack("<BBH", 127, BARE_LENGTH, 0xfeff) + b"\0\0"
DUMP_HEADER = 32


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


def table(name: str, fields: dict) -> bytes:
    """A DMI table with its texts, any bytes but zero; a text that is left out reads as "Not Specified"."""
    head = bytearray(struct.pack("<BBH", TABLES[name], LENGTHS[name], TABLES[name] << 8).ljust(LENGTHS[name], b"\0"))
    for number, field in enumerate(fields, 1):
        head[TEXTS[name][field]] = number
    return bytes(head) + b"".join(text + b"\0" for text in fields.values() or [b""]) + b"\0"


def dmi_dump(**tables) -> bytes:
    """What "dmidecode --from-dump" reads: the tables "bios" and "system" with their texts, without those left out."""
    content = b"".join(table(name, fields) for name, fields in tables.items()) + END_OF_TABLES
    # The entry point of version 3.0; its sixth byte makes the sum of all zero.
    entry = bytearray(struct.pack("<5sBBBBBBxIQ", b"_SM3_", 0, 24, 3, 0, 0, 1, len(content), DUMP_HEADER))
    entry[5] = -sum(entry) % 256
    return bytes(entry).ljust(DUMP_HEADER, b"\0") + content


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

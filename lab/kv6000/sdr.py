"""Sensor data records: those that a server starts with and those that an update package brings."""

from kv6000.errors import LabError

FORMAT = 0x51
EVENT_ONLY = 0x03
OEM = 0xc0
MANUFACTURER = bytes((0x91, 0x12, 0x00))
LONGEST_RECORD = 128
MOST_RECORDS = 2000
DEFAULTS = {"version": "A1", "records": 20, "version_record": None, "length_byte": None, "unreadable": ()}


def record(number: int, kind: int, body: bytes, length_byte=None) -> bytes:
    length = len(body) if length_byte is None else length_byte
    return number.to_bytes(2, "little") + bytes((FORMAT, kind, length)) + body


def sensor_record(number: int) -> bytes:
    """An event-only record of a sensor that is named for its number."""
    name = f"Sensor {number}".encode()
    # Owner BMC, LUN, sensor; system board 1; a system event; one sensor; name in ASCII.
    return record(number, EVENT_ONLY, bytes((0x20, 0x00, number & 0xff, 0x07, 0x01, 0x12, 0x6f, 0x01, 0x00, 0x00, 0x00,
                                             0xc0 | len(name))) + name)


def version_record(number: int, version: str, length_byte=None) -> bytes:
    body = MANUFACTURER + b"SDR Version " + version.encode()
    if 5 + len(body) > LONGEST_RECORD:
        raise LabError(f"The SDR version '{version}' does not fit into a record.")
    return record(number, OEM, body, length_byte)


def make_records(version, count: int, version_number=None, length_byte=None) -> list:
    """Records 1 to `count`. The version record is the one of that number, without one the fourth from the end; it is
    left out when `version` is None, and says `length_byte` as its length when that is given."""
    if not 0 <= count <= MOST_RECORDS:
        raise LabError(f"A repository has 0 to {MOST_RECORDS} records, not {count}.")
    if version_number is None:
        version_number = max(1, count - 3)
    if version is not None and count and not 1 <= version_number <= count:
        raise LabError(f"Of {count} records none has the number {version_number}.")
    records = [sensor_record(number) for number in range(1, count + 1)]
    if version is not None and count:
        records[version_number - 1] = version_record(version_number, version, length_byte)
    return records


def repository(chosen) -> tuple:
    """The records and the numbers of those that cannot be read, from the defaults with what was chosen laid over."""
    unknown = set(chosen or {}) - set(DEFAULTS)
    if unknown:
        raise LabError(f"There is no SDR setting '{sorted(unknown)[0]}': take {', '.join(DEFAULTS)}.")
    settings = {**DEFAULTS, **(chosen or {})}
    records = make_records(settings["version"], settings["records"], settings["version_record"],
                           settings["length_byte"])
    return records, sorted(settings["unreadable"])

"""Makes the update packages that the lab works with: good ones, and one for every way in which a package can be bad.

A package is a zip archive with `module.json` and a firmware image `*.ima`; both are described in docs/lab.md.
"""

import hashlib
import json
import random
import struct
import zipfile
import zlib
from pathlib import Path

MAGIC = b"KV6KIMA1"
PAYLOAD_SIZE = 1024 * 1024 - 32


def make_image(version: str, payload_size: int = PAYLOAD_SIZE) -> bytes:
    """A firmware image of the given version, the same bytes on every call."""
    major, minor = (int(part, 16) for part in version.split("-"))
    payload = random.Random(version).randbytes(payload_size)
    return struct.pack("<8sBBHII12x", MAGIC, major, minor, 0, len(payload), zlib.crc32(payload)) + payload


def module_json(version: str, model: str, server_types, files: dict) -> str:
    contents = {name: content.encode() if isinstance(content, str) else content for name, content in files.items()}
    return json.dumps({"name": "KV6000 BMC firmware", "version": version, "model": model,
                       "server_types": list(server_types),
                       "files": {name: {"size": len(content), "sha256": hashlib.sha256(content).hexdigest()}
                                 for name, content in contents.items()}}, indent=2) + "\n"


def write_package(path: Path, version: str, files: dict, model="", server_types=("kv6000",),
                  executable=()) -> Path:
    """A package with its module.json and `files` (name in the archive: content), names taken as they are; those that
    `executable` names have that permission."""
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, content in {"module.json": module_json(version, model, server_types, files), **files}.items():
            # A fixed date keeps the same package the same bytes.
            entry = zipfile.ZipInfo(name)
            entry.external_attr = (0o100755 if name in executable else 0o100644) << 16
            archive.writestr(entry, content, zipfile.ZIP_DEFLATED)
    return path


def make_packages(folder: Path) -> list:
    """Writes all packages into `folder` and returns their paths."""
    folder.mkdir(parents=True, exist_ok=True)
    image = make_image("01-24")
    written = [
        write_package(folder / "good-01-24.zip", "01-24", {"kv6000_0124.ima": image}),
        write_package(folder / "same-01-23.zip", "01-23", {"kv6000_0123.ima": make_image("01-23")}),
        # The image is another version than module.json says.
        write_package(folder / "wrong-version.zip", "01-24", {"kv6000_0125.ima": make_image("01-25")}),
        write_package(folder / "two-images.zip", "01-24",
                      {"kv6000_0124.ima": image, "kv6000_0125.ima": make_image("01-25")}),
        write_package(folder / "no-image.zip", "01-24", {}),
        write_package(folder / "bad-image.zip", "01-24", {"kv6000_0124.ima": image[:-1] + bytes([image[-1] ^ 1])}),
        write_package(folder / "short-image.zip", "01-24", {"kv6000_0124.ima": image[:-1000]}),
        write_package(folder / "parent-folder.zip", "01-24",
                      {"kv6000_0124.ima": image, "../escaped.txt": "outside\n"}),
        write_package(folder / "absolute-name.zip", "01-24",
                      {"kv6000_0124.ima": image, "/tmp/escaped.txt": "outside\n"}),
    ]
    good = written[0].read_bytes()
    damaged = folder / "corrupt.zip"
    # Damage in the middle of the compressed image: the directory of the archive is still readable.
    middle = len(good) // 2
    damaged.write_bytes(good[:middle] + bytes(byte ^ 0xff for byte in good[middle:middle + 64]) + good[middle + 64:])
    truncated = folder / "truncated.zip"
    truncated.write_bytes(good[:middle])
    text = folder / "not-an-archive.zip"
    text.write_text("This is not an archive.\n")
    empty = folder / "empty.zip"
    empty.write_bytes(b"")
    return written + [damaged, truncated, text, empty]

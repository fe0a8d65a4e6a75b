"""Makes the update packages of the rack model KV6000RT, which bring a script with its tools, and one for the MX4000.

Each bad package is the good one with the one fault that its name states.
"""

from pathlib import Path

from kv6000.packages import make_image, write_package
from kv6000.paths import LAB, build_folder
from kv6000.sdr import make_records

FIRMWARE = "01-24"
SDR = "A2"
VERSION = f"BMC:{FIRMWARE},SDR:{SDR}"
SCRIPT = "bmcup.sh"
# Smaller than the other packages' images: there are many of these packages.
PAYLOAD_SIZE = 256 * 1024
NO_TOOL = "#!/bin/sh\necho 'This package was made without 32-bit tools.'\nexit 1\n"
# Runs the good script under another name, and then does what the fault asks for.
WRAPPER = "#!/bin/sh\ncd \"$(dirname \"$0\")\" || exit 1\n/bin/sh ./update.sh || exit\n"
FAULTS = {
    "ends-in-3": "exit 3\n",
    "never-ends": "echo waiting for ever\nexec sleep 1000000\n",
    # In large pieces, since every write goes over the share.
    "log-100mb": "printf '%1000000s' '' | tr ' ' x >/tmp/piece\n"
                 "for _ in $(seq 100); do cat /tmp/piece; done >x64sdr/sdronup.log\n",
}


def sdr_file(version=SDR, count=24) -> bytes:
    return b"".join(make_records(version, count))


def good_files() -> dict:
    tools = build_folder() / "lab"
    return {SCRIPT: (LAB / "guest" / SCRIPT).read_bytes(), "Yes": "Yes\n",
            "kv6000rt.ima": make_image(FIRMWARE, PAYLOAD_SIZE), "kv6000rt.sdr": sdr_file(),
            "x64/BmcFlash": (tools / "BmcFlash").read_bytes(), "x64sdr/sdronup": (tools / "sdronup").read_bytes(),
            "x86/BmcFlash": NO_TOOL, "x86sdr/sdronup": NO_TOOL}


def make_rack_packages(folder: Path) -> list:
    """Writes all of them into `folder` and returns their paths."""
    folder.mkdir(parents=True, exist_ok=True)
    good = good_files()
    script = good[SCRIPT]
    without_script = {name: content for name, content in good.items() if name != SCRIPT}
    image = good["kv6000rt.ima"]

    def write(name, files, model="", executable=(SCRIPT, "x64/BmcFlash", "x64sdr/sdronup")):
        return write_package(folder / f"{name}.zip", VERSION, files, model, ["kv6000rt"], executable)

    return [
        write("rt-good", good),
        write("rt-long-ssd", good, model="LONG/SSD"),
        # The SDR file ends in the middle of a record, so its log lacks the line of success.
        write("rt-bad-sdr", {**good, "kv6000rt.sdr": good["kv6000rt.sdr"][:-1]}),
        write("rt-bad-image", {**good, "kv6000rt.ima": image[:-1] + bytes([image[-1] ^ 1])}),
        *(write(f"rt-{name}", {**good, SCRIPT: WRAPPER + last, "update.sh": script}) for name, last in FAULTS.items()),
        write("rt-no-script", without_script),
        write("rt-script-is-folder", {**without_script, f"{SCRIPT}/readme.txt": "a folder\n"}),
        write("rt-script-no-interpreter", {**good, SCRIPT: script.replace(b"#!/bin/sh", b"#!/nowhere/sh", 1)}),
        write("rt-script-not-executable", good, executable=()),
        # The major byte 0a reads as 10 on this model.
        write_package(folder / "mx4000-10-24.zip", "10-24", {"mx4000_0a24.ima": make_image("0a-24")},
                      server_types=["mx4000"]),
    ]

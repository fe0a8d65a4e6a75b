"""Where the lab finds what it needs: the repository, the built BMC and tools, the cache of the guest."""

import os
from pathlib import Path

from kv6000.errors import LabError

REPOSITORY = Path(__file__).resolve().parents[2]
LAB = REPOSITORY / "lab"
BUILT = ("kv6000_sim.so", "Yafuflash", "ipmicmd", "BmcFlash", "sdronup",
         "management/whole/liborv_MngSrv_OrvLib.so", "write-mode-phrase")


def build_folder() -> Path:
    """The CMake build folder whose BMC and tools are used: $KESTREL_BUILD_DIR, else the newest build/*/."""
    chosen = os.environ.get("KESTREL_BUILD_DIR")
    candidates = [Path(chosen)] if chosen else list((REPOSITORY / "build").glob("*"))
    built = [folder for folder in candidates if all((folder / "lab" / name).exists() for name in BUILT)]
    if not built:
        where = chosen or REPOSITORY / "build"
        raise LabError(f"The lab is not built: no lab/ with {', '.join(BUILT)} under {where}.",
                       advice="Run ./dev build, or set KESTREL_BUILD_DIR to a CMake build folder.")
    return max(built, key=lambda folder: (folder / "lab" / "kv6000_sim.so").stat().st_mtime).resolve()


def guest_cache() -> Path:
    """The folder for the downloaded kernel and the packed guest; $KESTREL_LAB_CACHE or build/lab-guest."""
    return Path(os.environ.get("KESTREL_LAB_CACHE") or REPOSITORY / "build" / "lab-guest").resolve()

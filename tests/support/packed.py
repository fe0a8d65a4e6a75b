"""The packages of this build, packed by CPack for the tests that look into them or install them below a root."""

import os
import re
import shutil
import subprocess
from pathlib import Path

from debian import field, output_of

REPOSITORY = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ["KESTREL_BUILD_DIR"])
NAMES = ("orv-dev", "orv-plugin-kestrel-bmc", "orvhost")
PLACEHOLDER = "SET-WRITE-MODE-PHRASE!"
AS_ROOT = [] if os.geteuid() == 0 else ["unshare", "--map-root-user"]  # for dpkg, rpm and chroot
PATH = f"{os.environ['PATH']}:/usr/sbin:/sbin"


def version() -> str:
    return re.search(r"project\(\w+ VERSION ([\d.]+)", (REPOSITORY / "CMakeLists.txt").read_text()).group(1)


def has_placeholder() -> bool:
    """Whether this build was configured without the real phrase."""
    cache = (BUILD / "CMakeCache.txt").read_text()
    return re.search(r"(?m)^KESTREL_WRITE_MODE_PHRASE:\w+=(.*)$", cache).group(1) == PLACEHOLDER


def pack(generator: str, folder: Path, build: Path = BUILD) -> dict[str, Path]:
    """Packs the build with "DEB" or "RPM" into a folder; the packages by their names."""
    output_of("cpack", "-G", generator, "--config", build / "CPackConfig.cmake", "-B", folder)
    if generator == "DEB":
        return {field(path, "Package"): path for path in sorted(folder.glob("*.deb"))}
    return {output_of("rpm", "-qp", "--qf", "%{NAME}", path): path for path in sorted(folder.glob("*.rpm"))}


def unpack(package: Path, folder: Path) -> Path:
    folder.mkdir(parents=True)
    if package.suffix == ".deb":
        output_of("dpkg-deb", "-x", package, folder)
    else:
        with open(package, "rb") as file:
            archive = subprocess.run(["rpm2cpio", "-"], stdin=file, check=True, capture_output=True).stdout
        subprocess.run(["cpio", "-idm", "--quiet"], input=archive, cwd=folder, check=True)
    return folder


class SmallRoot:
    """A root that has nothing but what is brought into it."""

    def __init__(self, folder: Path):
        self.folder = folder
        (self.folder / "tmp").mkdir(parents=True)

    def bring(self, program: str):
        """A program of this machine, with the libraries that it loads."""
        inside = self.folder / program.lstrip("/")
        inside.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(program, inside)
        self.bring_libraries(Path(program))

    def bring_libraries(self, file: Path):
        """The libraries of this machine that a program or library loads, also one that is in the root."""
        shown = subprocess.run(["ldd", file], capture_output=True, text=True, check=False).stdout
        for path in re.findall(r"(/\S+) \(0x", shown):
            inside = self.folder / path.lstrip("/")
            if self.folder not in Path(path).parents and not inside.exists():
                inside.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(path, inside)

    def run(self, *command) -> subprocess.CompletedProcess:
        """Runs a command of this machine that works on the root."""
        return subprocess.run([*AS_ROOT, *map(str, command)], capture_output=True, text=True, check=False,
                              env={"PATH": PATH, "LC_ALL": "C.UTF-8", "HOME": str(self.folder)})

    def run_inside(self, *command) -> subprocess.CompletedProcess:
        """With /proc, without which no program finds the libraries beside it."""
        (self.folder / "proc").mkdir(exist_ok=True)
        enter = 'mount --rbind /proc "$0/proc" && exec chroot "$0" "$@"'
        return self.run("unshare", "--mount", "sh", "-c", enter, self.folder, *command)

    def files(self) -> set[str]:
        return {str(path.relative_to(self.folder)) for path in self.folder.rglob("*") if not path.is_dir()}

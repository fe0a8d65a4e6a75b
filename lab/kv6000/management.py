"""Puts the lab's management library, or one that is broken in a chosen way, where the host looks for it."""

import shutil
from pathlib import Path

from kv6000.errors import LabError
from kv6000.paths import build_folder

NAME = "liborv_MngSrv_OrvLib.so"
ENTRIES = ("CreateLibIF", "DeleteLibIF", "CreateItemDisp", "DeleteItemDisp")


def install(folder: Path, info="", error="", warning="", fails=False, null=False, throws=None, without=None,
            content=None):
    """Writes the library and its answer into `folder`, in the place of an earlier one.

    info             the disk record as text; any text without a line end is handed on as it is
    error, warning   the codes that come with it
    fails            the queries return false
    null             CreateLibIF returns null
    throws           the queries throw this text
    without          the entry point that the library lacks
    content          bytes that are put in the library's place
    """
    remove(folder)
    if without and without not in ENTRIES:
        raise LabError(f"The library has no entry point '{without}' that it could lack: take one of "
                       f"{', '.join(ENTRIES)}.")
    lines = {"info": info, "error": error, "warning": warning, "throw": throws}
    for name, text in lines.items():
        if "\n" in (text or ""):
            raise LabError(f"The library's '{name}' has more than one line.")
    folder.mkdir(parents=True, exist_ok=True)
    if content is not None:
        (folder / NAME).write_bytes(content)
        return
    built = build_folder() / "lab" / "management" / (f"no-{without}" if without else "whole")
    shutil.copy(built / NAME, folder / NAME)
    words = [f"{name} {text}" for name, text in lines.items() if text is not None]
    words += [word for word, wanted in (("fail", fails), ("null", null)) if wanted]
    (folder / NAME).with_suffix(".answer").write_text("".join(word + "\n" for word in words))


def remove(folder: Path):
    """Takes the library away; no error when there is none."""
    for path in (folder / NAME, (folder / NAME).with_suffix(".answer")):
        path.unlink(missing_ok=True)

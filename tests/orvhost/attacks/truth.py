"""What must be true after an update that was attacked: of what it told, of what it left, and of what comes next."""

from collections.abc import Callable

from machine import Ended, Machine, NOT_DELIVERED, NOT_LOADED, VERIFIED, WRITTEN, demand

BEGUN_AT_LEAST = {8}
UNTOUCHED = {2, 3, 4, 5, 6, 7, 10}


def judge(machine: Machine, ended: Ended, relieve: Callable[[], None] = lambda: None):
    """Of an update of 01-23 to 01-24 that has ended; makes another one when `relieve` has taken away what was in its way."""
    if ended.code == NOT_LOADED:
        demand("error while loading shared libraries" in ended.err or "ld.so" in ended.err, "it died in the loader")
        demand(machine.flashed() == (False, False), "it wrote the flash")
        return
    ended.read()
    _told(machine, ended)
    _recorded(machine, ended)
    _looked_back_on(machine, ended)
    relieve()
    _again(machine)


def _verdict(ended: Ended) -> str:
    return ended.object["verdict"] if ended.object else ""


def _told(machine: Machine, ended: Ended):
    begun, written = machine.flashed()
    demand(ended.object is not None or ended.err.strip() != "", "it ends without a word")
    if ended.code in (0, NOT_DELIVERED):
        demand(written, "it says that it is done, and the flash is not written")
        demand(ended.object is None or _verdict(ended) == "updated", f"verdict {_verdict(ended)}")
    demand(begun or ended.code not in BEGUN_AT_LEAST, "it says that writing had begun, and it had not")
    demand(not begun or ended.code not in UNTOUCHED, "it says that the flash is untouched, and it is not")
    demand(ended.code != 1 or not begun, "an unexpected end in the flash")
    if ended.object:
        demand(ended.object["flash_touched"] == begun, f"flash_touched is {ended.object['flash_touched']}")
        demand(ended.object["needs_apply"] in ((True,) if ended.code == 0 else (True, False, None)), "needs_apply")


def _recorded(machine: Machine, ended: Ended):
    demand(not list((machine.install / "repository").glob("*.damaged*")), "good records were put aside")
    state = machine.state()
    _, written = machine.flashed()
    if ended.code in (0, NOT_DELIVERED):
        demand(state["update_status"] == WRITTEN and state["operating"]["version"] == "01-24", "it is not recorded")
        demand(state["previous"]["version"] == "01-23", "the version before is lost")
    elif state["update_status"] == VERIFIED:
        demand(state["operating"]["version"] == "01-23", "verified, but another version")
    demand(written or state["update_status"] != WRITTEN, "recorded as written, and it is not")
    demand(state["operating"]["version"] in ("01-23", "01-24"), "the records are lost")
    demand(state["operating"]["package_sha256"] != "", "the record of the package is lost")


def _looked_back_on(machine: Machine, ended: Ended):
    begun, written = machine.flashed()
    history = machine.run(["history", "--json"])
    history.read()
    demand(history.code == 0, f"history ends with {history.code}")
    if ended.object and ended.object.get("run_id") and _verdict(ended) != "journal-unusable":
        runs = {run["run_id"]: run["verdict"] for run in history.object["runs"]}
        told = runs.get(ended.object["run_id"], "")
        demand(told == _verdict(ended) or (told.startswith("cut off") and ended.says_incomplete()),
               f"history tells of it {told!r}")
    diagnose = machine.run(["diagnose", "--json"])
    diagnose.read()
    demand(diagnose.code == 0, f"diagnose ends with {diagnose.code}")
    found = diagnose.object
    if begun:
        demand(found["flash_touched"], f"diagnose: the flash is untouched ({found['verdict']})")
        demand(found["verdict"] in ("written", "written-not-recorded", "flash-incomplete"), found["verdict"])
        demand(written or found["verdict"] == "flash-incomplete", f"diagnose: {found['verdict']}")
        demand(ended.code != 0 or found["verdict"] == "written" or ended.says_incomplete(), found["verdict"])
    elif found["verdict"] != "verified":  # the run before is the last one that changed something
        demand(not found["flash_touched"], f"diagnose: the flash was touched ({found['verdict']})")
        demand(found["verdict"] == "flash-untouched", f"diagnose: {found['verdict']}")


def _again(machine: Machine):
    machine.flash.unlink(missing_ok=True)
    again = machine.update()
    again.read()
    demand(again.code == 0, f"the next update ends with {again.code}: {again.out}")
    demand(machine.flashed() == (True, True), "the next update wrote nothing")
    demand(machine.state()["update_status"] == WRITTEN, "the next update is not recorded")
    left = machine.files() - machine.expected
    demand(not left, f"left in the end: {sorted(left)}")

#!/usr/bin/python3 -IS
"""Plays orvhost: what the BMC of its folder runs stands in state.json there. Every call is noted in calls,
and the PATH of the last one in path.

state.json has `running`, `recorded`, `waiting` (a written version waits), `server_type`, and `instead`: for a subcommand,
or one with an option ("update --dry-run"), what happens in its place: `fields` of its object, or `out` and `exit`.
A version is one character here where that does, so that versions compare as texts.
"""

import json
import os
import sys
from pathlib import Path

HERE = Path(__file__).parent
OPTIONS = ("--install-path", "--server-type", "--out")


def answer(state: dict, command: str, **fields) -> dict:
    whole = {"schema": 2, "command": command, "run_id": "", "verdict": "", "exit_code": 0, "changed": False,
             "before": state["running"], "after": state["running"], "needs_apply": waits(state), "phase": command,
             "flash_touched": False, "summary": "Done.", "facts": {}, "notices": [], "error": None}
    return dict(whole, **fields)


def failure(state: dict, command: str, verdict: str, exit_code: int, **fields) -> dict:
    error = {"cause": f"It is {verdict}.", "next_step": "Try it again.", "evidence": {"command": "ipmitool raw"}}
    return answer(state, command, **dict({"verdict": verdict, "exit_code": exit_code, "error": error, "summary": ""}, **fields))


def waits(state: dict) -> bool:
    return state["waiting"] and state["recorded"] != state["running"]


def identify(state: dict, _) -> dict:
    return answer(state, "identify", verdict="identified",
                  facts={"recorded_version": state["recorded"], "server_type": state["server_type"],
                         "serial_number": "S1", "last_update": "written"})


def check(state: dict, words: list) -> dict:
    package = Path(words[1])
    if not package.is_file():
        return failure(state, "check", "package-unusable", 5)
    version, server_type = package.read_text().split()
    if server_type != state["server_type"]:
        return failure(state, "check", "does-not-fit", 6)
    verdict = "newer" if version > state["running"] else "same" if version == state["running"] else "older"
    if verdict == "older" and "--allow-older" not in words and not (waits(state) and version == state["recorded"]):
        return failure(state, "check", "older-not-allowed", 6)
    return answer(state, "check", verdict=verdict, facts={"package_version": version})


def update(state: dict, words: list) -> dict:
    seen = check(state, words)
    if seen["exit_code"] or seen["verdict"] == "same" or "--dry-run" in words:
        return dict(seen, command="update", verdict=seen["verdict"] if seen["exit_code"] else "nothing-to-do"
                    if seen["verdict"] == "same" else "dry-run")
    version = seen["facts"]["package_version"]
    state.update(recorded=version, waiting=True)
    return answer(state, "update", verdict="updated", changed=True, after=version, flash_touched=True)


def apply(state: dict, words: list) -> dict:
    if not state["waiting"]:  # up to verify, also when it runs already
        return answer(state, "apply", verdict="nothing-to-do")
    if "--dry-run" in words:
        return answer(state, "apply", verdict="dry-run")
    before = state["running"]
    state.update(running=state["recorded"], boots=state.get("boots", 0) + 1)
    return answer(state, "apply", verdict="going-down", changed=True, before=before, after=state["recorded"])


def verify(state: dict, _) -> dict:
    if not state["recorded"]:
        return failure(state, "verify", "nothing-recorded", 7)
    if state["recorded"] != state["running"]:
        return failure(state, "verify", "version-not-expected", 9)
    state["waiting"] = False
    return answer(state, "verify", verdict="verified")


def report(state: dict, words: list) -> dict:
    file = Path(words[words.index("--out") + 1]) / "report.xml"
    file.write_text("<report/>")
    return answer(state, "report", verdict="reported", facts={"file": str(file), "product_name": "KV6000"})


def notify(state: dict, words: list) -> dict:
    if "--dry-run" in words:
        return answer(state, "notify", verdict="dry-run")
    return answer(state, "notify", verdict="sent", changed=True, facts={"operating_system": "sent", "disks": "sent"})


def history(state: dict, _) -> dict:
    return answer(state, "history", verdict="listed", runs=[{"run_id": "1"}, {"run_id": "2"}])


def main() -> int:
    words = sys.argv[1:]
    (HERE / "path").write_text(os.environ["PATH"])
    with (HERE / "calls").open("a") as calls:
        calls.write("\t".join(words) + "\n")
    rest = [word for number, word in enumerate(words) if not (word == "--json" or word in OPTIONS[:2] or
                                                             (number and words[number - 1] in OPTIONS[:2]))]
    state = json.loads((HERE / "state.json").read_text())
    name = f"{rest[0]} --dry-run" if "--dry-run" in rest else rest[0]
    instead = state["instead"].get(name) or {}
    if isinstance(instead, list):  # one for each call, the last for all that follow
        instead = instead.pop(0) if len(instead) > 1 else instead[0]
    if "out" in instead:
        (HERE / "state.json").write_text(json.dumps(state))
        sys.stdout.write(instead["out"])
        return instead["exit"]
    if "fails" in instead:
        done = failure(state, rest[0], *instead["fails"], **instead.get("fields", {}))
    else:
        done = dict(globals()[rest[0]](state, rest), **instead.get("fields", {}))
    new = HERE / f"state.{os.getpid()}"
    new.write_text(json.dumps(state))
    new.rename(HERE / "state.json")
    print(json.dumps(done))
    return done["exit_code"]


if __name__ == "__main__":
    sys.exit(main())

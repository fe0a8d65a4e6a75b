#!/usr/bin/python
"""The part of bmc_firmware that runs on the server: goes as far towards `state` as it can before the machine goes down. The
action plug-in of the same name waits for the machine and has the rest done."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
module: bmc_firmware
short_description: Brings the BMC of a KV6000 server to the firmware of a package
version_added: 1.0.0
description:
  - Writes the firmware of a package to the BMC by C(orvhost), puts it into operation, which halts the machine, waits until
    the machine is gone and is back, and verifies that the BMC runs the version that was written.
  - Does nothing when the BMC runs the package's version already, and does not write again what is written and waits.
  - In check mode everything is judged on the server as C(orvhost --dry-run) does it, and nothing is changed.
author:
  - KESTREL BMC tools (@kestrel)
extends_documentation_fragment:
  - kestrel.kv6000.orvhost
options:
  package:
    description:
      - The update package, a file on the controller, or on the server with I(remote_src=true).
      - Without it I(state=applied) and I(state=verified) go by what was written earlier.
    type: path
  remote_src:
    description: Whether I(package) is a file on the server.
    type: bool
    default: false
  version:
    description: The version that is wanted. The task fails when the package holds another one.
    type: str
  allow_older:
    description:
      - Whether the package may hold an older version than the one that runs, or one that cannot be compared with it.
    type: bool
    default: false
  state:
    description:
      - With C(written) the firmware is written and waits; the machine stays up.
      - With C(applied) it is also started, for which the machine goes down and comes back.
      - With C(verified) it is also verified that the BMC runs it.
    type: str
    choices: [written, applied, verified]
    default: verified
  down_time_limit:
    description: How many seconds the machine may take until it is gone.
    type: int
    default: 300
  up_time_limit:
    description: How many seconds the machine may take from then on until it is back.
    type: int
    default: 1200
  boot_id_command:
    description: A shell command that prints another text after every restart of the server.
    type: str
    default: cat /proc/sys/kernel/random/boot_id
attributes:
  check_mode:
    description: Everything is judged, nothing is written, and the machine stays up.
    support: full
  diff_mode:
    description: Shows the running and the waiting version before and after.
    support: full
notes:
  - A package is copied to the server for each task that needs it, with its signature (the file I(package)C(.sig) beside it)
    where there is one, and removed again.
  - When the connection ends while the firmware is written, C(orvhost) ends before it touches the flash, or else writes to
    the end. The machine is not restarted. Run the same task again.
seealso:
  - module: kestrel.kv6000.bmc_firmware_info
"""

EXAMPLES = r"""
- name: See what an update would do
  kestrel.kv6000.bmc_firmware:
    package: kv6000-01-24.zip
  become: true
  check_mode: true

- name: Write the firmware now
  kestrel.kv6000.bmc_firmware:
    package: kv6000-01-24.zip
    version: 01-24
    state: written
  become: true

- name: Start and verify it at night
  kestrel.kv6000.bmc_firmware:
    state: verified
  become: true
"""

RETURN = r"""
before:
  description: Version that the BMC ran before.
  returned: when known
  type: str
  sample: 01-23
after:
  description: Version that the task leaves; it does not run yet with C(needs_apply).
  returned: when known
  type: str
  sample: 01-24
needs_apply:
  description: Whether a written version waits for its start.
  returned: when known
  type: bool
verdict:
  description: The verdict of the last run of C(orvhost), or one of this collection.
  returned: always
  type: str
  sample: verified
seconds:
  description: How long the task took.
  returned: always
  type: float
flash_touched:
  description: Whether writing the flash had begun. Null when nobody knows.
  returned: failure
  type: bool
next_step:
  description: What to do now.
  returned: failure
  type: str
evidence:
  description: What shows the cause.
  returned: failure
  type: dict
"""

import os
import subprocess
import tempfile

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.kestrel.kv6000.plugins.module_utils import orvhost

# So that the answer of the module is sent before the machine goes down.
APPLY_DELAY = 3
# Where orvhost wants an option, its next step names a shell command; here it is for who writes the task.
NEXT_STEPS = {
    "older-not-allowed": "Get a newer package. Only if this version is what the server is to run, set allow_older.",
    "reinstall-not-allowed": "Leave this server as it is. Only \"orvhost update PACKAGE --allow-reinstall\" on the server itself "
                             "writes it.",
}
IN_BACKGROUND = 'sleep "$1"; answer=$2; shift 2; exec "$@" >"$answer" 2>"$answer.err"'


class Firmware:
    """One step of an update, on the server."""

    def __init__(self, module):
        self._params = module.params
        self._check_mode = module.check_mode
        self._orvhost = orvhost.Orvhost(module)

    def write(self):
        """The package is written, or runs already."""
        seen = self._run_on_package("check")
        wanted = seen["facts"].get("package_version", "")
        if self._params["version"] not in (None, wanted):
            raise orvhost.Refusal("other-version", "The package holds version {0}, not {1}.".format(
                wanted, self._params["version"]), "Get the package of the wanted version.", before=seen["before"])
        waiting = self._waiting_version(seen)
        if waiting and waiting != wanted and seen["before"] == wanted:
            raise orvhost.Refusal("other-version-waits", "The BMC runs version {0}, but version {1} is written and starts "
                                  "with the next restart.".format(wanted, waiting),
                                  "Decide which of them you want; ask for the one that waits to have it started.",
                                  before=wanted, after=waiting, needs_apply=True)
        if waiting == wanted and self._orvhost.ask("apply", "--dry-run")["verdict"] == "dry-run":
            return result_of(seen, False, "nothing-to-do", wanted, True, waiting)
        if seen["before"] == wanted:
            return result_of(seen, False, "nothing-to-do", wanted, False)
        if self._check_mode:
            report = self._run_on_package("update", "--dry-run")
            return result_of(report, report["verdict"] == "dry-run", report["verdict"], wanted, True, waiting)
        report = self._run_on_package("update", writes=True)
        return result_of(report, report["changed"], report["verdict"], report["after"], report["needs_apply"], waiting)

    def _run_on_package(self, subcommand, *options, **how):
        allowed = ["--allow-older"] if self._params["allow_older"] else []
        report = self._orvhost.ask(subcommand, self._params["package"], *(allowed + list(options)), **how)
        if report["exit_code"] == 0:
            return report
        if report["verdict"] in NEXT_STEPS:
            report["error"]["next_step"] = NEXT_STEPS[report["verdict"]]
        raise orvhost.failure_of(report)

    def _waiting_version(self, seen):
        """The version that is written and waits for its start; "" when none does."""
        return self._orvhost.run("identify")["facts"].get("recorded_version", "") if seen["needs_apply"] else ""

    def apply(self):
        """What waits is being started when this returns with `answer`, the file that orvhost's answer appears in."""
        report = self._orvhost.run("apply", "--dry-run")
        running = self._orvhost.run("identify")
        # Once it was started it goes on standing in the records as written, until it is verified.
        if report["verdict"] != "dry-run" or not running["needs_apply"]:
            return result_of(running, False, "nothing-to-do", running["before"], False)
        waiting = running["facts"].get("recorded_version", "")
        verdict = "dry-run" if self._check_mode else "going-down"
        result = result_of(report, True, verdict, waiting, self._check_mode, waiting)
        if not self._check_mode:
            result["answer"] = self._start_apply()
        return result

    def _start_apply(self):
        folder = tempfile.mkdtemp(prefix="kv6000-apply-", dir="/run" if os.access("/run", os.W_OK) else None)
        answer = os.path.join(folder, "answer")
        command = self._orvhost.words("apply", "--yes")
        with open(os.devnull, "r+") as nowhere:
            # In a session of its own, so that it outlives the connection.
            subprocess.Popen(["/bin/sh", "-c", IN_BACKGROUND, "sh", str(APPLY_DELAY), answer] + command, stdin=nowhere,
                             stdout=nowhere, stderr=nowhere, close_fds=True, cwd="/", start_new_session=True,
                             env=dict(os.environ, **orvhost.search_path()))
        return answer

    def verify(self, wanted):
        """The BMC runs what was installed, and that is the wanted version where one is given."""
        seen = self._orvhost.run("identify")
        recorded = seen["facts"].get("recorded_version", "")
        if self._check_mode or (wanted == seen["before"] != recorded):
            # Verifying would keep its result; and with what others installed there is nothing to compare.
            report = dict(seen, verdict="verified" if seen["before"] == (wanted or recorded) else "")
        else:
            report = self._orvhost.run("verify")
        if report["verdict"] != "verified" or report["needs_apply"] or wanted not in (None, report["after"]):
            raise orvhost.Refusal("version-not-expected", "The BMC runs version {0}, not {1}.".format(
                report["after"], wanted or recorded or "a recorded one"), "Run \"orvhost diagnose\" on the server.",
                before=report["before"], after=report["after"], needs_apply=report["needs_apply"])
        return result_of(report, report["changed"], "verified", report["after"], False)


def result_of(report, changed, verdict, after, needs_apply, waited=""):
    """The module's result; `waited` is the version that was written before and waited."""
    before = report["before"]
    return {"changed": changed, "verdict": verdict, "before": before, "after": after, "needs_apply": needs_apply,
            "summary": report["summary"], "notices": report["notices"],
            "diff": {"before": versions(before, waited), "after": versions(before if needs_apply else after,
                                                                      after if needs_apply else "")}}


def versions(running, waiting):
    return "running: {0}\nwaiting: {1}\n".format(running, waiting)


def go(module):
    """Without a package the state's own step. With one, all steps up to the state, to where firmware was written, or to where
    the machine goes down. While it is written the controller may be lost, and without it no machine is taken down."""
    firmware = Firmware(module)
    state = module.params["state"]
    if not module.params["package"]:
        return firmware.apply() if state == "applied" else firmware.verify(module.params["version"])
    result = firmware.write()
    if state == "written" or result["changed"]:
        return result
    if result["needs_apply"]:
        return after(result, firmware.apply)
    if state == "applied":
        return result
    return after(result, lambda: firmware.verify(result["after"]))


def after(first, step):
    """What a further step makes of a result. A failure knows what the one before it changed."""
    try:
        result = step()
    except orvhost.Refusal as refusal:
        refusal.fields.update(changed=refusal.fields["changed"] or first["changed"], before=first["before"])
        raise
    return dict(result, changed=first["changed"] or result["changed"], before=first["before"],
                diff={"before": first["diff"]["before"], "after": result["diff"]["after"]})


def main():
    arguments = dict(
        orvhost.ARGUMENTS,
        package={"type": "path"},
        remote_src={"type": "bool", "default": False},
        version={"type": "str"},
        allow_older={"type": "bool", "default": False},
        state={"type": "str", "choices": ["written", "applied", "verified"], "default": "verified"},
        down_time_limit={"type": "int", "default": 300},
        up_time_limit={"type": "int", "default": 1200},
        boot_id_command={"type": "str", "default": "cat /proc/sys/kernel/random/boot_id"},
    )
    orvhost.finish(AnsibleModule(argument_spec=arguments, supports_check_mode=True), go)


if __name__ == "__main__":
    main()

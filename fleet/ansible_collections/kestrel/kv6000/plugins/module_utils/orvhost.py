"""Runs `orvhost --json` and judges its answer, so that nothing is concluded from an output that is not what it should be.

Knows nothing of what the subcommands do; the modules do.
"""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import json
import os
import time

SCHEMA = 2
BUSY = 10
ANSWER_LOST = 12
BUSY_PAUSE = 5
# Where modprobe, dmidecode and shutdown are; an ordinary user who becomes root may lack them.
SYSTEM_FOLDERS = ("/usr/local/sbin", "/usr/sbin", "/sbin")
NO_TYPE = type(None)
FIELDS = {
    "command": str, "run_id": str, "verdict": str, "exit_code": int, "changed": bool, "before": str, "after": str,
    "needs_apply": (bool, NO_TYPE), "phase": str, "flash_touched": bool, "summary": str, "facts": dict, "notices": list,
    "error": (dict, NO_TYPE),
}
UNKNOWN_END = ("Nothing is known of how it ended. Keep the machine powered and run \"orvhost diagnose\" on the server "
               "before anything else.")

ARGUMENTS = {
    "executable": {"type": "str", "default": "orvhost"},
    "install_path": {"type": "path"},
    "server_type": {"type": "str"},
    "busy_time_limit": {"type": "int", "default": 60},
}


class Refusal(Exception):
    """Why a module ends with a failure. The fields become those of its result."""

    def __init__(self, verdict, cause, next_step, **fields):
        super().__init__(cause)
        self.fields = dict({"changed": False, "flash_touched": False}, verdict=verdict, next_step=next_step, **fields)
        self.fields["msg"] = cause + " " + next_step


def judge(words, code, out, err, writes=False):
    """The object that a run printed; a Refusal when it is not exactly one object of the schema that we know. `writes`: the
    run may have changed something, so that without its answer nobody knows what is true."""
    evidence = {"command": " ".join(words), "output": shortened(out), "error_output": shortened(err)}
    unclear = UNKNOWN_END if writes else "Nothing was changed. See what the evidence shows."

    def refusal(verdict, cause, next_step=unclear):
        return Refusal(verdict, cause, next_step, changed=writes, flash_touched=None if writes else False, exit_code=code,
                       evidence=evidence)

    report = read_object(out)
    if report is None:
        raise refusal(*why_unreadable(code, out))
    schema = report.get("schema")
    if not has_type(schema, int) or schema > SCHEMA:
        raise refusal("schema-unknown", "orvhost answers in schema {0!r}; this collection reads schema {1}."
                      .format(schema, SCHEMA))
    if schema < SCHEMA:
        raise refusal("orvhost-too-old", "orvhost answers in schema {0}; this collection reads schema {1}, of a newer orvhost."
                      .format(schema, SCHEMA))
    wrong = [name for name in sorted(FIELDS) if name not in report or not has_type(report[name], FIELDS[name])]
    if wrong:
        raise refusal("output-not-json", "The answer of orvhost lacks what it should have: {0}.".format(", ".join(wrong)))
    if report["exit_code"] != code or (code == 0) != (report["error"] is None):
        raise refusal("output-contradicts", "The answer of orvhost says exit code {0}, the program ended with {1}."
                      .format(report["exit_code"], code))
    return report


def why_unreadable(code, out):
    """Verdict and cause for an output that is not one object."""
    lines = out.strip().splitlines()
    if code == ANSWER_LOST:
        return "answer-lost", "orvhost is done, but could not write its answer."
    if lines and read_object(lines[-1]) is not None:
        return "output-not-alone", "Something else stands in the output of orvhost, before its answer."
    return "output-not-json", "The answer of orvhost is not the one JSON object that it should be."


def read_object(text):
    try:
        value = json.loads(text)
    except ValueError:
        return None
    return value if isinstance(value, dict) else None


def has_type(value, wanted):
    return isinstance(value, wanted) and not (wanted is int and isinstance(value, bool))


def shortened(text, limit=2000):
    return text if len(text) <= limit else text[:limit // 2] + "\n[...]\n" + text[-limit // 2:]


def failure_of(report):
    """The Refusal for a run that failed in the way that its object says."""
    error = report["error"]
    fields = {name: report[name] for name in ("changed", "flash_touched", "before", "after", "needs_apply", "exit_code",
                                              "run_id", "phase")}
    return Refusal(report["verdict"], error.get("cause", "orvhost failed."), error.get("next_step", ""),
                   evidence=error.get("evidence", {}), facts=report["facts"], **fields)


def search_path():
    """The variable PATH for orvhost."""
    folders = [folder for folder in os.environ.get("PATH", "/usr/bin:/bin").split(":") if folder]
    return {"PATH": ":".join(folders + [folder for folder in SYSTEM_FOLDERS if folder not in folders])}


class Orvhost:
    """The program on this machine, with the options that every run has in common."""

    def __init__(self, module, clock=time):
        self._module = module
        self._clock = clock
        name = module.params["executable"]
        self.path = module.get_bin_path(name, opt_dirs=["/usr/local/bin"])
        if not self.path:
            raise Refusal("orvhost-missing", "There is no program {0} on this server.".format(name),
                          "Install the package orvhost, or name the program with \"executable\".")

    def words(self, *words):
        """The words of a command line."""
        common = [self.path, "--json"]
        for option in ("install_path", "server_type"):
            if self._module.params[option]:
                common += ["--" + option.replace("_", "-"), self._module.params[option]]
        return common + list(words)

    def ask(self, *words, **how):
        """The object of a run, whether it failed or not (`writes` as of judge()). One that finds another run at work is made again until
        the time limit is over."""
        limit = self._clock.monotonic() + self._module.params["busy_time_limit"]
        while True:
            command = self.words(*words)
            code, out, err = self._module.run_command(command, environ_update=search_path())
            report = judge(command, code, out, err, **how)
            rest = limit - self._clock.monotonic()
            if report["exit_code"] != BUSY or rest <= 0:
                return report
            self._clock.sleep(min(BUSY_PAUSE, rest))

    def run(self, *words, **how):
        """The object of a run that succeeded."""
        report = self.ask(*words, **how)
        if report["exit_code"] != 0:
            raise failure_of(report)
        return report


def finish(module, work):
    """Ends a module with what `work` returns, or with the Refusal that it raises."""
    try:
        result = work(module)
    except Refusal as refusal:
        module.fail_json(**refusal.fields)
    else:
        module.exit_json(**result)

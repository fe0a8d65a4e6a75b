"""The part of bmc_firmware that runs on the controller: takes the steps on the server one after the other, and waits for
the machine while it is down."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import os
import time

from ansible.errors import AnsibleConnectionFailure, AnsibleError
from ansible.module_utils.parsing.convert_bool import boolean
from ansible.plugins.action import ActionBase
from ansible.utils.display import Display
from ansible_collections.kestrel.kv6000.plugins.module_utils import orvhost

STATES = ("written", "applied", "verified")
# How long a BMC that has just restarted may take to answer.
BMC_TIME_LIMIT = 120
PAUSE = 2
# A package's signature has its name with this behind it.
SIGNATURE = ".sig"
# Around what a shell command prints, so that nothing else is taken for it, nor a part of it.
MARK = "[kv6000]"
MAY_WRITE = (" If the server was at work already, it goes on: keep it powered, make it reachable, then run the same task again.")
ALIVE = "-o ServerAliveInterval=5 -o ServerAliveCountMax=3 -o ConnectTimeout=10"


class ActionModule(ActionBase):
    """The steps up to the wanted state."""

    TRANSFERS_FILES = True

    def run(self, tmp=None, task_vars=None):
        super(ActionModule, self).run(tmp, task_vars)
        started = time.monotonic()
        self._task_vars = task_vars
        try:
            result = self._bring_about()
        except orvhost.Refusal as refusal:
            result = dict(refusal.fields, failed=True)
        result["seconds"] = round(time.monotonic() - started, 1)
        return result

    def _bring_about(self):
        arguments = self._task.args
        state = arguments.get("state", "verified")
        complaint = contradiction(arguments, state)
        if complaint:
            raise orvhost.Refusal("usage", complaint, "Correct the task.")
        boot_id = "" if self._task.check_mode or state == "written" else self._boot_id()
        # Without a package the module takes one step alone.
        result = self._with_package(state) if arguments.get("package") else self._step("applied")
        if state != "written" and result["changed"] and "answer" not in result and not self._task.check_mode:
            result = joined(result, self._step("applied", result))
        answer = result.pop("answer", None)
        if answer:
            self._wait_for_restart(answer, boot_id, result)
            result.update(verdict="restarted", needs_apply=None)
        if state == "verified" and result["verdict"] != "verified" and not (self._task.check_mode and result["changed"]):
            result = self._verify(result)
        return result

    def _with_package(self, state):
        package = self._task.args["package"]
        if boolean(self._task.args.get("remote_src", False), strict=False):
            return self._step(state, package=package)
        found = self._find_package(package)
        folder = self._make_tmp_path()
        try:
            # It keeps its ending, which says what kind of archive it is.
            copies = [self._connection._shell.join_path(folder, "package-" + os.path.basename(found) + ending)
                      for ending in ("", SIGNATURE) if not ending or os.path.exists(found + ending)]
            for copy, ending in zip(copies, ("", SIGNATURE)):
                self._transfer_file(found + ending, copy)
            self._fixup_perms2([folder] + copies)
            return self._step(state, package=copies[0])
        finally:
            self._remove_quietly(folder)

    def _remove_quietly(self, folder):
        """A connection that is lost meanwhile is no reason to forget what was brought about."""
        try:
            self._remove_tmp_path(folder, force=True)
        except AnsibleConnectionFailure:
            # Or Ansible tries once more, and has that fail in the place of the task's own end.
            self._connection._shell.tmpdir = None

    def _find_package(self, package):
        try:
            return self._find_needle("files", package)
        except AnsibleError as error:
            raise orvhost.Refusal("package-missing", "There is no package {0} on the controller.".format(package),
                                  "Name the package; with remote_src it is a file on the server.",
                                  evidence={"error_output": str(error)})

    def _verify(self, earlier):
        """The result of the whole task, with the last step's part in it."""
        wanted = {"version": earlier["after"]} if self._task.args.get("package") else {}
        limit = time.monotonic() + (BMC_TIME_LIMIT if earlier["verdict"] == "restarted" else 0)
        while True:
            try:
                return joined(earlier, self._step("verified", earlier, **wanted))
            except orvhost.Refusal as refusal:
                waits = refusal.fields["verdict"] in ("bmc-unreadable", "prerequisites-missing", "unreachable")
                if not waits or time.monotonic() > limit:
                    raise
            time.sleep(PAUSE)

    def _step(self, state, earlier=None, **options):
        """What the module does on the server. A Refusal when it failed, which knows what was changed earlier."""
        arguments = dict(self._task.args, state=state)
        for name in ("package", "version") if "package" not in options else ():
            arguments.pop(name, None)
        arguments.update(options)
        changed = bool(earlier and earlier["changed"])
        try:
            result = self._execute_module("kestrel.kv6000.bmc_firmware", arguments, task_vars=self._task_vars)
        except AnsibleConnectionFailure as error:
            if not changed:
                raise AnsibleConnectionFailure(str(error) if self._task.check_mode else str(error) + MAY_WRITE)
            raise orvhost.Refusal("unreachable", "The server cannot be reached any more.", "See what became of the server, "
                                  "then run the same task again.", changed=True, flash_touched=None, before=earlier["before"])
        result.pop("invocation", None)
        if result.get("failed"):
            # What went wrong below the module, such as a Python that is missing, has no verdict of its own.
            result.setdefault("verdict", "module-failed")
            result.setdefault("next_step", "See the message and its evidence, then run the same task again.")
            refusal = orvhost.Refusal(result["verdict"], "", "")
            refusal.fields = dict(result, changed=changed or result.get("changed", False))
            if earlier:
                refusal.fields["before"] = earlier["before"]
            raise refusal
        return result

    # The machine goes down and comes back.

    def _wait_for_restart(self, answer, boot_id, result):
        # A connection that dies with the machine must not be waited for.
        if self._connection.transport == "ssh":
            extra = self._connection.get_option("ssh_extra_args") or ""
            self._connection.set_option("ssh_extra_args", (extra + " " + ALIVE).strip())
        limit = self._limit("down_time_limit", 300)
        gone = time.monotonic() + limit
        while True:
            now = self._boot_id()
            if now != boot_id:
                break
            self._stop_when_apply_failed(answer, result)
            if time.monotonic() > gone:
                raise stays_away("not-gone", "The machine is still up {0} s after it was to go down.".format(limit),
                                 "See on the server what keeps it, with \"orvhost diagnose\".", result)
            time.sleep(PAUSE)
        Display().vv("{0}: gone".format(self._task_vars.get("inventory_hostname")))
        limit = self._limit("up_time_limit", 1200)
        back = time.monotonic() + limit
        while not now or now == boot_id:
            if time.monotonic() > back:
                raise stays_away("not-back", "The machine went down and is not back after {0} s.".format(limit),
                                 "See on its console what it waits for. When it is up, run the same task again.", result)
            time.sleep(PAUSE)
            now = self._boot_id()

    def _limit(self, name, default):
        return int(self._task.args.get(name, default))

    def _boot_id(self):
        """The boot that the server is in; "" when it cannot be reached, or not to the end of its answer."""
        command = self._task.args.get("boot_id_command", "cat /proc/sys/kernel/random/boot_id")
        parts = self._ask("echo '{0}' && {{ {1}\n}} && echo '{0}'".format(MARK, command)).split(MARK)
        return parts[1].strip() if len(parts) == 3 else ""

    def _ask(self, command):
        """What a shell command prints on the server; "" when it cannot be asked."""
        try:
            if self._connection.transport != "local":
                self._connection.reset()
            done = self._low_level_execute_command(command)
        except AnsibleConnectionFailure:
            return ""
        return done["stdout"] if done["rc"] == 0 else ""

    def _stop_when_apply_failed(self, answer, result):
        text = self._ask("cat {0}".format(answer))
        report = orvhost.read_object(text) if text.strip() else None
        if report is None or report.get("exit_code") == 0:
            return
        if report.get("exit_code") == orvhost.BUSY:
            return  # another controller takes the machine down
        refusal = orvhost.failure_of(orvhost.judge(["orvhost", "apply"], report.get("exit_code"), text, "", True))
        refusal.fields.update(before=result["before"], changed=True)
        raise refusal


def joined(earlier, result):
    """What a further step makes of a result."""
    return dict(result, changed=earlier["changed"] or result["changed"], before=earlier["before"],
                diff={"before": earlier["diff"]["before"], "after": result["diff"]["after"]})


def contradiction(arguments, state):
    """What is wrong with the options of a task; "" when nothing is."""
    if state not in STATES:
        return "The state is one of {0}, not {1}.".format(", ".join(STATES), state)
    if not arguments.get("package"):
        for name in ("version", "allow_older", "remote_src"):
            if arguments.get(name) not in (None, False, ""):
                return "\"{0}\" says something of a package, and none is named.".format(name)
        if state == "written":
            return "With \"state: written\" a package must be named."
    for name in ("down_time_limit", "up_time_limit"):
        if name in arguments and state == "written":
            return "\"{0}\" waits for a restart, which \"state: written\" does not make.".format(name)
        if not str(arguments.get(name, 1)).isdigit() or int(arguments.get(name, 1)) < 1:
            return "\"{0}\" is not a number of seconds, 1 or more.".format(name)
    return ""


def stays_away(verdict, cause, next_step, result):
    return orvhost.Refusal(verdict, cause, next_step, changed=True, flash_touched=None, before=result["before"],
                           after=result["after"], needs_apply=None)

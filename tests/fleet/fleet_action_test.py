"""The part of bmc_firmware that runs on the controller, with steps that answer as each test asks and a clock that nobody
waits for."""

import os
import sys
import tempfile
import unittest
from unittest import mock

from ansible.errors import AnsibleConnectionFailure
from ansible.plugins.loader import action_loader

NAME = "kestrel.kv6000.bmc_firmware"
bmc_firmware = sys.modules[action_loader.get(NAME, class_only=True).__module__]

WRITTEN = {"changed": True, "verdict": "updated", "before": "01-23", "after": "01-24", "needs_apply": True,
           "diff": {"before": "running: 01-23\nwaiting: \n", "after": "running: 01-23\nwaiting: 01-24\n"}}
GOING = dict(WRITTEN, verdict="going-down", answer="/run/a/answer", needs_apply=False,
             diff={"before": "running: 01-23\nwaiting: \n", "after": "running: 01-24\nwaiting: \n"})
VERIFIED = dict(WRITTEN, changed=False, verdict="verified", before="01-24", needs_apply=False,
                diff={"before": "", "after": "running: 01-24\nwaiting: \n"})
FAILED = {"failed": True, "changed": False, "msg": "It failed.", "next_step": "Try it again."}
APPLY_FAILED = ('{"schema": 2, "command": "apply", "run_id": "", "verdict": "not-applied", "exit_code": 7, "changed": false, '
                '"before": "", "after": "", "needs_apply": true, "phase": "apply", "flash_touched": false, "summary": "", '
                '"facts": {}, "notices": [], "error": {"cause": "Not put into operation.", "next_step": "Again.", '
                '"evidence": {}}}')


class Action(unittest.TestCase):
    def run_task(self, steps: list, boots=("1", "", "2"), answers=(), check_mode=False, **arguments) -> dict:
        """Runs a task. `steps` are the modules' results in their order; `boots` what the server answers, poll by poll, and
        the last one from then on, after "raw:" the whole output; `answers` the same for what apply prints."""
        task = mock.Mock(args=dict({"remote_src": True, "package": "/p.zip"}, **arguments), check_mode=check_mode, async_val=0)
        task.args = {name: value for name, value in task.args.items() if value is not None}
        connection = mock.Mock(transport="ssh", **{"get_option.return_value": ""})
        action = bmc_firmware.ActionModule(task, connection, mock.Mock(check_mode=check_mode), mock.Mock(), mock.Mock(), mock.Mock())
        self.taken, self.slept, boots, answers, steps = [], 0.0, list(boots), list(answers), list(steps)

        def take(name, options, **_):
            self.taken.append((options["state"], options.get("version")))
            step = steps.pop(0)
            if isinstance(step, Exception):
                raise step
            return dict(step)

        def low_level(command, **_):
            if command.startswith("cat /run"):
                text = answers.pop(0) if len(answers) > 1 else answers[0] if answers else ""
                return {"rc": 0 if text else 1, "stdout": text}
            boot = boots.pop(0) if len(boots) > 1 else boots[0]
            if not boot:
                raise AnsibleConnectionFailure("gone")
            mark = bmc_firmware.MARK
            return {"rc": 0, "stdout": boot[4:] if boot.startswith("raw:") else f"Hello\r\n{mark}\r\n{boot}\r\n{mark}\r\n"}

        def sleep(seconds):
            self.slept += seconds

        clock = mock.Mock(monotonic=lambda: self.slept, sleep=sleep)
        with mock.patch.object(action, "_execute_module", take), mock.patch.object(action, "_low_level_execute_command", low_level), \
                mock.patch.object(bmc_firmware, "time", clock):
            result = action.run(task_vars={"inventory_hostname": "server1"})
        self.assertEqual(steps, [], "steps that were not taken")
        return result

    def assert_result(self, result: dict, **fields):
        self.assertEqual({name: result.get(name) for name in fields}, fields, result)

    def test_all_steps(self):
        result = self.run_task([WRITTEN, GOING, VERIFIED])
        self.assert_result(result, changed=True, verdict="verified", before="01-23", after="01-24", needs_apply=False,
                           diff={"before": "running: 01-23\nwaiting: \n", "after": "running: 01-24\nwaiting: \n"})
        self.assertEqual(self.taken, [("verified", None), ("applied", None), ("verified", "01-24")])
        self.assertGreater(result["seconds"], 0)

    def test_only_written(self):
        self.assert_result(self.run_task([WRITTEN], state="written"), changed=True, verdict="updated", needs_apply=True)

    def test_only_applied(self):
        self.assert_result(self.run_task([WRITTEN, GOING], state="applied"), changed=True, verdict="restarted")

    def test_what_waits_is_started_at_once(self):
        self.assert_result(self.run_task([GOING, VERIFIED]), changed=True, verdict="verified")
        self.assertEqual(self.taken, [("verified", None), ("verified", "01-24")])

    def test_a_start_that_is_refused_after_the_writing(self):
        result = self.run_task([WRITTEN, dict(FAILED, verdict="not-written")])
        self.assert_result(result, failed=True, changed=True, verdict="not-written", before="01-23")

    def test_a_server_that_is_lost_after_the_writing(self):
        result = self.run_task([WRITTEN, AnsibleConnectionFailure("no route")])
        self.assert_result(result, failed=True, changed=True, verdict="unreachable", before="01-23")

    def test_a_connection_that_is_lost_while_the_package_is_removed_changes_nothing(self):
        lost = mock.Mock(side_effect=AnsibleConnectionFailure("no route"))
        with mock.patch.multiple(bmc_firmware.ActionModule, _find_package=lambda *_: "/p.zip", _make_tmp_path=lambda *_: "/t",
                                 _transfer_file=mock.Mock(), _fixup_perms2=mock.Mock(), _remove_tmp_path=lost):
            result = self.run_task([WRITTEN], remote_src=False, state="written")
        self.assert_result(result, changed=True, verdict="updated")
        lost.assert_called_once()

    def copied(self, package: str) -> list:
        """The names of the files that a task with this package copies to the server."""
        copy = mock.Mock()
        with mock.patch.multiple(bmc_firmware.ActionModule, _find_package=lambda *_: package, _make_tmp_path=lambda *_: "/t",
                                 _transfer_file=copy, _fixup_perms2=mock.Mock(), _remove_tmp_path=mock.Mock()):
            self.run_task([WRITTEN], remote_src=False, state="written")
        return [call.args[0] for call in copy.call_args_list]

    def test_a_signature_goes_with_its_package(self):
        folder = self.enterContext(tempfile.TemporaryDirectory())
        package = os.path.join(folder, "p.zip")
        self.assertEqual(self.copied(package), [package])
        with open(package + ".sig", "wb"):
            self.assertEqual(self.copied(package), [package, package + ".sig"])

    def test_what_runs_is_only_verified(self):
        self.assert_result(self.run_task([VERIFIED]), changed=False, verdict="verified")
        self.assertEqual(self.taken, [("verified", None)])

    def test_what_waits_is_started_without_a_package(self):
        self.assert_result(self.run_task([GOING, VERIFIED], package=None, remote_src=None), changed=True, verdict="verified")
        self.assertEqual(self.taken, [("applied", None), ("verified", None)])

    def test_check_mode_ends_at_the_first_change(self):
        self.assert_result(self.run_task([dict(WRITTEN, verdict="dry-run")], check_mode=True), changed=True, verdict="dry-run")

    def test_fails_to_write(self):
        result = self.run_task([dict(FAILED, verdict="update-failed", flash_touched=True, changed=True)])
        self.assert_result(result, failed=True, changed=True, verdict="update-failed", msg="It failed.", flash_touched=True)

    def test_fails_below_the_module(self):
        result = self.run_task([{"failed": True, "msg": "/usr/bin/python3: not found"}])
        self.assert_result(result, failed=True, changed=False, verdict="module-failed", msg="/usr/bin/python3: not found")

    def test_fails_to_be_verified(self):
        result = self.run_task([GOING, dict(FAILED, verdict="version-not-expected")])
        self.assert_result(result, failed=True, changed=True, verdict="version-not-expected", before="01-23")

    def test_a_bmc_that_needs_a_moment(self):
        unreadable = dict(FAILED, verdict="bmc-unreadable")
        self.assert_result(self.run_task([GOING, unreadable, unreadable, VERIFIED]), changed=True, verdict="verified")

    def test_a_bmc_that_stays_silent(self):
        polls = bmc_firmware.BMC_TIME_LIMIT // bmc_firmware.PAUSE
        result = self.run_task([GOING] + [dict(FAILED, verdict="bmc-unreadable")] * (polls + 2))
        self.assert_result(result, failed=True, verdict="bmc-unreadable", changed=True)

    def test_a_machine_that_does_not_go(self):
        result = self.run_task([GOING], boots=["1"], down_time_limit=30)
        self.assert_result(result, failed=True, changed=True, verdict="not-gone", before="01-23", after="01-24")
        self.assertLess(self.slept, 35)

    def test_a_machine_that_does_not_come_back(self):
        result = self.run_task([GOING], boots=["1", "1", ""], up_time_limit=60)
        self.assert_result(result, failed=True, changed=True, verdict="not-back", flash_touched=None)
        self.assertLess(self.slept, 70)

    def test_a_restart_that_is_over_before_it_is_looked_for(self):
        self.assert_result(self.run_task([GOING, VERIFIED], boots=["1", "2"]), verdict="verified")

    def test_what_a_machine_prints_as_it_goes_down_is_no_other_boot(self):
        noise = ["raw:Connection to server closed.", "raw:Terminated", "raw:\r\n", f"raw:{bmc_firmware.MARK}\r\n2"]
        result = self.run_task([GOING], boots=["1", *noise, ""], up_time_limit=60)
        self.assert_result(result, failed=True, verdict="not-back")
        self.assert_result(self.run_task([GOING, VERIFIED], boots=["1", *noise, "1", *noise, "2"]), verdict="verified")

    def test_a_connection_that_is_lost_and_comes_back_without_a_restart(self):
        result = self.run_task([GOING], boots=["1", "", "1"], up_time_limit=60)
        self.assert_result(result, failed=True, verdict="not-back")

    def test_an_apply_that_fails(self):
        result = self.run_task([GOING], boots=["1"], answers=["", APPLY_FAILED])
        self.assert_result(result, failed=True, changed=True, verdict="not-applied", before="01-23", next_step="Again.")
        self.assertLess(self.slept, 10)

    def test_an_apply_while_another_controller_s_is_at_work(self):
        busy = APPLY_FAILED.replace('"not-applied", "exit_code": 7', '"busy", "exit_code": 10')
        result = self.run_task([GOING, VERIFIED], boots=["1", "1", "1", "", "2"], answers=[busy])
        self.assert_result(result, verdict="verified", changed=True)

    def test_a_server_that_is_unreachable_from_the_start(self):
        with self.assertRaisesRegex(AnsibleConnectionFailure, "^no route If .* keep it powered"):
            self.run_task([AnsibleConnectionFailure("no route")])
        with self.assertRaisesRegex(AnsibleConnectionFailure, "^no route$"):
            self.run_task([AnsibleConnectionFailure("no route")], check_mode=True)

    def test_a_server_that_is_lost_after_it_was_changed(self):
        result = self.run_task([GOING] + [AnsibleConnectionFailure("no route")] * 62)
        self.assert_result(result, failed=True, changed=True, verdict="unreachable", flash_touched=None)

    def test_options_that_contradict_each_other(self):
        for arguments in ({"package": None, "state": "written"}, {"package": None, "version": "01-24", "remote_src": None},
                          {"package": None, "allow_older": True, "remote_src": None}, {"package": None}, {"state": "done"},
                          {"state": "written", "up_time_limit": 5}, {"up_time_limit": 0}, {"down_time_limit": "soon"}):
            with self.subTest(arguments):
                self.assert_result(self.run_task([], **arguments), failed=True, changed=False, verdict="usage")
                self.assertEqual(self.taken, [])


if __name__ == "__main__":
    unittest.main()

"""The modules of the collection, against an orvhost that plays its part."""

import json
import re
import subprocess
import tempfile
import unittest
from unittest import mock

import yaml
from fleet_support import COLLECTION, REPOSITORY, ModuleTest, load_module, orvhost, write_package

MODULES = ("bmc_firmware", "bmc_firmware_info", "bmc_report", "bmc_notify")

WHOLE = {"schema": 2, "command": "check", "run_id": "", "verdict": "newer", "exit_code": 0, "changed": False, "before": "",
         "after": "", "needs_apply": False, "phase": "", "flash_touched": False, "summary": "", "facts": {}, "notices": [],
         "error": None}


class Answers(ModuleTest):
    """What orvhost may answer that is not an answer. `check` comes first in every update."""

    def refused(self, out: str, exit_code=0) -> dict:
        self.instead(check={"out": out, "exit": exit_code})
        result = self.module("bmc_firmware", package=str(self.package), state="written")
        self.assert_result(result, failed=True, changed=False, flash_touched=False)
        self.assertEqual(self.server.calls, ["check"])
        self.assertIn("check", result["evidence"]["command"])
        self.assertTrue(result["next_step"])
        return result

    def test_a_crash_without_an_answer(self):
        self.assert_result(self.refused("", 139), verdict="output-not-json", exit_code=139)

    def test_a_text_that_is_no_json(self):
        result = self.refused("terminate called\n", 134)
        self.assert_result(result, verdict="output-not-json")
        self.assertEqual(result["evidence"]["output"], "terminate called\n")

    def test_json_that_is_no_object(self):
        self.assert_result(self.refused("[1]"), verdict="output-not-json")

    def test_an_answer_after_a_banner(self):
        result = self.refused("Welcome to server 7\n" + json.dumps(WHOLE) + "\n")
        self.assert_result(result, verdict="output-not-alone")
        self.assertIn("Welcome to server 7", result["evidence"]["output"])

    def test_an_older_schema(self):
        self.assert_result(self.refused(json.dumps({"schema": 1, "verdict": "newer"})), verdict="orvhost-too-old")

    def test_a_newer_schema(self):
        for schema in (3, "2", None, True, 2.0):
            with self.subTest(schema):
                self.setUp()
                self.assert_result(self.refused(json.dumps(dict(WHOLE, schema=schema))), verdict="schema-unknown")

    def test_an_answer_that_lacks_something(self):
        for name in WHOLE.keys() - {"schema"}:
            with self.subTest(name):
                self.setUp()
                lacks = {key: value for key, value in WHOLE.items() if key != name}
                self.assertIn(name, self.refused(json.dumps(lacks))["msg"])

    def test_an_answer_of_other_types(self):
        for name, value in {"changed": 1, "exit_code": "0", "facts": [], "before": None, "error": "no"}.items():
            with self.subTest(name):
                self.setUp()
                self.assert_result(self.refused(json.dumps(dict(WHOLE, **{name: value}))), verdict="output-not-json")

    def test_an_exit_code_that_is_not_the_program_s(self):
        self.assert_result(self.refused(json.dumps(WHOLE), 1), verdict="output-contradicts")
        self.setUp()
        self.assert_result(self.refused(json.dumps(dict(WHOLE, exit_code=7)), 7), verdict="output-contradicts")

    def test_a_result_that_could_not_be_written(self):
        self.assert_result(self.refused("", 12), verdict="answer-lost")

    def test_an_update_without_an_answer_claims_nothing_of_the_flash(self):
        self.instead(update={"out": "", "exit": 139})
        result = self.module("bmc_firmware", package=str(self.package), state="written")
        self.assert_result(result, failed=True, verdict="output-not-json", changed=True, flash_touched=None)
        self.assertIn("orvhost diagnose", result["next_step"])

    def test_a_long_output_is_shortened(self):
        output = self.refused("x" * 1000000)["evidence"]["output"]
        self.assertLess(len(output), 3000)
        self.assertIn("[...]", output)


class Program(ModuleTest):
    def test_it_is_missing(self):
        for name in MODULES:
            result = self.module(name, executable=str(self.folder / "none"))
            self.assert_result(result, failed=True, verdict="orvhost-missing", changed=False)
            self.assertIn(str(self.folder / "none"), result["msg"])

    def test_another_run_is_at_work(self):
        self.instead(check={"fails": ["busy", 10]})
        result = self.module("bmc_firmware", package=str(self.package), state="written")
        self.assert_result(result, failed=True, verdict="busy", exit_code=10, changed=False)

    def test_another_run_ends_within_the_time_limit(self):
        self.instead(check=[{"fails": ["busy", 10]}, {"fields": {}}])
        with mock.patch.object(orvhost, "BUSY_PAUSE", 0):
            result = self.module("bmc_firmware", package=str(self.package), state="written", busy_time_limit=60)
        self.assert_result(result, failed=False, verdict="updated")
        self.assertEqual(self.server.calls, ["check", "check", "update"])

    def test_it_finds_what_only_root_s_path_has(self):
        for given, path in {"/usr/bin:/bin": "/usr/bin:/bin:/usr/local/sbin:/usr/sbin:/sbin",
                            "/sbin:/bin": "/sbin:/bin:/usr/local/sbin:/usr/sbin"}.items():
            with self.subTest(given), mock.patch.dict("os.environ", PATH=given):
                self.module("bmc_firmware_info")
                self.assertEqual((self.server.folder / "path").read_text(), path)

    def test_its_common_options_are_handed_on(self):
        self.module("bmc_firmware_info", install_path="/srv/orv", server_type="kv6000")
        call = (self.server.folder / "calls").read_text().splitlines()[0]
        self.assertEqual(call, "--json --install-path /srv/orv --server-type kv6000 identify".replace(" ", "\t"))


class Written(ModuleTest):
    def write(self, **options) -> dict:
        return self.module("bmc_firmware", **dict({"package": str(self.package), "state": "written"}, **options))

    def test_a_newer_package_is_written(self):
        self.assert_result(self.write(), failed=False, changed=True, verdict="updated", before="01-23", after="01-24",
                           needs_apply=True, diff={"before": "running: 01-23\nwaiting: \n",
                                                   "after": "running: 01-23\nwaiting: 01-24\n"})
        self.assertEqual(self.server.calls, ["check", "update"])

    def test_what_waits_is_not_written_again(self):
        self.write()
        waits = "running: 01-23\nwaiting: 01-24\n"
        self.assert_result(self.write(), failed=False, changed=False, verdict="nothing-to-do", after="01-24", needs_apply=True,
                           diff={"before": waits, "after": waits})
        self.assertEqual(self.server.calls.count("update"), 1)

    def test_what_waits_is_replaced_by_another_version(self):
        self.server.put(recorded="01-30", waiting=True)
        self.assert_result(self.write(), failed=False, changed=True, verdict="updated",
                           diff={"before": "running: 01-23\nwaiting: 01-30\n", "after": "running: 01-23\nwaiting: 01-24\n"})

    def test_what_waits_and_cannot_be_started_is_written_again(self):
        self.write()
        self.instead(apply_dry={"fails": ["not-written", 7]})
        self.assert_result(self.write(), failed=False, changed=True, verdict="updated")

    def test_what_runs_is_not_written(self):
        self.server.put(running="01-24")
        self.assert_result(self.write(), failed=False, changed=False, verdict="nothing-to-do", after="01-24", needs_apply=False)
        self.assertEqual(self.server.calls, ["check"])

    def test_another_version_waits_while_the_wanted_one_runs(self):
        self.server.put(running="01-24", recorded="01-25", waiting=True)
        self.assert_result(self.write(), failed=True, changed=False, verdict="other-version-waits", before="01-24",
                           after="01-25")

    def test_check_mode_writes_nothing(self):
        self.assert_result(self.write(check_mode=True), failed=False, changed=True, verdict="dry-run", before="01-23",
                           after="01-24", needs_apply=True)
        self.assertEqual(self.server.calls, ["check", "update --dry-run"])
        self.assertEqual(self.server.state["recorded"], "")

    def test_an_older_package_is_refused(self):
        self.server.put(running="01-25")
        result = self.write()
        self.assert_result(result, failed=True, changed=False, verdict="older-not-allowed", exit_code=6, before="01-25")
        self.assertEqual(result["msg"], "It is older-not-allowed. " + result["next_step"])
        self.assertRegex(result["next_step"], "set allow_older")
        self.assertEqual(self.server.calls, ["check"])

    def test_an_older_package_is_written_when_it_may_be(self):
        self.server.put(running="01-25")
        self.assert_result(self.write(allow_older=True), failed=False, changed=True, after="01-24")
        self.assertEqual(self.server.calls, ["check --allow-older", "update --allow-older"])

    def test_an_older_package_that_waits_is_not_written_again(self):
        self.server.put(running="01-25", recorded="01-24", waiting=True)
        self.assert_result(self.write(), failed=False, changed=False, verdict="nothing-to-do", after="01-24", needs_apply=True)

    def test_a_package_that_counts_as_the_version_that_runs(self):
        self.instead(check={"fails": ["reinstall-not-allowed", 6]})
        result = self.write()
        self.assert_result(result, failed=True, changed=False, verdict="reinstall-not-allowed", exit_code=6)
        self.assertRegex(result["msg"], "on the server itself")

    def test_an_older_version_that_is_noticed_only_by_the_update(self):
        self.instead(update={"fails": ["older-not-allowed", 6]})
        result = self.write()
        self.assert_result(result, failed=True, changed=False, verdict="older-not-allowed", flash_touched=False)
        self.assertRegex(result["msg"], "set allow_older")

    def test_the_package_holds_another_version(self):
        self.assert_result(self.write(version="01-25"), failed=True, changed=False, verdict="other-version")
        self.assertEqual(self.server.calls, ["check"])

    def test_a_package_for_another_server(self):
        write_package(self.package, "01-24", "kv6000rt")
        self.assert_result(self.write(), failed=True, changed=False, verdict="does-not-fit", exit_code=6,
                           evidence={"command": "ipmitool raw"})

    def test_a_package_that_is_not_there(self):
        self.assert_result(self.write(package=str(self.folder / "none.zip")), failed=True, verdict="package-unusable")

    def test_a_flash_that_fails(self):
        self.instead(update={"fails": ["update-failed", 8], "fields": {"flash_touched": True, "changed": True}})
        self.assert_result(self.write(), failed=True, changed=True, verdict="update-failed", exit_code=8,
                           flash_touched=True, next_step="Try it again.")


class Verified(ModuleTest):
    def verify(self, **options) -> dict:
        return self.module("bmc_firmware", state="verified", **options)

    def test_what_was_installed_runs(self):
        self.server.put(running="01-24", recorded="01-24", waiting=True)
        self.assert_result(self.verify(version="01-24"), failed=False, changed=False, verdict="verified", after="01-24")
        self.assertEqual(self.server.calls, ["identify", "verify"])

    def test_another_version_runs(self):
        self.server.put(recorded="01-24")
        self.assert_result(self.verify(), failed=True, verdict="version-not-expected", exit_code=9)

    def test_what_was_installed_runs_and_is_not_the_wanted_one(self):
        self.server.put(running="01-24", recorded="01-24")
        self.assert_result(self.verify(version="01-25"), failed=True, verdict="version-not-expected", before="01-24")

    def test_the_wanted_version_runs_and_others_installed_it(self):
        self.server.put(running="01-24")
        self.assert_result(self.verify(version="01-24"), failed=False, verdict="verified")

    def test_check_mode_keeps_no_result(self):
        self.server.put(running="01-24", recorded="01-24")
        self.assert_result(self.verify(check_mode=True), failed=False, verdict="verified")
        self.server.put(running="01-23")
        self.assert_result(self.verify(check_mode=True), failed=True, verdict="version-not-expected")
        self.assertNotIn("verify", self.server.calls)


class AllSteps(ModuleTest):
    """What the module does by itself on its way to a state."""

    def start(self, state="verified", **options) -> dict:
        """An update up to where the machine goes down; nothing takes it down here."""
        with tempfile.TemporaryDirectory() as folder, mock.patch("tempfile.mkdtemp", return_value=folder):
            real = subprocess.Popen
            with mock.patch("subprocess.Popen", lambda words, **how: self.words.append(words) if "apply" in words and
                            "--yes" in words else real(words, **how)):
                self.words = []
                return self.module("bmc_firmware", package=str(self.package), state=state, **options)

    def test_what_is_written_is_not_started_in_the_same_step(self):
        for state in ("applied", "verified"):
            with self.subTest(state):
                self.setUp()
                self.assert_result(self.start(state), failed=False, changed=True, verdict="updated", before="01-23",
                                   after="01-24", needs_apply=True)
                self.assertEqual((self.server.calls, self.words), (["check", "update"], []))

    def test_what_waits_is_started(self):
        self.server.put(recorded="01-24", waiting=True)
        for state in ("applied", "verified"):
            with self.subTest(state):
                result = self.start(state)
                self.assert_result(result, failed=False, changed=True, verdict="going-down", before="01-23", after="01-24",
                                   diff={"before": "running: 01-23\nwaiting: 01-24\n", "after": "running: 01-24\nwaiting: \n"})
                self.assertTrue(result["answer"])
                self.assertNotIn("update", self.server.calls)
                self.assertEqual(self.words[0][-4:], [str(self.server.program), "--json", "apply", "--yes"])

    def test_what_runs_is_verified(self):
        self.server.put(running="01-24", recorded="01-24")
        self.assert_result(self.start(), failed=False, changed=False, verdict="verified", after="01-24")
        self.assertEqual(self.server.calls, ["check", "identify", "verify"])

    def test_what_was_started_is_not_started_again_before_it_is_verified(self):
        self.server.put(running="01-24", recorded="01-24", waiting=True)
        result = self.module("bmc_firmware", state="applied")
        self.assert_result(result, failed=False, changed=False, verdict="nothing-to-do", before="01-24", after="01-24")
        self.assertNotIn("apply --yes", self.server.calls)

    def test_check_mode_goes_no_further_than_the_first_change(self):
        self.assert_result(self.start(check_mode=True), failed=False, changed=True, verdict="dry-run", after="01-24")
        self.assertEqual(self.server.calls, ["check", "update --dry-run"])
        self.server.put(recorded="01-24", waiting=True)
        self.assert_result(self.start(check_mode=True), failed=False, changed=True, verdict="dry-run", after="01-24")
        self.assertEqual(self.words, [])

    def test_a_start_that_is_refused(self):
        self.server.put(recorded="01-24", waiting=True)
        self.instead(apply_dry=[{"fields": {}}, {"fails": ["not-written", 7]}])  # the first asks whether it waits
        self.assert_result(self.start(), failed=True, changed=False, verdict="not-written", before="01-23")


class Others(ModuleTest):
    def test_info(self):
        self.server.put(recorded="01-24", waiting=True)
        self.assert_result(self.module("bmc_firmware_info"), failed=False, changed=False, running_version="01-23",
                           recorded_version="01-24", needs_apply=True, server_type="kv6000", serial_number="S1",
                           prerequisites={"complete": True, "missing": "", "next_step": ""}, last_run={"run_id": "2"})

    def test_info_of_a_server_that_lacks_something(self):
        self.instead(identify={"fails": ["prerequisites-missing", 4], "fields": {"before": ""}})
        self.assert_result(self.module("bmc_firmware_info"), failed=False, running_version="",
                           prerequisites={"complete": False, "missing": "It is prerequisites-missing.", "next_step": "Try it again."})

    def test_info_of_a_bmc_that_does_not_answer(self):
        self.instead(identify={"fails": ["bmc-unreadable", 7]})
        self.assert_result(self.module("bmc_firmware_info"), failed=True, verdict="bmc-unreadable", changed=False)

    def test_the_report_becomes_facts(self):
        self.assert_result(self.module("bmc_report"), failed=False, changed=False, file="",
                           ansible_facts={"kv6000_report": {"product_name": "KV6000"}})
        self.assertEqual([path.name for path in self.folder.rglob("report.xml")], [])

    def test_the_report_is_kept_where_it_is_asked_for(self):
        kept = self.folder / "kept"
        kept.mkdir()
        self.module("bmc_report", check_mode=True, folder=str(kept))
        self.assertEqual(list(kept.iterdir()), [])
        self.assert_result(self.module("bmc_report", folder=str(kept)), failed=False, file=str(kept / "report.xml"))
        self.assertTrue((kept / "report.xml").exists())

    def test_notify_sends(self):
        self.assert_result(self.module("bmc_notify"), failed=False, changed=True, verdict="sent", operating_system="sent")

    def test_notify_sends_nothing_in_check_mode(self):
        self.assert_result(self.module("bmc_notify", check_mode=True), failed=False, changed=False, verdict="dry-run")
        self.assertEqual(self.server.calls, ["notify --dry-run"])


class Documented(unittest.TestCase):
    """What ansible-doc shows of the options is what the program takes."""

    def described(self, options: dict) -> dict:
        return {name: (what.get("type", "str"), what.get("required", False), what.get("default"), what.get("choices"))
                for name, what in options.items()}

    def test_the_options_of_the_modules(self):
        common = yaml.safe_load(load_module(COLLECTION / "plugins/doc_fragments/orvhost.py").ModuleDocFragment.DOCUMENTATION)
        for name in MODULES:
            with self.subTest(name), mock.patch.object(orvhost, "finish"):
                module = load_module(COLLECTION / "plugins" / "modules" / f"{name}.py")
                with mock.patch.object(module, "AnsibleModule") as made:
                    module.main()
                documented = yaml.safe_load(module.DOCUMENTATION).get("options", {})
                self.assertEqual(self.described(dict(common["options"], **documented)),
                                 self.described(made.call_args.kwargs["argument_spec"]))
                self.assertTrue(made.call_args.kwargs["supports_check_mode"])

    def test_the_verdicts_of_the_collection(self):
        """Each of them stands in the document for the night on which something goes wrong."""
        sources = "".join(path.read_text() for path in COLLECTION.glob("plugins/*/*.py"))
        verdicts = set(re.findall(r'(?:Refusal|refusal|stays_away)\(\s*"([a-z-]+)"|return "([a-z-]+)", "', sources))
        verdicts = {one or other for one, other in verdicts} | set(load_module(COLLECTION / "plugins/modules/bmc_firmware.py").NEXT_STEPS)
        self.assertGreater(len(verdicts), 12)
        text = (REPOSITORY / "docs/fleet.md").read_text()
        self.assertEqual([verdict for verdict in sorted(verdicts) if f"`{verdict}`" not in text], [])

    def test_the_variables_of_the_role(self):
        role = COLLECTION / "roles" / "bmc_update"
        defaults = yaml.safe_load((role / "defaults/main.yml").read_text())
        options = yaml.safe_load((role / "meta/argument_specs.yml").read_text())["argument_specs"]["main"]["options"]
        stated = {name: what["default"] for name, what in options.items() if "default" in what}
        worked_out = {"bmc_update_report_folder", "bmc_update_servers"}
        self.assertEqual(stated, {name: value for name, value in defaults.items() if name not in worked_out})


if __name__ == "__main__":
    unittest.main()

"""The collection as it is built and installed, and its playbook on servers that are folders: what it refuses, what stands
in the report, and that nothing which a server answers is taken for more than text."""

import json
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from browser import NOT_INSTALLED, Browser, faults_of
from fleet_support import COLLECTION, REPOSITORY, Played, write_package

SHOWN = REPOSITORY / "docs" / "fleet-report.html"  # KESTREL_RENEW_GOLDEN=1 makes it anew
SHOWN_SECONDS = ("8.2", "431.7", "402.5", "2.9")
FAILURE = {"cause": "The update failed after writing the firmware had begun.",
           "next_step": "Keep the machine powered and do not reboot it; run the same command again.",
           "evidence": {"command": "\"/opt/orv/KV6KBMC/Yafuflash\" -cd -preserve-config -silent \"kv6000.ima\"",
                        "error_output": ["Yafuflash: the BMC does not report its progress"]}}
HOSTILE = "<script>alert(1)</script> {{ 7 * 191 }} {% for x in [1] %}\u202e"


def run(*words, **environment) -> subprocess.CompletedProcess:
    return subprocess.run(list(map(str, words)), capture_output=True, text=True, check=False, stdin=subprocess.DEVNULL,
                          env=dict(os.environ, ANSIBLE_NOCOLOR="1", ANSIBLE_LOCALHOST_WARNING="0", **environment))


class Collection(unittest.TestCase):
    """Everything here goes by the installed collection, not by the one of the repository."""

    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="kestrel collection ")))
        cls.places = {"ANSIBLE_COLLECTIONS_PATH": str(cls.folder / "installed"), "ANSIBLE_HOME": str(cls.folder / "home")}
        built = run("ansible-galaxy", "collection", "build", COLLECTION, "--output-path", cls.folder, **cls.places)
        assert built.returncode == 0, built.stderr
        installed = run("ansible-galaxy", "collection", "install", "--offline", *cls.folder.glob("*.tar.gz"), **cls.places)
        assert installed.returncode == 0, installed.stderr
        cls.package = write_package(cls.folder / "p.zip", "01-24")

    def setUp(self):
        self.place = Path(tempfile.mkdtemp(dir=self.folder))
        self.gone = []  # names of servers at whose port nobody listens
        self.servers = {}
        self.add_servers("server1", "server2", "server3")

    def add_servers(self, *names: str):
        self.servers.update((name, Played(self.place / name, boots=0)) for name in names)

    def play(self, *options, **variables) -> subprocess.CompletedProcess:
        hosts = {name: dict({"bmc_update_orvhost": str(server.program),
                             "bmc_update_boot_id_command": f"grep -o 'boots[^,]*' '{server.folder}/state.json'"})
                 for name, server in self.servers.items()}
        for name in self.gone:
            hosts[name].update(ansible_connection="ssh", ansible_host="127.0.0.1", ansible_port=1)
        inventory = self.place / "inventory.json"
        inventory.write_text(json.dumps({"all": {"hosts": hosts, "vars": {
            "ansible_connection": "local", "ansible_python_interpreter": "/usr/bin/python3"}}}))
        given = dict({"bmc_update_package": str(self.package), "bmc_update_become": False, "bmc_update_serial": 1,
                      "bmc_update_report_folder": str(self.place / "report")}, **variables)
        return run("ansible-playbook", "-i", inventory, "kestrel.kv6000.rolling_update", "-e", json.dumps(given), *options,
                   ANSIBLE_PIPELINING="1", **self.places)

    def rows(self) -> dict:
        return {row["host"]: row for row in json.loads((self.place / "report/report.json").read_text())["servers"]}

    def verdicts(self) -> dict:
        return {name: row["verdict"] for name, row in self.rows().items()}

    def test_its_documentation_is_complete(self):
        for name in ("bmc_firmware", "bmc_firmware_info", "bmc_report", "bmc_notify"):
            shown = run("ansible-doc", "--json", f"kestrel.kv6000.{name}", **self.places)
            self.assertEqual((shown.returncode, shown.stderr), (0, ""))
            whole = json.loads(shown.stdout)[f"kestrel.kv6000.{name}"]
            self.assertIn("busy_time_limit", whole["doc"]["options"])
            self.assertIn("kestrel.kv6000." + name, whole["examples"])
            self.assertIn("verdict", whole["return"])

    def test_the_readme_has_every_variable_of_the_role_and_the_playbook(self):
        used = {name for path in [*COLLECTION.glob("roles/*/defaults/*.yml"), *COLLECTION.glob("playbooks/*.yml"),
                                  *COLLECTION.glob("roles/*/tasks/*.yml")]
                for name in re.findall(r"\bbmc_update_[a-z_]+", path.read_text())}
        inner = {"bmc_update_seen", "bmc_update_result", "bmc_update_servers", "bmc_update_refused", "bmc_update_first",
                 "bmc_update_boot_id_command"}
        stated = set(re.findall(r"(?m)^\| `(bmc_update_\w+)`", (COLLECTION / "README.md").read_text()))
        self.assertEqual(stated, used - inner)

    def test_a_failure_stops_the_run_and_a_second_one_finishes_it(self):
        self.servers["server2"].put(instead={"update": {
            "fails": ["update-failed", 8],
            "fields": {"flash_touched": True, "error": {"cause": HOSTILE, "next_step": "Again.", "evidence": {"command": HOSTILE}}}}})
        done = self.play()
        self.assertEqual(done.returncode, 2, done.stdout)
        self.assertEqual(self.verdicts(), {"server1": "verified", "server2": "update-failed", "server3": "not-started"})
        self.assertEqual(self.servers["server3"].calls, ["check", "update --dry-run"])
        row = self.rows()["server2"]
        self.assertEqual((row["cause"], row["evidence"]["command"], row["flash_touched"], row["next_step"]),
                         (HOSTILE + " Again.", HOSTILE, True, "Again."))
        page = (self.place / "report/report.html").read_text()
        self.assertNotIn("<script", page)
        self.assertIn("{{ 7 * 191 }}", page)
        self.assertIn("<h1>1 of 3 servers verified</h1>", page)
        self.servers["server2"].put(instead={})
        done = self.play()
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertEqual(set(self.verdicts().values()), {"verified"})
        self.assertEqual({name: row["changed"] for name, row in self.rows().items()},
                         {"server1": False, "server2": True, "server3": True})
        self.assertIn("server1                    : ok=", done.stdout)
        self.assertRegex(done.stdout, r"server1 +: ok=\d+ +changed=0 ")

    def test_a_batch_goes_its_way_to_the_end_and_no_other_is_begun(self):
        self.add_servers("server4", "server5", "server6")
        for name in ("server2", "server4"):
            self.servers[name].put(instead={"update": {"fails": ["update-failed", 8], "fields": {"flash_touched": True}}})
        done = self.play(bmc_update_serial=3)
        self.assertEqual(done.returncode, 2, done.stdout)
        self.assertEqual(self.verdicts(), {"server1": "verified", "server2": "update-failed", "server3": "verified",
                                           "server4": "update-failed", "server5": "not-started", "server6": "not-started"})
        for name in ("server5", "server6"):
            self.assertEqual(self.servers[name].calls, ["check", "update --dry-run"])

    def page_of_a_failure(self) -> Path:
        self.servers = {}
        self.add_servers("rack1-01", "rack1-02", "rack1-03", "rack1-04")
        self.servers["rack1-02"].put(instead={"update": {"fails": ["update-failed", 8],
                                                         "fields": {"flash_touched": True, "error": FAILURE}}})
        self.play(bmc_update_serial=2)
        return self.place / "report/report.html"

    def test_its_page_is_whole_and_fetches_nothing(self):
        page = self.page_of_a_failure()
        self.assertEqual(faults_of(page.read_text()), [])
        with self.subTest("as the documents show it"):
            seconds = iter(SHOWN_SECONDS)
            today = re.sub(r'(?<=class="number">)[\d.]+', lambda _: next(seconds), page.read_text())
            today = re.sub(r"\d{4}-\d\d-\d\dT[\d:]+Z", "2026-11-22T20:15:00Z", today)
            if os.environ.get("KESTREL_RENEW_GOLDEN"):
                SHOWN.write_text(today)
            self.assertEqual(today, SHOWN.read_text())
        with self.subTest("in a browser"):
            if NOT_INSTALLED:
                self.skipTest("not installed: chromium")
            browser = Browser(self.place / "browser")
            self.assertEqual(browser.console(page), [])
            browser.assert_drawn(self, page)

    def test_a_server_that_is_not_ready_fails_the_run_before_any_is_touched(self):
        self.servers["server3"].put(server_type="kv6000rt")
        done = self.play()
        self.assertEqual(done.returncode, 2, done.stdout)
        self.assertEqual(self.verdicts(), {"server1": "not-started", "server2": "not-started", "server3": "does-not-fit"})
        self.assertIn("No server was touched. Not ready: server3", done.stdout)
        for server in self.servers.values():
            self.assertFalse([call for call in server.calls if call not in ("check", "update --dry-run")])

    def test_a_server_that_cannot_be_reached_fails_the_run_before_any_is_touched(self):
        self.gone = ["server2"]
        done = self.play()
        self.assertEqual(done.returncode, 2, done.stdout)
        self.assertIn("No server was touched. Not ready: server2", done.stdout)
        self.assertEqual(self.verdicts(), {"server1": "not-started", "server2": "unreachable", "server3": "not-started"})
        self.assertEqual(self.servers["server1"].calls, ["check", "update --dry-run"])

    def test_servers_that_are_left_out_are_not_in_the_report(self):
        self.servers["server3"].put(instead={"update": {"fails": ["update-failed", 8]}})
        for expected in ("update-failed", "verified"):
            done = self.play("--limit", "server1,server3")
            self.assertEqual(self.verdicts(), {"server1": "verified", "server3": expected}, done.stdout)
            self.servers["server3"].put(instead={})
        self.assertEqual(self.servers["server2"].calls, [])

    def test_the_canary_is_the_one_that_is_chosen(self):
        done = self.play(bmc_update_canary="server3")
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertLess(done.stdout.index("changed: [server3]"), done.stdout.index("changed: [server1]"))

    def test_the_canary_is_the_first_of_those_that_are_not_left_out(self):
        done = self.play("--limit", "server2,server3", bmc_update_serial=10)
        self.assertEqual(done.returncode, 0, done.stdout)
        places = [done.stdout.find(text) for text in ("PLAY [Update the canary]", "changed: [server2]", "PLAY [Update the others]",
                                                      "changed: [server3]")]
        self.assertEqual(places, sorted(places), done.stdout)
        self.assertNotIn(-1, places)

    def test_a_canary_that_is_none_of_them_fails_the_run_before_any_is_asked(self):
        done = self.play("--limit", "server2,server3", bmc_update_canary="server1")
        self.assertEqual(done.returncode, 2, done.stdout)
        self.assertIn("The canary server1 is none of the servers of this run.", done.stdout)
        self.assertEqual([server.calls for server in self.servers.values()], [[], [], []])

    def test_a_package_that_is_not_there_fails_on_the_controller(self):
        done = self.play(bmc_update_package=str(self.folder / "none.zip"))
        self.assertEqual(done.returncode, 2, done.stdout)
        self.assertEqual(set(self.verdicts().values()), {"package-missing"})
        self.assertEqual(self.servers["server1"].calls, [])


if __name__ == "__main__":
    unittest.main()

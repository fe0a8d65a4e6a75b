"""What goes wrong on one of three servers, over SSH: it is named, the others are safe, and a second run finishes."""

import json
import unittest

from fleet_servers import FleetTest

# The machine halts without the flag that has the BMC power it on again.
STAYS_OFF = 'case "$*" in *"apply --yes"*) exec shutdown -h now ;; esac'


class Faults(FleetTest):
    """Each test brings the whole fleet to a version of its own, so that the next one finds something to do."""

    count = 3

    def setUp(self):
        for name in self.fleet.servers:
            self.put_program(name)

    def assert_untouched(self, **before):
        self.assertEqual({name: self.asked(name) for name in before}, before)

    def test_1_a_flash_that_fails(self):
        package = self.make_package("01-30")
        self.fleet.servers["server2"].plan_flash_exits([7, 7, 7])
        before = self.asked("server3")
        played = self.play(package=package)
        self.assert_played(played, 2, server1="verified", server2="update-failed", server3="not-started")
        self.assert_untouched(server3=before)
        self.assertTrue(played.rows["server2"]["flash_touched"])
        self.assertIn("Keep the machine powered", played.rows["server2"]["next_step"])
        self.assertIn("Yafuflash", played.page)
        self.fleet.servers["server2"].plan_flash_exits([])
        again = self.play(package=package)
        self.assert_played(again, 0, server1="verified", server2="verified", server3="verified")
        self.assertEqual(self.changed(again), {"server1": 0, "server2": 1, "server3": 1})
        self.assertEqual(self.running(), ["01-30"] * 3)

    def test_2_a_server_that_does_not_come_back(self):
        package = self.make_package("01-31")
        self.put_program("server2", STAYS_OFF)
        before = self.asked("server3")
        played = self.play(package=package, bmc_update_up_time_limit=20)
        self.assert_played(played, 2, server1="verified", server2="not-back", server3="not-started")
        self.assert_untouched(server3=before)
        self.assertIn("not back after 20 s", played.rows["server2"]["cause"])
        self.put_program("server2")
        self.fleet.servers["server2"].power_on()
        again = self.play(package=package)
        self.assert_played(again, 0, server1="verified", server2="verified", server3="verified")
        self.assertEqual(self.running(), ["01-31"] * 3)

    def test_3_a_server_that_is_not_ready(self):
        """Seen before the first is written: nothing listens, no orvhost, one of another schema, a banner."""
        package = self.make_package("01-32")
        before = {name: self.asked(name) for name in self.fleet.servers}
        cases = {"orvhost-missing": "server2", "orvhost-too-old": "server3", "output-not-alone": "server1"}
        self.put_program("server3", """echo '{"schema": 1}'; exit""")
        self.put_program("server1", "echo Welcome")
        (self.fleet.servers["server2"].share / "orvhost").unlink()
        played = self.play(package=package)
        self.assert_played(played, 2, **{name: verdict for verdict, name in cases.items()})
        self.assert_untouched(**before)
        self.setUp()
        server = self.fleet.servers["server3"]
        self.assertEqual(server.run("busybox killall dropbear").exit, 0)
        self.addCleanup(server.run, "dropbear -s -m -r /etc/dropbear/host_key")
        played = self.play(package=package)
        self.assert_played(played, 2, server1="not-started", server2="not-started", server3="unreachable")
        self.assert_untouched(**before)

    def test_4_a_package_for_another_model(self):
        before = {name: self.asked(name) for name in self.fleet.servers}
        packages = self.folder / "packages"
        right = f"{packages}/{self.make_package('01-33')}.zip"
        chosen = "{{ '%s/rt-good.zip' if inventory_hostname == 'server3' else '%s' }}" % (packages, right)
        played = self.play(bmc_update_package=chosen)
        self.assert_played(played, 2, server1="not-started", server2="not-started", server3="does-not-fit")
        self.assertIn("The package is made for kv6000rt, and this machine is kv6000.", played.rows["server3"]["cause"])
        self.assert_untouched(**before)

    def test_5_two_controllers_at_once(self):
        package = self.make_package("01-33")
        runs = [self.start_playbook("--limit", "server1", package=package) for _ in range(2)]
        played = [self.finished(run) for run in runs]
        final = self.play("--limit", "server1", package=package)
        self.assertEqual(final.exit, 0, final.out)
        self.assertEqual(final.recap["server1"]["changed"], 0, final.out)
        self.assertEqual(self.running()[0], "01-33")
        # One of them has written it; the other found it at work, written or done, or lost the machine that went down.
        verdicts = [run.rows["server1"]["verdict"] for run in played if run.rows]
        self.assertIn("verified", verdicts)
        history = json.loads(self.fleet.servers["server1"].run("orvhost history --json").out)["runs"]
        written = [run for run in history if run["command"] == "update" and run["after"] == "01-33"
                   and run["verdict"] == "updated"]
        self.assertEqual(len(written), 1, history)


if __name__ == "__main__":
    unittest.main()

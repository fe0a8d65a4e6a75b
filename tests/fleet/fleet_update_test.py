"""Two servers are updated over SSH: a look without touch, the update, and a second run that finds nothing to do."""

import unittest

from fleet_servers import FleetTest


class Update(FleetTest):
    def test_a_life(self):
        with self.subTest("check mode touches nothing"):
            before = [self.asked(name) for name in ("server1", "server2")]
            dry = self.play("--check", "--diff")
            self.assert_played(dry, 0, server1="not-started", server2="not-started")
            self.assertIn("+waiting: 01-24", dry.out)
            self.assertEqual([self.asked(name) for name in ("server1", "server2")], before)
        with self.subTest("canary, then the other"):
            played = self.play()
            self.assert_played(played, 0, server1="verified", server2="verified")
            self.assertEqual(self.running(), ["01-24", "01-24"])
            self.assertEqual(self.changed(played), {"server1": 1, "server2": 1})
            for row in played.rows.values():
                self.assertEqual((row["before"], row["after"], row["changed"]), ("01-23", "01-24", True))
                self.assertGreater(row["seconds"], 0)
            self.assertIn("<h1>2 of 2 servers verified</h1>", played.page)
            self.assertLess(played.out.index("PLAY [Update the canary]"), played.out.index("changed: [server1]"))
            self.assertLess(played.out.index("changed: [server1]"), played.out.index("changed: [server2]"))
        with self.subTest("a second run changes nothing"):
            before = [self.asked(name) for name in ("server1", "server2")]
            boots = [server.bmc("state")["boots"] for server in self.fleet.servers.values()]
            again = self.play()
            self.assert_played(again, 0, server1="verified", server2="verified")
            self.assertEqual(self.changed(again), {"server1": 0, "server2": 0})
            self.assertEqual([self.asked(name) for name in ("server1", "server2")], before)
            self.assertEqual([server.bmc("state")["boots"] for server in self.fleet.servers.values()], boots)


if __name__ == "__main__":
    unittest.main()

"""The settings of a virtual server: what is refused before anything starts."""

import dataclasses
import unittest
from pathlib import Path
from types import SimpleNamespace

from kv6000 import LabError, ServerSettings
from kv6000.boot import machine_command
from kv6000.fleet import fleet_settings
from kv6000.ssh_image import SshLogin

REFUSED = (({"tool": "hammer"}, "no tool 'hammer': take ipmitool, maker, both or none"),
           ({"firmware": "1.23"}, "'1.23' is not"), ({"firmware": "zz-23"}, "'zz-23' is not"),
           ({"firmware": "80-00"}, "'80-00' is not"), ({"install_path": "srv"}, "not absolute"),
           ({"overlay": "/nowhere"}, "/nowhere"), ({"lan": {"adress": "10.0.0.1"}}, "no network setting 'adress'"),
           ({"lan": {"address": "10.0.0.256"}}, "address '10.0.0.256' is not"),
           ({"lan": {"mac": "02:4b"}}, "'02:4b' is not a MAC"), ({"capability": 256}, "256 are not one byte"),
           ({"sdr": {"size": 3}}, "no SDR setting 'size'"), ({"sdr": {"records": 2001}}, "not 2001"),
           ({"sdr": {"records": 5, "version_record": 6}}, "Of 5 records none has the number 6"),
           ({"sdr": {"version": "x" * 109}}, "does not fit into a record"),
           ({"bare_tables": ("chassis",)}, "no DMI table 'chassis'"))


class TheSettingsOfAServer(unittest.TestCase):
    def test_fail_with_the_reason_when_no_server_can_be_so(self):
        for settings, reason in REFUSED:
            with self.subTest(settings), self.assertRaisesRegex(LabError, reason):
                ServerSettings(**settings)

    def test_keep_their_defaults_where_nothing_else_is_chosen(self):
        settings = ServerSettings(lan={"address": "10.0.0.1"}, sdr={"version": None, "records": 3})
        self.assertEqual((settings.tool, settings.firmware, settings.product), ("ipmitool", "01-23", "KV6000"))
        self.assertEqual((settings.bmc_lan()["address"], settings.bmc_lan()["gateway"]), ("0a 00 00 01", "c0 a8 0a 01"))
        records, unreadable = settings.sdr_repository()
        self.assertEqual((len(records), unreadable), (3, []))
        self.assertFalse(any(b"SDR Version" in record for record in records))

    def test_fail_to_be_changed_and_can_be_taken_over_into_others(self):
        settings = ServerSettings(tool="maker")
        with self.assertRaises(dataclasses.FrozenInstanceError):
            settings.tool = "none"
        self.assertEqual(dataclasses.replace(settings, firmware="01-24").tool, "maker")
        with self.assertRaisesRegex(LabError, "no tool 'hammer'"):
            dataclasses.replace(settings, tool="hammer")

    def test_of_a_fleet_are_given_to_its_servers_in_turn(self):
        chosen = fleet_settings(3, products=["KV6000", "KV6000RT"], firmwares=["01-23", "06-10"], tools=["both"],
                                install_path="/opt/orv")
        self.assertEqual([(one.product, one.firmware, one.tool, one.install_path, one.serial) for one in chosen],
                         [("KV6000", "01-23", "both", "/opt/orv", "KV6K000001"),
                          ("KV6000RT", "06-10", "both", "/opt/orv", "KV6KRT0000002A000"),
                          ("KV6000", "01-23", "both", "/opt/orv", "KV6K000003")])
        for one in (chosen[0], fleet_settings(200)[-1]):
            self.assertEqual(len(one.bmc_lan()["mac"].split()), 6)
        self.assertEqual(len({one.bmc_lan()["address"] for one in fleet_settings(200)}), 200)

    def test_without_a_login_give_a_machine_no_network_card(self):
        image = SimpleNamespace(kernel="vmlinux")
        folder = Path("/nowhere")
        login = SshLogin("server1", 20000, folder / "host_key", "ssh-ed25519 AAAA")
        plain = machine_command(folder, ServerSettings(), image, 1)
        reached = machine_command(folder, ServerSettings(login=login), image, 1)
        self.assertEqual(reached[:len(plain)], plain)
        self.assertEqual(reached[len(plain):],
                         ["-netdev", "user,id=net,restrict=on,hostfwd=tcp:127.0.0.1:20000-:22",
                          "-device", "virtio-net-pci,netdev=net,romfile="])


if __name__ == "__main__":
    unittest.main()

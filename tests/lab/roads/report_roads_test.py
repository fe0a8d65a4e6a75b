"""The device configuration report of a whole server: what it says, and that a report that cannot be written costs no
earlier one."""

import os
import subprocess
import unittest

from kv6000 import ServerSettings
from kv6000.hardware import dmi_dump
from road import GOLDEN, RENEW, SHORT_PAUSES, Road

NAME = "Kestrel_BmcConfigInfo.xml"
LAN = {"mac": "02:4b:45:53:0a:fe", "address": "10.20.30.240", "netmask": "255.255.252.0", "gateway": "10.20.28.1"}
FAILED = "MSGID_BMC_0018_F 26"
EXEC_END = "4 CBMC_KESTREL_Vendor::ExecOutputDeviceConfigInfo() [END]"
TCPIP_SHORT = "16 Failed to execute IPMI Command (Get Tcpip Info)"


class ReportRoad(Road):
    def setUp(self):
        super().setUp()
        self.folder = self.server.share / "reports"
        self.folder.mkdir(exist_ok=True)
        for entry in self.folder.iterdir():
            entry.unlink()
        self.file = self.folder / NAME

    def report(self, *words):
        return self.orvhost("report", "--out", "/share/reports", *words, pauses=SHORT_PAUSES)

    def assert_reported(self, run, **facts):
        self.assert_report(run, 0, command="report", verdict="reported", phase="report", changed=False,
                           flash_touched=False, error=None)
        self.assertEqual({name: run.report["facts"].get(name) for name in facts}, facts)
        self.assertEqual((run.records, run.err), ([], ""))
        self.assert_accepted(self.file)

    def assert_accepted(self, path):
        """xmllint takes the file for XML."""
        done = subprocess.run(["xmllint", "--noout", "--nonet", str(path)], capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))

    def assert_golden_report(self, name: str):
        """The file is the golden one byte for byte: every value of it was chosen with the server."""
        written = self.file.read_text(encoding="utf-8")
        if os.environ.get(RENEW) == "1":
            (GOLDEN / name).write_text(written, encoding="utf-8")
        self.assertEqual(written, (GOLDEN / name).read_text(encoding="utf-8"))
        self.assert_accepted(GOLDEN / name)

    def assert_failed(self, run, *lines, record=FAILED, verdict="report-failed"):
        self.assert_report(run, 7, command="report", verdict=verdict, phase="report", changed=False,
                           flash_touched=False)
        self.assertEqual(run.records, [record])
        self.assert_in_trace(run, *lines, f"R {record}", EXEC_END)

    def put_old_report(self) -> bytes:
        self.file.write_bytes(b"<data>an older report</data>\n")
        return self.file.read_bytes()

    def assert_old_report_stands(self, old: bytes):
        self.assertEqual([entry.name for entry in self.folder.iterdir()], [NAME])
        self.assertEqual(self.file.read_bytes(), old)


class AServer(ReportRoad):
    settings = ServerSettings(lan=LAN, serial="KV6K <1> & \"2\"", version="1.0 'b'", bios_version="V1.2.0")

    def test_the_report_says_what_server_and_bmc_are(self):
        done = self.report()
        self.assert_reported(done, file=f"/share/reports/{NAME}", product_name="KV6000", product_version="1.0 'b'",
                             serial_number="KV6K <1> & \"2\"", bmc_version="01-23", bios_version="V1.2.0")
        self.assert_golden_report("report_of_a_kv6000.xml")
        self.assertEqual([line for line in self.asked() if not line.startswith("3c 13")], [])

    def test_the_network_settings_are_the_bmcs_own_as_ipmitool_reads_them(self):
        self.put_old_report()
        facts = {"mac_address": LAN["mac"].upper(), "ip_address": LAN["address"], "netmask": LAN["netmask"],
                 "default_gate_way": LAN["gateway"], "dhcp": "Disabled"}
        self.assert_reported(self.report(), **facts)
        printed = self.server.run("/usr/bin/ipmitool lan print 1").out
        read = dict(map(str.strip, line.split(":", 1)) for line in printed.splitlines() if not line.startswith(" "))
        self.assertEqual({name: read.get(name) for name in
                          ("MAC Address", "IP Address", "Subnet Mask", "Default Gateway IP", "IP Address Source")},
                         {"MAC Address": LAN["mac"], "IP Address": LAN["address"], "Subnet Mask": LAN["netmask"],
                          "Default Gateway IP": LAN["gateway"], "IP Address Source": "Static Address"})
        self.addCleanup(self.server.bmc, "dhcp 00")
        self.server.bmc("dhcp 01")
        self.assert_reported(self.report(), **dict(facts, dhcp="Enabled"))

    def test_the_report_fails_at_a_tcpip_answer_of_13_bytes_and_the_old_file_survives(self):
        old = self.put_old_report()
        self.server.bmc("short 3c 13 14 always")
        done = self.report()
        self.assert_failed(done, TCPIP_SHORT, TCPIP_SHORT, TCPIP_SHORT.replace("16 ", "2 ", 1))
        data = [line for line in done.trace if "Response Data " in line]
        digits = "0a141ef0fffffc000a141c0100"
        self.assertEqual(data, [*2 * [f"16 Response Data [{digits}]"], f"2 Response Data  [{digits}]"])
        self.assert_old_report_stands(old)

    def test_the_run_fails_at_a_tcpip_answer_of_14_bytes_and_the_old_file_survives(self):
        old = self.put_old_report()
        self.server.bmc("short 3c 13 15 always")
        done = self.report()
        self.assertEqual((done.exit, done.report["exit_code"], done.report["command"]), (1, 1, "report"))
        self.assertEqual(done.report["error"]["cause"], "An unexpected error, which is a fault of this program or of the "
                                                        "plug-in, ended the run.")
        self.assertEqual(len(self.asked()), 1)
        self.assert_old_report_stands(old)

    def test_tcpip_answers_of_15_and_of_40_bytes_say_the_same(self):
        for order in ("clear", "long 3c 13 41"):
            with self.subTest(order):
                self.server.bmc(order)
                self.assert_reported(self.report(), ip_address=LAN["address"], dhcp="Disabled")

    def test_a_tcpip_answer_that_is_short_once_is_asked_for_again(self):
        self.server.bmc("short 3c 13 14 1")
        done = self.report()
        self.assert_reported(done, ip_address=LAN["address"])
        self.assertEqual(done.trace.count(TCPIP_SHORT), 1)

    def test_the_report_fails_at_once_at_a_dhcp_flag_of_02_and_the_old_file_survives(self):
        old = self.put_old_report()
        self.addCleanup(self.server.bmc, "dhcp 00")
        self.server.bmc("dhcp 02")
        self.assert_failed(self.report(), "2 DHCP [02]")
        self.assertEqual(len(self.asked()), 1)
        self.assert_old_report_stands(old)

    def test_the_report_fails_without_a_folder_before_the_plug_in_is_loaded(self):
        for folder, verdict in (("", "usage"), ("/share/missing", "folder-unusable"),
                                (f"/share/reports/{NAME}", "folder-unusable")):
            with self.subTest(folder):
                old = self.put_old_report()
                done = self.orvhost("report", f"--out={folder}")
                self.assert_report(done, 2, verdict=verdict, changed=False)
                self.assertEqual(done.trace, [])
                self.assert_old_report_stands(old)
        self.assertEqual(self.asked(), [])

    def test_the_report_fails_in_a_full_folder_which_keeps_its_old_one(self):
        self.assertEqual(self.server.run("mkdir -p /tmp/full && mount -t tmpfs -o size=64k tmpfs /tmp/full").exit, 0)
        self.addCleanup(self.server.run, "umount /tmp/full; rmdir /tmp/full")
        written = self.orvhost("report", "--out", "/tmp/full", pauses=SHORT_PAUSES)
        self.assert_report(written, 0, verdict="reported", error=None)
        self.assertEqual(self.server.run(f"echo '<data>an older report</data>' > /tmp/full/{NAME}").exit, 0)
        self.assertNotEqual(self.server.run("cat /dev/zero > /tmp/full/filler").exit, 0)
        done = self.orvhost("report", "--out", "/tmp/full", pauses=SHORT_PAUSES)
        self.assert_failed(done, record="MSGID_BMC_0018_F 27", verdict="report-not-written")
        self.assert_in_trace(done, "R MSGID_BMC_0018_F 27", f"2 Failed to write file [/tmp/full/{NAME}]", EXEC_END)
        self.assertEqual(self.server.run("ls /tmp/full").out.split(), [NAME, "filler"])
        self.assertEqual(self.server.run(f"cat /tmp/full/{NAME}").out, "<data>an older report</data>\n")


    # Other DMI tables on the same server: dmidecode reads those of the test.

    def replace_dmi(self, **tables):
        (self.server.share / "dmi.bin").write_bytes(dmi_dump(**tables))
        self.stand_in("/usr/sbin/dmidecode", 'exec /usr/sbin/dmidecode.real --from-dump /share/dmi.bin "$@"\n')

    def test_a_bios_and_a_system_without_a_version_are_reported_as_dmidecode_says_it(self):
        self.replace_dmi(bios={"vendor": b"KESTREL"}, system={"product": b"KV6000"})
        self.assert_reported(self.report(), product_version="Not Specified", serial_number="Not Specified",
                             bios_version="Not Specified")
        self.assert_golden_report("report_without_versions.xml")

    def test_the_report_fails_without_a_bios_table_and_the_old_file_survives(self):
        old = self.put_old_report()
        self.replace_dmi(system={"product": b"KV6000", "version": b"1.0", "serial": b"KV6K000001"})
        command = '/usr/sbin/dmidecode --type bios  | grep "Version"'
        done = self.report()
        self.assert_failed(done, *2 * [f"16 Failed to execute command [{command}]"],
                           f"2 Failed to execute command [{command}]",
                           "4 [LEAVE] int CBMC_KESTREL_Vendor::CreateVersionInfoNode(COrvXmlNode*)")
        self.assertEqual(done.trace.count(f"16 Failed to execute command [{command}]"), 2)
        self.assertEqual(self.asked(), [])
        self.assert_old_report_stands(old)

    def test_bytes_that_are_no_ascii_are_dots_because_dmidecode_prints_them_so(self):
        self.replace_dmi(bios={"version": b"V1 \xff\x80\x01"}, system={"product": b"KV6000", "version": b"caf\xe9",
                                                                       "serial": "KV6K-ß".encode()})
        self.assert_reported(self.report(), product_version="caf.", serial_number="KV6K-..",
                             bios_version="V1 ...")
        self.assert_golden_report("report_of_bytes_that_are_no_ascii.xml")

    def test_the_report_fails_at_a_value_that_cannot_stand_in_xml_and_the_old_file_survives(self):
        """The real dmidecode prints ASCII alone, so here another plays it."""
        self.stand_in("/usr/sbin/dmidecode", "cat /share/dmi.txt\n")
        played = self.server.share / "dmi.txt"
        properties = b"\tProduct Name: KV6000\n\tVersion: caf\xc3\xa9\n\tSerial Number: "
        with self.subTest("UTF-8 can"):
            played.write_bytes(properties + "KV6K-ß €\n".encode())
            self.assert_reported(self.report(), product_version="café", serial_number="KV6K-ß €")
            self.assert_golden_report("report_of_utf_8.xml")
        old = self.put_old_report()
        for serial in (b"KV6K-\xdf", b"KV6K-\x01", b"KV6K-\xed\xa0\x80"):
            with self.subTest(serial):
                played.write_bytes(properties + serial + b"\n")
                done = self.report()
                self.assert_failed(done, record="MSGID_BMC_0018_F 27", verdict="report-not-written")
                path = f"/share/reports/{NAME}"
                self.assert_in_trace(done, f"2 Not written, a name or a value cannot stand in XML: [{path}]",
                                     "R MSGID_BMC_0018_F 27", f"2 Failed to write file [{path}]", EXEC_END)
                self.assert_old_report_stands(old)


class ARackServer(ReportRoad):
    settings = ServerSettings(product="KV6000RT", serial="KV6KRT0000001A000", lan=LAN, sdr={"version": "0.10"})

    def test_the_report_states_the_sdr_version_and_no_network_settings(self):
        done = self.report()
        self.assert_reported(done, product_name="KV6000RT", bmc_version="01-23", sdr_version="0.10",
                             mac_address=None, ip_address=None)
        self.assert_golden_report("report_of_a_kv6000rt.xml")
        self.assertEqual(self.asked(), [])


class AServerWithoutProductNameAndVersion(ReportRoad):
    settings = ServerSettings(bare_tables=("system",))

    def test_the_report_fails_without_and_with_a_given_server_type_and_the_old_file_survives(self):
        old = self.put_old_report()
        done = self.report()
        self.assert_failed(done)
        self.assert_in_trace(done, f"R {FAILED}", "2 Failed to get Server Type", EXEC_END)
        done = self.report("--server-type", "kv6000")
        command = '/usr/sbin/dmidecode --type system | grep "Product Name"'
        self.assert_failed(done, *2 * [f"16 Failed to execute command [{command}]"],
                           f"2 Failed to execute command [{command}]",
                           "4 [LEAVE] int CBMC_KESTREL_Vendor::CreateGeneralInfoNode(COrvXmlNode*)")
        self.assertEqual(self.asked(), [])
        self.assert_old_report_stands(old)


if __name__ == "__main__":
    unittest.main()

"""One boot of a virtual server: what a host finds on it, its virtual media, and faults ordered for its BMC."""

import re
import unittest

from kv6000 import LabError, ServerSettings
from lab_support import (CHECK_CONNECT, CONNECT, DISCONNECT, FLASH, GET_CAPABILITY, MAKER_TOOL, SIGNATURE, TCPIP_INFO,
                         SharedServer, processes_of)


class AFreshlyBootedServer(SharedServer):
    settings = ServerSettings(tool="both", product="KV6000 R120", version="FR2.1", serial="A,B-0042",
                              bios_version="V5.0, R1", capability=0x02,
                              lan={"mac": "02:4B:45:53:0A:0b", "address": "10.1.2.3", "dhcp": True})

    def test_ipmitool_reads_firmware_01_23(self):
        self.assertEqual(self.raw(0x06, 0x01), (0, "20 01 01 23 02 9f 91 12 00 02 0f 00 00 00 00"))

    def test_the_makers_tool_gives_the_same_answer_after_four_words_of_its_second_line(self):
        done = self.server.run(f"echo 18 01 | {MAKER_TOOL}")
        self.assertEqual((done.exit, done.err), (0, ""))
        self.assertEqual(done.out.splitlines()[1].split()[4:],
                         "00 20 01 01 23 02 9f 91 12 00 02 0f 00 00 00 00".split())

    def test_the_makers_tool_prints_a_completion_code_and_ends_with_0(self):
        done = self.server.run(f"echo d0 5e 55 aa 01 | {MAKER_TOOL}")
        self.assertEqual((done.exit, done.out.splitlines()[1].split()[4:]), (0, ["d5"]))

    def test_the_makers_tool_fails_on_what_is_not_bytes(self):
        done = self.server.run(f"echo 18 xyz | {MAKER_TOOL}")
        self.assertEqual((done.exit, done.out), (2, ""))
        self.assertIn("'18 xyz'", done.err)

    def test_dmidecode_reads_the_product_that_was_asked_for(self):
        done = self.server.run("for name in product-name version serial-number manufacturer; do "
                               "/usr/sbin/dmidecode -s system-$name; done")
        self.assertEqual(done.out.splitlines(), ["KV6000 R120", "FR2.1", "A,B-0042", "KESTREL"])

    def test_dmidecode_reads_the_bios_version_that_was_asked_for(self):
        done = self.server.run('/usr/sbin/dmidecode --type bios  | grep "Version"')
        self.assertEqual(done.out, "\tVersion: V5.0, R1\n")

    def test_ipmitool_reads_the_network_settings_that_were_asked_for(self):
        done = self.server.run("ipmitool lan print 1")
        self.assertEqual(done.exit, 0, done.err)
        printed = dict(re.findall(r"^(\S.*?) +: (.*)$", done.out, re.MULTILINE))
        self.assertEqual([printed.get(name) for name in ("IP Address Source", "IP Address", "Subnet Mask", "MAC Address",
                                                         "Default Gateway IP")],
                         ["DHCP Address", "10.1.2.3", "255.255.255.0", "02:4b:45:53:0a:0b", "192.168.10.1"])

    def test_tcpip_info_says_the_same_in_15_bytes(self):
        self.assertEqual(self.raw(*TCPIP_INFO), (0, "0a 01 02 03 ff ff ff 00 c0 a8 0a 01 00 00 01"))

    def test_the_dhcp_flag_can_be_any_byte(self):
        self.server.bmc("dhcp 02")
        self.assertEqual(self.raw(*TCPIP_INFO)[1][-2:], "02")
        self.server.bmc("dhcp 01")
        self.assertEqual(self.raw(*TCPIP_INFO)[1][-2:], "01")

    def test_an_answer_can_be_of_any_length_with_both_tools(self):
        for length in (13, 14, 15, 40, 199):
            self.server.bmc(f"{'short' if length < 15 else 'long'} 3c 13 {1 + length} 2")
            self.assertEqual(len(self.raw(*TCPIP_INFO)[1].split()), length)
            done = self.server.run(f"echo f0 13 | {MAKER_TOOL}")
            self.assertEqual(len(done.out.splitlines()[1].split()), 4 + 1 + length)

    def test_the_capability_ends_with_the_support_flags(self):
        self.assertEqual(self.raw(*GET_CAPABILITY)[1].split(), ["00"] * 16 + ["02"])
        self.server.bmc("capability 03")
        self.assertEqual(self.raw(*GET_CAPABILITY)[1].split()[16], "03")
        self.server.bmc("capability 02")

    def test_a_file_that_is_written_in_pieces_is_in_the_bmc_byte_for_byte(self):
        record = bytes(range(40))
        self.assertEqual(self.lock_file(0x41), (0, ""))
        self.assertEqual(self.write_file(0x41, 0, record[:32]), (0, ""))
        self.assertEqual(self.write_file(0x41, 32, record[32:]), (0, ""))
        self.assertEqual(self.write_file(0x41, 0, SIGNATURE), (0, ""))
        self.assertIsNone(self.server.stored_file("41"))
        self.assertEqual(self.unlock_file(0x41), (0, ""))
        self.assertEqual(self.server.stored_file("41"), record)
        self.assertEqual(self.raw(0x34, 0x39, 2), (0, ""))
        self.assertEqual(self.server.bmc("files")["41"]["announced"], 1)

    def test_a_write_without_the_lock_fails_with_d5(self):
        self.assertEqual(self.write_file(0x40, 0, b"x")[0], 1)
        self.assertEqual(self.server.bmc("state")["commands"][-1], "3c 69 05 40 00 00 00 00 00 00 78 -> d5")

    def test_the_management_library_stands_where_the_host_looks_for_it(self):
        self.server.put_management_library(info="00ff")
        self.assertEqual(self.server.run("ls /srv/orv/MngSrv").out.split(),
                         ["liborv_MngSrv_OrvLib.answer", "liborv_MngSrv_OrvLib.so"])
        self.server.put_management_library(content=b"not a library\n")
        self.assertEqual(self.server.run("cat /srv/orv/MngSrv/*").out, "not a library\n")
        self.server.remove_management_library()
        self.assertEqual(self.server.run("ls /srv/orv/MngSrv").out, "")

    def test_a_management_library_that_cannot_exist_fails_to_be_made(self):
        for answer in ({"without": "Unload"}, {"info": "00\nff"}):
            with self.assertRaises(LabError):
                self.server.put_management_library(**answer)

    def test_the_console_is_writable(self):
        self.assertEqual(self.server.run("echo a line for the console >/dev/console").exit, 0)
        self.assertIn("a line for the console", (self.server.folder / "console.log").read_text())

    def test_a_command_gives_exit_code_output_and_errors(self):
        self.assertEqual(self.server.run("echo out; echo err >&2; exit 7"), (7, "out\n", "err\n"))

    def test_words_reach_a_program_unchanged(self):
        self.assertEqual(self.server.run(["printf", "%s|", "a b", "$HOME", "'"]).out, "a b|$HOME|'|")

    def test_a_command_that_never_ends_fails_and_shows_the_console(self):
        with self.assertRaisesRegex(LabError, r"(?s)No end of 'sleep 1000'.*console\.log ends with"):
            self.server.start_job("sleep 1000").wait(time_limit=0.5)

    def test_the_flash_utility_fails_with_other_options(self):
        for arguments in ("", "-cd -preserve-config -silent", "-silent -cd -preserve-config x", "-cd x y z"):
            done = self.server.run(f"/srv/orv/KV6KBMC/Yafuflash {arguments}")
            self.assertEqual((done.exit, done.out), (2, ""), arguments)
            self.assertIn("usage", done.err)

    def test_the_flash_utility_fails_on_an_image_that_it_cannot_read(self):
        done = self.server.run(FLASH + "/nowhere.ima")
        self.assertEqual(done.exit, 3)
        self.assertIn("/nowhere.ima", done.err)

    def test_the_flash_utility_ends_as_ordered_for_its_coming_runs(self):
        self.server.plan_flash_exits([5, 1])
        self.assertEqual([self.server.run(FLASH + "/nowhere.ima").exit for _ in range(3)], [5, 1, 3])

    def test_a_flash_that_hangs_goes_on_until_it_is_ended(self):
        self.server.plan_flash_exits(["hang"])
        done = self.server.run(f"timeout 2 {FLASH} /nowhere.ima")
        self.assertEqual(done.exit, 124)
        self.assertIn("waiting for ever", done.out)

    def test_a_disk_appears_with_connect_and_goes_with_disconnect(self):
        self.assertEqual(self.server.run("modprobe sg && lsmod | grep -e '^sg '").exit, 0)
        self.assertEqual(self.server.run("ls /dev | grep -c -e '^sg'").out, "0\n")
        self.assertEqual(self.raw(*CHECK_CONNECT), (0, "00"))
        self.assertEqual(self.raw(*CONNECT), (0, ""))
        self.server.wait_bmc("media", "connected")
        self.assertEqual(self.raw(*CHECK_CONNECT), (0, "01"))
        self.assertEqual(self.server.run("cat /sys/class/scsi_generic/*/device/model").out.strip(), "VirtualMedia")
        self.assertEqual(self.raw(*DISCONNECT), (0, ""))
        self.assertEqual(self.raw(*CHECK_CONNECT), (0, "00"))
        # The kernel needs a moment to notice the unplugging.
        self.assertEqual(self.server.run("timeout 10 sh -c 'while [ -e /dev/sg0 ]; do sleep 0.05; done'").exit, 0)

    def test_a_command_ordered_to_fail_twice_works_the_third_time(self):
        self.server.bmc("fail 34 8d C0 2")
        answers = [self.server.run("ipmitool raw 0x34 0x8d") for _ in range(3)]
        self.assertEqual([answer.exit for answer in answers], [1, 1, 0])
        self.assertIn("rsp=0xc0", answers[0].err)

    def test_a_command_ordered_to_fail_has_no_effect(self):
        self.server.bmc("fail 34 8c C0 1")
        self.assertEqual(self.raw(*CONNECT)[0], 1)
        self.assertEqual(self.server.bmc("state")["media"], "disconnected")

    def test_an_answer_ordered_short_lacks_its_data(self):
        self.server.bmc("short 34 8d 1 1")
        self.assertEqual(self.raw(*CHECK_CONNECT), (0, ""))
        self.assertEqual(self.raw(*CHECK_CONNECT), (0, "00"))

    def test_a_standard_command_can_be_cut_short_too(self):
        self.server.bmc("short 06 01 4 always")
        self.assertEqual(self.server.run(f"echo 18 01 | {MAKER_TOOL}").out.splitlines()[1].split()[4:],
                         "00 20 01 01".split())

    def test_a_silent_bmc_ends_in_the_kernel_drivers_own_completion_code(self):
        self.server.bmc("silent 34 8d 1")
        done = self.server.run(f"echo d0 8d | {MAKER_TOOL}")
        self.assertIn(done.out.splitlines()[1].split()[4], ("c3", "ff"))
        self.assertEqual(self.raw(*CHECK_CONNECT), (0, "00"))

    def test_the_state_lists_the_commands_seen(self):
        self.raw(0x34, 0x5f)
        self.assertEqual(self.server.bmc("state")["commands"][-1], "34 5f -> 00 00")

    def test_an_unknown_order_fails(self):
        for order in ("explode", "fail 34 8c", "fail 34 8c C0 two", "short 34 8d 0", "long 34 8d 201", "silent 35 8d",
                      "state now", "power-loss 100", "dhcp", "dhcp 100", "capability", "files 40", ""):
            with self.assertRaisesRegex(LabError, "refuses"):
                self.server.bmc(order)

    def test_its_processes_are_found_by_its_run_folder(self):
        self.assertEqual(len(processes_of(self.server.folder)), 3, processes_of(self.server.folder))


class AServerWithoutTools(SharedServer):
    settings = ServerSettings(tool="none", firmware="06-10", install_path="/srv/a folder",
                              bare_tables=("system", "bios"))

    def test_has_no_ipmi_tool(self):
        done = self.server.run(f"ls /usr/bin/ipmitool {MAKER_TOOL}")
        self.assertEqual((done.exit, done.out), (2, ""))

    def test_has_dmi_tables_without_a_product_and_without_a_version(self):
        done = self.server.run("/usr/sbin/dmidecode --type 0,1; ls /sys/class/dmi/id")
        self.assertIn("BIOS Information", done.out)
        self.assertIn("System Information", done.out)
        self.assertNotRegex(done.out, "(?i)product|[^_]version")

    def test_has_the_flash_utility_below_an_install_path_with_a_blank(self):
        self.assertEqual(self.server.run(["ls", "/srv/a folder/KV6KBMC"]).out, "Yafuflash\n")

    def test_runs_the_firmware_that_was_asked_for(self):
        self.assertEqual(self.server.bmc("state")["running"], "06-10")


if __name__ == "__main__":
    unittest.main()

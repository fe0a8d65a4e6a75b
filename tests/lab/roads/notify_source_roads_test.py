"""What becomes of the sources of a notification that are odd or bad: the release file, the host name and the management
library."""

import unittest

from lab_support import MAKER_TOOL
from notify_road import (DISK_RECORD, DISKS, END, FOR_GOOD, LIBRARY_LINES, OS, RECORDED, NotifyRoad, course, os_record)

LOAD = "failed at loading the management library"
ASK = "failed at asking the management library"
CHECK = "failed at checking what the management library gave"
LIBRARY = "INSTALL/MngSrv/liborv_MngSrv_OrvLib.so"
BEGINNING, ENDING = LIBRARY_LINES[:4], LIBRARY_LINES[6:10]
UNLOADED = ["4 CBMC_MngLib::Unload [START]", "4 CBMC_MngLib::Unload [END]"]
NO_OS_FILE = "not supported by this BMC (its capabilities are 02)"
NO_LIBRARY = ["2 Failed to createCBMC_MngLib. try catch error", "R MSGID_BMC_0023_F 28"]


class AServerWithOddSources(NotifyRoad):
    """But for one test the BMC takes the one file that the test is about."""

    # The names, in the host's file.

    def keep_names(self):
        """The BMC takes the host's file alone; after this test the names are the old ones."""
        self.offer(0x01)
        self.assertEqual(self.server.run("cp /etc/redhat-release /etc/before").exit, 0)
        self.addCleanup(self.server.run, "mv /etc/before /etc/redhat-release; hostname kv6000")

    def release(self, content: bytes):
        """What the release file holds from now on."""
        (self.server.share / "release").write_bytes(content)
        self.assertEqual(self.server.run("ln -sf /share/release /etc/redhat-release").exit, 0)

    def assert_sent(self, sent_name: str, name: str, host: str, **odd):
        """A notification stores these names; `name` is how the trace shows that of the operating system."""
        self.start_counting()
        done = self.notify()
        record = os_record(sent_name, host)
        self.assert_sender(done, 0, "partly-sent", "sent", "not supported by this BMC (its capabilities are 01)", **odd)
        self.assertEqual(self.asked(), [self.capability, *course(OS, record).requests, self.capability])
        self.assert_trace(done, course(OS, record).lines,
                          ["1 Send HDD Information not supported", END[DISKS]], name, host)
        self.assert_files(record, None)

    def test_names_of_7_and_5_characters_make_a_record_of_48_bytes_in_two_pieces(self):
        self.keep_names()
        self.release(b"Linux 7\n")
        self.assertEqual(self.server.run("hostname srv01").exit, 0)
        self.assert_sent("Linux 7", "Linux 7", "srv01")
        self.assertEqual([request for request in self.asked() if request.startswith("3c 69 ")],
                         ["3c 69 05 40 00 00 00 00 00 00 00 00 00 00 00 00 00 00 30 00 00 00 00 00 00 00 "
                          "03 4f 53 00 08 00 4c 69 6e 75 78 20 37 00 09 48 -> 00",
                          "3c 69 05 40 00 00 20 00 00 00 6f 73 74 6e 61 6d 65 00 06 00 73 72 76 30 31 00 -> 00",
                          "3c 69 05 40 00 00 00 00 00 00 51 54 4c 4d 50 -> 00"])

    def test_blanks_around_the_os_name_and_what_is_no_plain_character_are_left_out_and_tabs_are_sent(self):
        self.keep_names()
        self.release("  \tHörnchen\tLinux\x7f 7\t   \nsecond line\n".encode())
        self.assert_sent("\tHrnchen\tLinux\x7f 7\t", "\tHörnchen\tLinux\\x7f 7\t", "kv6000")
        with self.subTest("also where they are no UTF-8"):
            self.release(b"  H\xf6rnchen \xff\x807  \n")
            self.assert_sent("Hrnchen 7", "H\\xf6rnchen \\xff\\x807", "kv6000")

    def test_a_release_file_that_is_missing_or_empty_makes_an_os_name_of_no_character(self):
        self.keep_names()
        self.release(b"")
        self.assert_sent("", "", "kv6000")
        self.assertEqual(self.server.run("rm /etc/redhat-release").exit, 0)
        self.assert_sent("", "", "kv6000", err="cat: /etc/redhat-release: No such file or directory\n")

    def test_host_names_of_no_and_of_64_characters(self):
        """The kernel takes no longer one."""
        self.keep_names()
        for name in ("", "h" * 64):
            with self.subTest(len(name)):
                self.assertEqual(self.server.run(["hostname", name]).exit, 0)
                self.assert_sent(self.os_name, self.os_name, name)
        self.assertNotEqual(self.server.run(["hostname", "h" * 65]).exit, 0)

    def test_a_release_file_of_100_mb_without_a_line_end_makes_an_os_name_of_no_character(self):
        self.keep_names()
        self.release(100_000_000 * b"x")
        self.assert_sent("", "", "kv6000")

    # The management library, which gives the disk file.

    def assert_not_sent(self, disks: str, records: list, lines: list, answer: dict):
        self.offer(0x02)
        self.server.remove_management_library()
        if answer is not None:
            self.server.put_management_library(**answer)
        self.start_counting()
        done = self.notify()
        self.assert_sender(done, 7, "not-sent", NO_OS_FILE, disks, records)
        self.assertEqual(self.asked(), 2 * [self.capability])
        self.assertEqual(self.stated(done)[5:], lines)
        self.assert_files(None, None)

    def test_the_disk_file_fails_when_the_library_cannot_be_loaded(self):
        def failing(reason):
            return ["4 CBMC_MngLib::CBMC_MngLib [START]", "4 CBMC_MngLib::Load [START]",
                    f"2 Failed to load MngSrv_OrvLib Library({reason}", "4 CBMC_MngLib::Load [END]",
                    "2 CBMC_MngLib::CBMC_MngLib() Error End.", *UNLOADED, *NO_LIBRARY]

        for answer, reason in ((None, f"{LIBRARY}: cannot open shared object file: No such file or directory)."),
                               ({"content": b"no library\n"}, f"{LIBRARY}: file too short)."),
                               ({"without": "CreateLibIF"}, ") ."),
                               ({"without": "DeleteLibIF"}, ") ."),
                               ({"without": "CreateItemDisp"}, ") ."),
                               ({"without": "DeleteItemDisp"},
                                f"{LIBRARY}: undefined symbol: DeleteItemDisp) .")):
            with self.subTest(answer):
                self.assert_not_sent(LOAD, ["MSGID_BMC_0023_F 28"], failing(reason), answer)

    def test_the_disk_file_fails_when_the_library_makes_no_object(self):
        self.assert_not_sent(LOAD, ["MSGID_BMC_0023_F 28"],
                             [*BEGINNING[:-1], "2 Failed to initialize OrvLibIF.", *UNLOADED, *NO_LIBRARY],
                             {"null": True})

    def test_the_disk_file_fails_when_the_query_fails(self):
        record = DISK_RECORD.hex()
        says = " The disk information could not be gathered: the management library reports error {}."
        for answer, codes, stated, thrown in (
                ({"error": "02", "warning": "00"}, "ErrCode:[02] WrnCode:[00]",
                 "MSGID_BMC_0024_F" + says.format("02"), []),
                ({"error": "01", "warning": "01"}, "ErrCode:[01] WrnCode:[01]",
                 "MSGID_BMC_0025_F" + says.format("01"), []),
                ({"error": "7f", "warning": "02"}, "ErrCode:[7f] WrnCode:[02]", "MSGID_BMC_0026_F 28", []),
                ({"throws": "no controller"}, "ErrCode:[] WrnCode:[]", "MSGID_BMC_0026_F 28",
                 ["2 MngSrv_OrvLib API(GetHddInfoToSVP) threw an exception. no controller"])):
            with self.subTest(answer):
                lines = [*LIBRARY_LINES[:5], *thrown, LIBRARY_LINES[5], *ENDING, f"1 {codes}",
                         "2 GetHddInfoToSVP Error!", f"R {stated}"]
                self.assert_not_sent(ASK, [stated], lines, {"info": record, "fails": True, **answer})

    def test_the_disk_file_fails_at_an_odd_number_of_digits(self):
        digits = 65 * "a"
        self.assert_not_sent(CHECK, ["MSGID_BMC_0023_F 28"],
                             [*LIBRARY_LINES, f"2 Invalid send data [{digits}]", "R MSGID_BMC_0023_F 28"],
                             {"info": digits, "error": "00", "warning": "00"})

    def test_a_warning_or_an_error_code_beside_a_good_record_changes_nothing(self):
        self.offer(0x02)
        for error, warning in (("00", "01"), ("02", "")):
            with self.subTest(error=error, warning=warning):
                self.server.put_management_library(info=DISK_RECORD.hex(), error=error, warning=warning)
                self.start_counting()
                done = self.notify()
                self.assert_sender(done, 0, "partly-sent", NO_OS_FILE, "sent")
                self.assertEqual(self.stated(done)[5:], [*LIBRARY_LINES[:-1],
                                                         f"1 ErrCode:[{error}] WrnCode:[{warning}]",
                                                       END[DISKS]])
                self.assert_files(None, DISK_RECORD)

    def test_an_empty_record_is_a_signature_alone(self):
        self.offer(0x02)
        self.server.put_management_library(info="", error="00", warning="00")
        self.start_counting()
        self.assert_sender(self.notify(), 0, "partly-sent", NO_OS_FILE, "sent")
        self.assertEqual(self.asked(), [self.capability, self.capability, *course(DISKS, b"").requests])
        self.assert_files(None, b"")

    def test_the_disk_file_fails_at_pairs_that_are_no_digits_which_the_tool_refuses(self):
        self.offer(0x02)
        self.server.put_management_library(info="zz", error="00", warning="00")
        self.start_counting()
        done = self.notify()
        request = "f0 69 05 41 00 00 00 00 00 00 zz"
        self.assert_sender(done, 7, "not-sent", NO_OS_FILE, "failed at writing the file", ["MSGID_BMC_0021_F 29"],
                         err=FOR_GOOD * ("ipmicmd: expected one line of hexadecimal bytes, NetFn/LUN and Cmd first, "
                                         f"not '{request}'\n"))
        not_run = (f'2 Failed to execute command echo {request} | env -u LD_PRELOAD "{MAKER_TOOL}" > '
                   '"INSTALL/tmp/KV6KBMC/IPMIResult-THREAD" return 2')
        failed = "16 Failed to execute IPMI command(OEM Write Server Config File) CompletionCode:"
        self.assertEqual(self.stated(done)[5:], [*LIBRARY_LINES, *2 * [not_run, failed], not_run, RECORDED])
        lock, *_, unlock, _ = course(DISKS, b"").requests
        self.assertEqual(self.asked(), [self.capability, self.capability, lock, unlock])
        self.assert_files(None, None)

    def test_the_disk_file_alone_fails_without_a_library(self):
        self.server.remove_management_library()
        self.start_counting()
        done = self.notify()
        self.assert_sender(done, 7, "not-sent", "sent", LOAD, ["MSGID_BMC_0023_F 28"])
        self.assertEqual(self.asked(), [self.capability, *course(OS, self.os_record).requests, self.capability])
        self.assert_files(self.os_record, None)


if __name__ == "__main__":
    unittest.main()

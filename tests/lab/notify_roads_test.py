"""What the service processor is told about the host: from the release file, the host name and the management library to
the bytes that the BMC stores, on good and on bad days."""

import contextlib
import random
import unittest

from lab_support import CHECK_REBOOT_FLAG, MAKER_TOOL
from road import SHORT_PAUSES, Road

OS, DISKS = "40", "41"
DISK_RECORD = random.Random("disks").randbytes(40)
SIGNATURE = "51 54 4c 4d 50"
NOT_SENT = "R MSGID_BMC_0021_F 29"


def lock(file: str) -> str:
    return f"3c 6a 05 {file} 01 00 00 00 00 00"


def unlock(file: str) -> str:
    return f"3c 6b 05 {file} 00 00 00 00 00 00"


def writes(file: str, record: bytes) -> list:
    """The requests that bring a record into a file, piece by piece, and sign it."""
    pieces = [f"3c 69 05 {file} 00 00 {offset.to_bytes(4, 'little').hex(' ')} {record[offset:offset + 32].hex(' ')}"
              for offset in range(0, len(record), 32)]
    return [*pieces, f"3c 69 05 {file} 00 00 00 00 00 00 {SIGNATURE}"]


def transfer(file: str, record: bytes) -> list:
    """All requests of a transfer that goes well, with their answers."""
    event = {OS: "01", DISKS: "02"}[file]
    return [f"{request} -> 00" for request in [lock(file), *writes(file, record), unlock(file), f"34 39 {event}"]]


def os_record(name: str, host: str) -> bytes:
    """The record as the service processor reads it: a header, then names with their values."""
    def item(label, text):
        label, text = label.encode() + b"\0", text.encode() + b"\0"
        return bytes([len(label)]) + label + len(text).to_bytes(2, "little") + text

    body = item("OS", name) + item("Hostname", host)
    return bytes(8) + (16 + len(body)).to_bytes(4, "little") + bytes(4) + body


class AServerWithBothTools(Road):
    options = {"tool": "both"}

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        name = cls.server.run("head -n 1 /etc/redhat-release").out.strip()
        cls.os_record = os_record(name, cls.server.run("hostname").out.strip())

    def setUp(self):
        super().setUp()
        self.server.bmc("capability 03")
        for file in (OS, DISKS):
            if self.server.bmc("files")[file]["locked"]:
                self.unlock_file(int(file, 16))
        self.server.put_management_library(info=DISK_RECORD.hex(), error="00", warning="00")
        self.start_counting()

    def start_counting(self):
        """From here on requests() counts, and the files are as they were before. The request that marks the place is
        none of the plug-in's here; the place cannot be a number, since the BMC keeps its last 500 commands only."""
        self.assertEqual(self.raw(*CHECK_REBOOT_FLAG), (0, "00"))
        self._before = self.server.bmc("files")

    def notify(self):
        return self.orvhost("notify", pauses=SHORT_PAUSES)

    @contextlib.contextmanager
    def only_ipmitool(self):
        """ipmitool takes the place of the maker's tool."""
        self.assertEqual(self.server.run(f"mv {MAKER_TOOL} {MAKER_TOOL}.away").exit, 0)
        try:
            yield
        finally:
            self.assertEqual(self.server.run(f"mv {MAKER_TOOL}.away {MAKER_TOOL}").exit, 0)

    def requests(self) -> list:
        """What the plug-in asked for, but for the capability; the standard commands are the guest's own."""
        commands = self.server.bmc("state")["commands"]
        mark = max(index for index, command in enumerate(commands) if command.startswith("34 5f "))
        return [command for command in commands[mark + 1:]
                if command.startswith(("34 ", "36 ", "3c ")) and not command.startswith("3c 04 ")]

    def announced(self) -> tuple:
        """How often OS and disk file were announced since they were stored."""
        files = self.server.bmc("files")
        return files[OS]["announced"], files[DISKS]["announced"]

    def assert_told(self, run, exit_code, verdict, os, disks, records=()):
        self.assert_report(run, exit_code, command="notify", verdict=verdict, phase="send",
                           facts={"Operating system": os, "Disks": disks})
        self.assertEqual(run.records, list(records))

    def assert_files(self, os=None, disks=None):
        """The stored bytes, None for those of before, and that neither file is locked."""
        files = self.server.bmc("files")
        for file, record in ((OS, os), (DISKS, disks)):
            expected = self._before[file]["stored"] if record is None else record.hex()
            self.assertEqual((files[file]["stored"] or "").replace(" ", ""), (expected or "").replace(" ", ""), file)
            self.assertEqual(files[file]["locked"], False, file)

    def store(self, file: str, record: bytes):
        """Puts a record into a file as a host before this one did, so that what becomes of it can be seen."""
        number = int(file, 16)
        self.assertEqual(self.lock_file(number)[0], 0)
        for offset in range(0, len(record), 32):
            self.assertEqual(self.write_file(number, offset, record[offset:offset + 32])[0], 0)
        self.assertEqual(self.write_file(number, 0, bytes.fromhex(SIGNATURE))[0], 0)
        self.assertEqual(self.unlock_file(number)[0], 0)
        self.start_counting()

    # Good days.

    def assert_both_stored(self):
        self.store(OS, b"an older host")
        self.store(DISKS, b"its disks, which were more than this one has: " + bytes(40))
        done = self.notify()
        self.assert_told(done, 0, "sent", "sent", "sent")
        self.assertEqual(self.requests(), transfer(OS, self.os_record) + transfer(DISKS, DISK_RECORD))
        self.assert_files(self.os_record, DISK_RECORD)
        self.assertEqual(self.announced(), (1, 1))
        self.assertEqual(done.report["changed"], True)

    def test_the_bmc_stores_what_release_file_host_name_and_management_library_gave(self):
        self.assert_both_stored()
        self.assertEqual(self.server.stored_file(OS), self.os_record)
        self.assertEqual(self.server.stored_file(DISKS), DISK_RECORD)

    def test_ipmitool_brings_the_same_bytes(self):
        with self.only_ipmitool():
            self.assert_both_stored()

    def test_an_os_name_with_blanks_around_it_and_umlauts_in_it_is_sent_in_its_plain_characters(self):
        (self.server.share / "release").write_text("  Hörnchen\tLinux 7   \nsecond line\n")
        self.assertEqual(self.server.run("cp /etc/redhat-release /etc/before; cp /share/release /etc/redhat-release; "
                                         "hostname a-server").exit, 0)
        self.addCleanup(self.server.run, "mv /etc/before /etc/redhat-release; hostname kv6000")
        self.assert_told(self.notify(), 0, "sent", "sent", "sent")
        self.assert_files(os_record("Hrnchen\tLinux 7", "a-server"), DISK_RECORD)

    # What the BMC supports.

    def test_a_bmc_that_supports_one_file_gets_that_one(self):
        for flags, os, disks, requests in (
                ("01", "sent", "not supported by this BMC (its capabilities are 01)", transfer(OS, self.os_record)),
                ("0e", "not supported by this BMC (its capabilities are 0e)", "sent", transfer(DISKS, DISK_RECORD))):
            with self.subTest(flags):
                self.server.bmc(f"capability {flags}")
                self.start_counting()
                done = self.notify()
                self.assert_told(done, 0, "partly-sent", os, disks)
                self.assertEqual(self.requests(), requests)

    def test_a_bmc_without_the_capability_is_no_failure(self):
        silent = "it did not answer the question for its capabilities"
        short = "its answer is too short to tell its capabilities"
        for situation, order, reason, tool in (
                ("no flag is set", "capability 00", "its capabilities are 00", contextlib.nullcontext),
                ("the answer ends before the flags", "short 3c 04 17 always", short, contextlib.nullcontext),
                ("the command is unknown", "fail 3c 04 c1 always", silent, self.only_ipmitool)):
            with self.subTest(situation), tool():
                self.server.bmc("clear")
                self.server.bmc(order)
                done = self.notify()
                refused = f"not supported by this BMC ({reason})"
                self.assert_told(done, 0, "not-supported", refused, refused)
                self.assertEqual(done.report["changed"], False)
                self.assert_in_trace(done, "1 Send OS Information not supported",
                                     "1 Send HDD Information not supported")
                self.assertEqual(self.requests(), [])
        self.assert_files()

    # Bad days of the BMC.

    def test_a_lock_that_another_host_left_behind_is_taken_over(self):
        self.assertEqual(self.lock_file(0x40)[0], 0)
        self.assertEqual(self.write_file(0x40, 0, b"half a record")[0], 0)
        self.start_counting()
        self.assert_told(self.notify(), 0, "sent", "sent", "sent")
        self.assertEqual(self.requests(), [f"{lock(OS)} -> 01", *transfer(OS, self.os_record)[1:],
                                           *transfer(DISKS, DISK_RECORD)])
        self.assert_files(self.os_record, DISK_RECORD)

    def test_a_write_that_fails_twice_and_then_works(self):
        self.server.bmc("fail 3c 69 c0 2")
        done = self.notify()
        self.assert_told(done, 0, "sent", "sent", "sent")
        failed = "16 Failed to execute IPMI command(OEM Write Server Config File) CompletionCode:c0"
        self.assertEqual(done.trace.count(failed), 2)
        first = writes(OS, self.os_record)[0]
        self.assertEqual(self.requests(), [f"{lock(OS)} -> 00", *2 * [f"{first} -> c0"],
                                           *transfer(OS, self.os_record)[1:], *transfer(DISKS, DISK_RECORD)])
        self.assert_files(self.os_record, DISK_RECORD)

    def test_a_write_that_fails_three_times_leaves_the_file_unlocked_and_as_it_was(self):
        self.store(OS, b"an older host")
        self.server.bmc("fail 3c 69 c0 3")
        done = self.notify()
        self.assert_told(done, 7, "not-sent", "failed at writing the file", "sent", ["MSGID_BMC_0021_F 29"])
        text = "Failed to execute IPMI command(OEM Write Server Config File) CompletionCode:c0"
        told = [line for line in done.trace if text in line or line == NOT_SENT]
        self.assertEqual(sorted(told), sorted([f"16 {text}", f"16 {text}", f"2 {text}", NOT_SENT]))
        first = writes(OS, self.os_record)[0]
        self.assertEqual(self.requests(), [f"{lock(OS)} -> 00", *3 * [f"{first} -> c0"], f"{unlock(OS)} -> 00",
                                           *transfer(DISKS, DISK_RECORD)])
        self.assertEqual(self.server.stored_file(OS), b"an older host")
        self.assert_files(None, DISK_RECORD)
        self.assertEqual(self.announced(), (0, 1))

    def test_an_unlock_that_fails_leaves_the_file_to_the_next_run(self):
        self.server.bmc("fail 3c 6b c0 3")
        done = self.notify()
        self.assert_told(done, 7, "not-sent", "failed at unlocking the file", "sent", ["MSGID_BMC_0021_F 29"])
        text = "16 Failed to execute IPMI command(OEM UnLock Server Config File) CompletionCode:c0"
        self.assertEqual(done.trace.count(text), 2)
        self.assertEqual(self.requests(), [*transfer(OS, self.os_record)[:-2], *3 * [f"{unlock(OS)} -> c0"],
                                           *transfer(DISKS, DISK_RECORD)])
        self.assertEqual(self.server.bmc("files")[OS]["locked"], True)
        again = self.notify()
        self.assert_told(again, 0, "sent", "sent", "sent")
        self.assert_files(self.os_record, DISK_RECORD)

    def test_an_event_that_is_refused_leaves_the_file_stored_and_unlocked(self):
        self.server.bmc("fail 34 39 c0 3")
        done = self.notify()
        self.assert_told(done, 7, "not-sent", "failed at announcing the file", "sent", ["MSGID_BMC_0021_F 29"])
        self.assert_files(self.os_record, DISK_RECORD)
        self.assertEqual(self.announced(), (0, 1))

    def test_a_bmc_that_falls_silent_in_the_middle_is_asked_again(self):
        for tool in (contextlib.nullcontext, self.only_ipmitool):
            with self.subTest(tool.__name__), tool():
                self.server.bmc("silent 3c 69 1")
                done = self.notify()
                self.assert_told(done, 0, "sent", "sent", "sent")
                failed = "16 Failed to execute IPMI command(OEM Write Server Config File) CompletionCode:"
                self.assertEqual([line[:len(failed)] for line in done.trace].count(failed), 1)
                self.assert_files(self.os_record, DISK_RECORD)

    def test_a_bmc_that_is_silent_until_the_first_file_is_given_up_gets_the_second(self):
        self.server.bmc("silent 3c 6a 3")
        done = self.notify()
        self.assert_told(done, 7, "not-sent", "failed at locking the file", "sent", ["MSGID_BMC_0021_F 29"])
        self.assertEqual(self.requests()[-len(transfer(DISKS, DISK_RECORD)):], transfer(DISKS, DISK_RECORD))
        self.assertFalse([request for request in self.requests() if request.startswith((f"3c 69 05 {OS}", "34 39 01"))])
        self.assert_files(None, DISK_RECORD)

    # Bad days of the management library.

    def test_a_management_library_that_gives_nothing_costs_the_disk_file_alone(self):
        load, ask, check = ("failed at loading the management library", "failed at asking the management library",
                            "failed at checking what the management library gave")
        for situation, answer, disks, record in (
                ("it is missing", None, load, "MSGID_BMC_0023_F 28"),
                ("it is no library", {"content": b"no library\n"}, load, "MSGID_BMC_0023_F 28"),
                ("it lacks an entry point", {"without": "DeleteItemDisp"}, load, "MSGID_BMC_0023_F 28"),
                ("it makes no object", {"null": True}, load, "MSGID_BMC_0023_F 28"),
                ("it fails with 7f", {"fails": True, "error": "7f"}, ask, "MSGID_BMC_0026_F 28"),
                ("an odd number of digits", {"info": 65 * "a"}, check, "MSGID_BMC_0023_F 28")):
            with self.subTest(situation):
                self.start_counting()
                self.server.remove_management_library()
                if answer is not None:
                    self.server.put_management_library(**answer)
                done = self.notify()
                self.assert_told(done, 7, "not-sent", "sent", disks, [record])
                self.assertEqual(self.requests(), transfer(OS, self.os_record))
        self.assert_files(self.os_record, None)

    def test_an_empty_disk_record_is_a_signature_alone(self):
        self.server.put_management_library(info="", error="00", warning="00")
        self.assert_told(self.notify(), 0, "sent", "sent", "sent")
        self.assertEqual(self.requests(), transfer(OS, self.os_record) + transfer(DISKS, b""))
        self.assert_files(self.os_record, b"")


if __name__ == "__main__":
    unittest.main()

"""What the service processor learns about the host, from the first request to the bytes that the BMC stores, when the
BMC takes it and when it refuses a step."""

import contextlib
import unittest

from notify_road import (BEGIN, BEGIN_OF_ALL, DISK_RECORD, DISKS, END, FOR_GOOD, LIBRARY_LINES, OS, RECORDED,
                         NotifyRoad, course, ipmitool_complaint, steps)
from road import SHORT_PAUSES

OLD_HOST = b"an older host"
OLD_DISKS = b"its disks, which were more than this one has: " + bytes(40)


class AServerWithBothTools(NotifyRoad):
    def store_old_records(self):
        self.store(OS, OLD_HOST)
        self.store(DISKS, OLD_DISKS)

    def assert_sent(self, run):
        self.assert_sender(run, 0, "sent", "sent", "sent")
        self.assertEqual(run.report["changed"], True)
        self.assert_files(self.os_record, DISK_RECORD)
        self.assertEqual(self.announced(), (1, 1))

    def test_the_bmc_stores_what_release_file_host_name_and_management_library_gave(self):
        self.store_old_records()
        self.assert_sent(self.notify_with_failures({}, {}))
        self.assertEqual((self.server.stored_file(OS), self.server.stored_file(DISKS)), (self.os_record, DISK_RECORD))
        files = self.server.bmc("files")
        self.assertEqual(files[OS]["decoded"], {"OS": self.os_name, "Hostname": "kv6000"})
        self.assertNotIn("decoded", files[DISKS])

    # What the BMC supports.

    def test_a_bmc_that_supports_one_file_gets_that_one(self):
        os, disks = course(OS, self.os_record), course(DISKS, DISK_RECORD)
        with self.subTest("01: the host's"):
            self.offer(0x01)
            self.start_counting()
            done = self.notify()
            self.assert_sender(done, 0, "partly-sent", "sent", "not supported by this BMC (its capabilities are 01)")
            self.assertEqual(self.asked(), [self.capability, *os.requests, self.capability])
            self.assert_trace(done, os.lines, ["1 Send HDD Information not supported",
                                               END[DISKS]])
            self.assert_files(self.os_record, None)
        with self.subTest("0a: that of the disks"):
            self.offer(0x0a)
            self.start_counting()
            done = self.notify()
            self.assert_sender(done, 0, "partly-sent", "not supported by this BMC (its capabilities are 0a)", "sent")
            self.assertEqual(self.asked(), [self.capability, self.capability, *disks.requests])
            self.assertEqual(self.stated(done), [BEGIN_OF_ALL, BEGIN[OS], "1 Send OS Information not supported",
                                               "4 CBMC_KESTREL_Firmware::ExecSendOSInfo [END]",
                                               BEGIN[DISKS], *LIBRARY_LINES, *disks.lines])
            self.assert_files(None, DISK_RECORD)

    # The lines of a sender that its BMC refuses. ipmitool ends with an error; each attempt has a line, that of the disks
    # an end line too, but the last one.
    NO_OS = ["1 Send OS Information not supported", "4 CBMC_KESTREL_Firmware::ExecSendOSInfo [END]"]
    NO_DISKS = "1 Send HDD Information not supported"
    NOT_RUN = ('2 Failed to execute command "/usr/bin/ipmitool" raw 0x3c 0x04 > '
               '"INSTALL/tmp/KV6KBMC/IPMIResult-THREAD" return 1')
    ATTEMPT = [NOT_RUN, "16 Get Capability Failed"]
    NO_ANSWER_END = "4 CBMC_KESTREL_Firmware::ExecSendHddInfo [END]"
    ANSWERED = [BEGIN_OF_ALL, BEGIN[OS], *NO_OS, BEGIN[DISKS], NO_DISKS, END[DISKS]]
    UNANSWERED = [BEGIN_OF_ALL, BEGIN[OS], *3 * ATTEMPT, *NO_OS, BEGIN[DISKS], *2 * [*ATTEMPT, NO_ANSWER_END], NOT_RUN,
                  NO_DISKS, NO_ANSWER_END]

    def notify_in_vain(self, order: str, answer: str, exit_code: int, verdict: str, stated: str, err=""):
        """A notification to a BMC that gives this answer when it is asked for its capabilities: nothing is sent."""
        self.server.bmc("clear")
        self.server.bmc(order)
        self.start_counting()
        done = self.notify()
        times = 6 if err else 2
        self.assert_sender(done, exit_code, verdict, stated, stated, err=times * err)
        self.assertEqual(done.report["changed"], False)
        self.assertEqual(self.stated(done), self.UNANSWERED if err else self.ANSWERED)
        self.assertEqual(self.asked(), times * [f"3c 04 -> {answer}"])
        self.assert_files()

    def test_a_bmc_without_the_capability_is_no_failure(self):
        unknown = "it does not know the command that asks for its capabilities"
        for situation, order, answer, reason, tool, err in (
                ("no flag is set", "capability 00", f"{17 * '00 '}00", "its capabilities are 00",
                 contextlib.nullcontext, ""),
                ("the answer ends before the flags", "short 3c 04 17 always", f"{16 * '00 '}00",
                 "its answer is too short to state its capabilities", contextlib.nullcontext, ""),
                ("the command is unknown", "fail 3c 04 c1 always", "c1", unknown, contextlib.nullcontext, ""),
                ("the command is unknown to ipmitool's BMC", "fail 3c 04 c1 always", "c1", unknown, self.only_ipmitool,
                 ipmitool_complaint("4", "c1", "Invalid command"))):
            with self.subTest(situation), tool():
                self.notify_in_vain(order, answer, 0, "not-supported", f"not supported by this BMC ({reason})", err)

    def test_a_bmc_that_does_not_say_what_it_supports_is_a_failure(self):
        for tool, err in ((contextlib.nullcontext, ""),
                          (self.only_ipmitool, ipmitool_complaint("4", "c0", "Node busy"))):
            with self.subTest(err), tool():
                self.notify_in_vain("fail 3c 04 c0 always", "c0", 7, "not-sent",
                                    "failed at asking the BMC for its capabilities", err)

    # Bad days of the BMC.

    def test_every_step_that_fails_once_or_twice_is_tried_again(self):
        once_or_twice = {"lock": 1, "piece 0": 2, "piece 1": 1, "signature": 2, "unlock": 1, "event": 2}
        self.assert_sent(self.notify_with_failures(
            once_or_twice, {name: FOR_GOOD - count for name, count in once_or_twice.items()}))

    def test_a_step_that_fails_for_good_leaves_its_file_unlocked_and_as_it_was(self):
        for os, disks in (({"piece 0": FOR_GOOD}, {"signature": FOR_GOOD, "unlock": 2}),
                          ({"signature": FOR_GOOD, "unlock": 2}, {"lock": FOR_GOOD}),
                          ({"lock": FOR_GOOD}, {"piece 1": FOR_GOOD}),
                          ({"piece 1": FOR_GOOD}, {}),
                          ({}, {"piece 0": FOR_GOOD})):
            with self.subTest(os=os, disks=disks):
                self.store_old_records()
                self.notify_with_failures(os, disks)
                self.assert_files(None if os else self.os_record, None if disks else DISK_RECORD)
                self.assertEqual(self.announced(), (0 if os else 1, 0 if disks else 1))

    def test_an_event_that_is_refused_leaves_the_files_stored_and_unlocked(self):
        self.notify_with_failures({"event": FOR_GOOD}, {"event": FOR_GOOD})
        self.assert_files(self.os_record, DISK_RECORD)
        self.assertEqual(self.announced(), (0, 0))

    def test_an_unlock_that_fails_for_good_leaves_the_file_to_the_next_run(self):
        """Of the host's file the whole record stands in the BMC then, of that of the disks no signature."""
        self.store_old_records()
        self.notify_with_failures({"unlock": FOR_GOOD}, {"signature": FOR_GOOD, "unlock": FOR_GOOD})
        self.assert_files(None, None, locked=(OS, DISKS))
        self.start_counting()
        self.assert_sent(self.notify())
        self.assertEqual(self.asked(), [*self.taken_over(OS, self.os_record), *self.taken_over(DISKS, DISK_RECORD)])

    def taken_over(self, file: str, record: bytes) -> list:
        """The requests of a transfer that finds its file locked."""
        lock, *rest = course(file, record).requests
        return [self.capability, lock.replace("-> 00", "-> 01"), *rest]

    # Of a silent BMC the guest's driver says c3 after 4 s, which is real time.

    def test_ipmitool_brings_the_same_bytes_though_the_bmc_falls_silent_once(self):
        self.store_old_records()
        self.server.bmc(f"silent 3c 69 1 05 {OS}")
        with self.only_ipmitool():
            done = self.notify(pauses=SHORT_PAUSES)
        os, disks = course(OS, self.os_record, {"piece 0": 1}, code=""), course(DISKS, DISK_RECORD)
        self.assert_sender(done, 0, "sent", "sent", "sent", err=ipmitool_complaint("69", "c3", "Timeout"))
        lock, piece, *rest = os.requests
        self.assertEqual(self.asked(), [self.capability, lock, f"{piece}silence", *rest,
                                        self.capability, *disks.requests])
        written = " ".join(f"0x{byte}" for byte in steps(OS, self.os_record)[1].request.split())
        not_run = (f'2 Failed to execute command "/usr/bin/ipmitool" raw {written} > '
                   '"INSTALL/tmp/KV6KBMC/IPMIResult-THREAD" return 1')
        self.assert_trace(done, [not_run, *os.lines], LIBRARY_LINES + disks.lines)
        self.assert_files(self.os_record, DISK_RECORD)
        self.assertEqual(self.announced(), (1, 1))

    def test_a_bmc_that_is_silent_until_the_first_file_is_given_up_gets_the_second(self):
        self.store_old_records()
        self.server.bmc(f"silent 3c 69 3 05 {OS} 00 00 20")
        done = self.notify(pauses=SHORT_PAUSES)
        os, disks = course(OS, self.os_record, {"piece 1": FOR_GOOD}, code="c3"), course(DISKS, DISK_RECORD)
        self.assert_sender(done, 7, "not-sent", os.stated, "sent", [RECORDED.removeprefix("R ")])
        self.assertEqual(self.asked(), [self.capability, *(line.replace("-> c3", "-> silence") for line in os.requests),
                                        self.capability, *disks.requests])
        self.assert_trace(done, os.lines, LIBRARY_LINES + disks.lines)
        self.assert_files(None, DISK_RECORD)
        self.assertEqual(self.announced(), (0, 1))


if __name__ == "__main__":
    unittest.main()

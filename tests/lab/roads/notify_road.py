"""What the tests of the notification share: the requests of a transfer and their lines in the trace, worked out from
what the transfer is to be, and a server whose BMC is asked what it has got."""

import contextlib
import random
import re
from typing import NamedTuple

from kv6000 import ServerSettings
from lab_support import MAKER_TOOL, SIGNATURE
from road import Road

OS, DISKS = "40", "41"
EVENT = {OS: "01", DISKS: "02"}
DISK_RECORD = random.Random("disks").randbytes(40)
PIECE = 32
# Attempts of a step; a step that fails as often has failed for good.
FOR_GOOD = 3
# The pauses between the attempts last 0.2 s, and a request may take 7 s.
PAUSES = 0.02

BEGIN_OF_ALL = "4 CBMC_KESTREL_Firmware::SendInfoToSVP [START]"
RECORDED = "R MSGID_BMC_0021_F 29"
BEGIN = {OS: "4 CBMC_KESTREL_Firmware::ExecSendOSInfo [START]",
         DISKS: "4 CBMC_KESTREL_Firmware::ExecSendHddInfo [START]"}
END = {OS: "4 CBMC_KESTREL_Firmware::ExecSendInfoToSVP [END]", DISKS: "4 CBMC_KESTREL_Firmware::ExecSendHDDInfo [END]"}
# Of a trace these lines tell how the notification went; the others tell how requests were carried out.
TELLING = re.compile(r"(16|2|R) |4 .*(ExecSend|SendInfoToSVP \[|MngLib::)|1 (osname|hostname|ErrCode|Send )")


class Step(NamedTuple):
    name: str
    message: str  # as the trace names it
    failure: str  # as the operator reads it
    request: str


class Course(NamedTuple):
    """How one transfer goes: what the BMC is asked and answers, what the trace says, what the operator reads."""

    requests: list
    lines: list
    stated: str


def steps(file: str, record: bytes) -> list:
    """The requests of a transfer: lock, the record in pieces, signature, unlock, event."""
    pieces = [Step(f"piece {at // PIECE}", "Write Server Config File", "writing the file",
                   f"3c 69 05 {file} 00 00 {at.to_bytes(4, 'little').hex(' ')} {record[at:at + PIECE].hex(' ')}")
              for at in range(0, len(record), PIECE)]
    return [Step("lock", "Lock Server Config File", "locking the file", f"3c 6a 05 {file} 01 00 00 00 00 00"),
            *pieces,
            Step("signature", "Write Server Config File [Signature]", "writing the file's signature",
                 f"3c 69 05 {file} 00 00 00 00 00 00 {SIGNATURE.hex(' ')}"),
            Step("unlock", "UnLock Server Config File", "unlocking the file", f"3c 6b 05 {file} 00 00 00 00 00 00"),
            Step("event", "Notify ORV Event", "announcing the file", f"34 39 {EVENT[file]}")]


def course(file: str, record: bytes, failures=None, code="c0") -> Course:
    """How a transfer goes of which steps fail, `failures` times each (by name), with a completion code."""
    requests, lines = [], []

    def succeeds(step: Step) -> bool:
        failed = (failures or {}).get(step.name, 0)
        text = f"Failed to execute IPMI command(OEM {step.message}) CompletionCode:{code}"
        requests.extend(failed * [f"{step.request} -> {code}"])
        lines.extend(min(failed, FOR_GOOD - 1) * [f"16 {text}"])
        if failed < FOR_GOOD:
            requests.append(f"{step.request} -> 00")
            return True
        if file == OS and step.name != "unlock":
            lines.extend([f"2 {text}", END[OS]])
        return False

    *writing, unlock, event = steps(file, record)
    for step in (*writing, unlock, event):
        if not succeeds(step):
            lines.append(RECORDED)
            if step.name == "signature" or step.name.startswith("piece"):
                succeeds(unlock)
            return Course(requests, lines, f"failed at {step.failure}")
    return Course(requests, [*lines, END[file]], "sent")


def fault_order(step: Step, count: int) -> str:
    """The order to the lab's BMC that makes this one request fail."""
    netfn, command, *data = step.request.split()
    return f"fail {netfn} {command} c0 {count} {' '.join(data)}"


def ipmitool_complaint(command: str, code: str, reason: str) -> str:
    return f"Unable to send RAW command (channel=0x0 netfn=0x3c lun=0x0 cmd=0x{command} rsp=0x{code}): {reason}\n"


def os_record(name: str, host: str) -> bytes:
    """The record as the service processor reads it: a header, then names with their values."""
    def item(label, text):
        label, text = label.encode() + b"\0", text.encode() + b"\0"
        return bytes([len(label)]) + label + len(text).to_bytes(2, "little") + text

    body = item("OS", name) + item("Hostname", host)
    return bytes(8) + (16 + len(body)).to_bytes(4, "little") + bytes(4) + body


class NotifyRoad(Road):
    """A server with both tools and a management library that gives DISK_RECORD; the plug-in takes the maker's tool."""

    settings = ServerSettings(tool="both")

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.os_name = cls.server.run("head -n 1 /etc/redhat-release").out.strip()
        cls.os_record = os_record(cls.os_name, "kv6000")

    def setUp(self):
        super().setUp()
        self.offer(3)
        for file in (OS, DISKS):
            if self.server.bmc("files")[file]["locked"]:
                self.unlock_file(int(file, 16))
        self.server.put_management_library(info=DISK_RECORD.hex(), error="00", warning="00")
        self.start_counting()

    def offer(self, flags: int):
        """The support flags that the BMC tells from now on."""
        self.server.bmc(f"capability {flags:02x}")
        self.capability = f"3c 04 -> {17 * '00 '}{flags:02x}"

    def start_counting(self):
        """From here on asked() counts, and the files are as they were before."""
        super().start_counting()
        self._before = self.server.bmc("files")

    def notify(self, pauses=PAUSES):
        return self.orvhost("notify", pauses=pauses)

    def notify_with_failures(self, os: dict, disks: dict):
        """A notification during which these steps fail so often: what the operator, the BMC and the trace get is all
        that it must be. Returns the run."""
        courses = {OS: course(OS, self.os_record, os), DISKS: course(DISKS, DISK_RECORD, disks)}
        for file, record, failures in ((OS, self.os_record, os), (DISKS, DISK_RECORD, disks)):
            for step in steps(file, record):
                if step.name in failures:
                    self.server.bmc(fault_order(step, failures[step.name]))
        self.start_counting()
        done = self.notify()
        stated = [courses[file].stated for file in (OS, DISKS)]
        failed = 2 - stated.count("sent")
        self.assert_sender(done, 7 if failed else 0, "not-sent" if failed else "sent", *stated,
                         failed * ["MSGID_BMC_0021_F 29"])
        self.assertEqual(self.asked(), [self.capability, *courses[OS].requests,
                                        self.capability, *courses[DISKS].requests])
        self.assert_trace(done, courses[OS].lines, LIBRARY_LINES + courses[DISKS].lines)
        return done

    @contextlib.contextmanager
    def only_ipmitool(self):
        """ipmitool takes the place of the maker's tool."""
        self.assertEqual(self.server.run(f"mv {MAKER_TOOL} {MAKER_TOOL}.away").exit, 0)
        try:
            yield
        finally:
            self.assertEqual(self.server.run(f"mv {MAKER_TOOL}.away {MAKER_TOOL}").exit, 0)

    def store(self, file: str, record: bytes):
        """Puts a record into a file as a host before this one did, so that what becomes of it can be seen."""
        *transfer, _ = (step.request.split() for step in steps(file, record))
        # The maker's tool wants NetFn and LUN in the first byte.
        lines = [f"echo {int(netfn, 16) << 2:02x} {' '.join(rest)} | {MAKER_TOOL}" for netfn, *rest in transfer]
        self.server.run("\n".join(lines))
        self.assertEqual(self.server.stored_file(file), record)
        self.start_counting()

    # What must be true afterwards.

    def stated(self, run) -> list:
        return [line for line in run.trace if TELLING.match(line)]

    def assert_sender(self, run, exit_code, verdict, os, disks, records=(), err=""):
        """What the operator reads; `err` is what programs that the plug-in runs complain of, which is kept for later."""
        self.assert_report(run, exit_code, command="notify", verdict=verdict, phase="send",
                           facts={"operating_system": os, "disks": disks})
        self.assertEqual(run.records, list(records))
        self.assertEqual((self.complaints(run), run.err), (err, ""))

    def assert_trace(self, run, os: list, disks: list, name=None, host="kv6000"):
        """The telling lines of the trace are those of the two senders: between the beginning of each and its end stand
        `os` and `disks`, which hold the end lines."""
        names = [f"1 osname=[{self.os_name if name is None else name}]", f"1 hostname=[{host}]"]
        self.assertEqual(self.stated(run), [BEGIN_OF_ALL, BEGIN[OS], *names, *os, BEGIN[DISKS], *disks])

    def assert_files(self, os=None, disks=None, locked=()):
        """The stored bytes, None for those of before, and which files stay locked."""
        files = self.server.bmc("files")
        for file, record in ((OS, os), (DISKS, disks)):
            expected = self._before[file]["stored"] if record is None else record.hex(" ")
            self.assertEqual((file, files[file]["stored"], files[file]["locked"]), (file, expected, file in locked))

    def announced(self) -> tuple:
        """How often OS and disk file were announced since they were stored."""
        files = self.server.bmc("files")
        return files[OS]["announced"], files[DISKS]["announced"]


# What the trace tells of the library while it gives the record.
LIBRARY_LINES = [f"4 CBMC_MngLib::{operation} [{edge}]" for operation, edge in (
    ("CBMC_MngLib", "START"), ("Load", "START"), ("Load", "END"), ("CBMC_MngLib", "END"), ("GetHddInfoToSVP", "START"),
    ("GetHddInfoToSVP", "END"), ("~CBMC_MngLib", "START"), ("Unload", "START"), ("Unload", "END"),
    ("~CBMC_MngLib", "END"))] + ["1 ErrCode:[00] WrnCode:[00]"]

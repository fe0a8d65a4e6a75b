"""The simulation as a program: the same twice, sentences for bad input, oracles that see, documents that are current."""

import contextlib
import hashlib
import os
import re
import shutil
import signal
import struct
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]


def explore(*arguments: str) -> subprocess.CompletedProcess:
    return subprocess.run([os.environ["EXPLORE"], *arguments], capture_output=True, text=True, check=False)


class Replay(unittest.TestCase):
    def test_plays_the_same_bytes_twice(self):
        for text in ("life-ipmitool", "life-rack 300:kill", "update-ipmicmd 200:power", "notify-ipmitool 60:disk-full"):
            with self.subTest(text):
                first, second = explore("--replay", text), explore("--replay", text)
                self.assertIn(first.returncode, (0, 1), first.stdout)
                self.assertGreater(len(first.stdout.splitlines()), 50)
                self.assertEqual(hashlib.sha256(first.stdout.encode()).hexdigest(),
                                 hashlib.sha256(second.stdout.encode()).hexdigest())

    def test_takes_nothing_from_its_surroundings_and_leaves_them_alone(self):
        with tempfile.TemporaryDirectory() as folder:
            os.chmod(folder, 0o755)
            settings = {name: folder for name in ("ORVHOST_LAB_LOCK_FOLDER", "ORVHOST_LAB_CONFIGURATION",
                                                  "ORVHOST_INSTALL_PATH", "ORVHOST_RUN")}
            done = subprocess.run([os.environ["EXPLORE"], "--replay", "life-ipmitool"], capture_output=True, text=True,
                                  check=False, env=os.environ | settings)
            self.assertEqual(done.stdout, explore("--replay", "life-ipmitool").stdout)
            self.assertEqual(os.listdir(folder), [])
            self.assertEqual(os.stat(folder).st_mode & 0o777, 0o755)

    def test_shows_the_fault_and_what_the_operator_does_then(self):
        story = explore("--replay", "life-ipmitool 300:kill").stdout
        self.assertIn("<-- the tool is killed just before", story)
        self.assertRegex(story, r"The faults end in: killed, no exit code, flash touched\. What the operator does then: diagnose, .*verify\.\n\Z")

    def test_fails_in_a_sentence_for_what_is_not_there(self):
        for text, sentence in (("nowhere 1:busy", "There is no road"), ("life-rack 1:x", "There is no fault"),
                               ("life-rack busy", "is no fault"), ("life-ipmitool 99999:kill", "did not come"),
                               ("identify-ipmitool 20:kill 99999:power", "Event 99999 did not come"),
                               ("life-ipmitool 1:busy", "which \"busy\" cannot hit")):
            with self.subTest(text):
                done = explore("--replay", text)
                self.assertEqual(done.returncode, 2)
                self.assertEqual(len(done.stdout.splitlines()), 1, done.stdout)
                self.assertIn(sentence, done.stdout)

    def test_tells_of_an_event_that_another_fault_has_moved(self):
        done = explore("--replay", "identify-ipmitool 34:missing 62:busy")
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("With the faults before it: Event 62 is a write, which \"busy\" cannot hit.\n", done.stdout)
        self.assertNotIn("  62 request", done.stdout)

    def test_hits_the_steps_of_the_operator_too(self):
        """The power is lost while an apply is begun, and again while the next one puts the machine down."""
        story = explore("--replay", "update-ipmitool 300:power").stdout
        halt = re.search(r"(?m)^  (\d+) system shutdown -h now", story).group(1)
        done = explore("--replay", f"update-ipmitool 300:power {halt}:power")
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertEqual(re.findall(r"(?m)^(?:orvhost [a-z]+|  \d+ (?=.*<--)|The road|It is there)", done.stdout),
                         ["orvhost update", "The road", "orvhost apply", "  300 ", "orvhost diagnose", "orvhost apply",
                          f"  {halt} ", "orvhost diagnose", "orvhost update", "orvhost apply", "orvhost verify",
                          "It is there", "orvhost update"])
        self.assertTrue(done.stdout.endswith("The faults end in: power-lost, no exit code, flash touched. What the "
                                             "operator does then: diagnose, update, apply, verify.\n"), done.stdout)

    def test_ends_what_takes_longer_than_its_patience(self):
        """A road that takes a hundred times as long."""
        text = "identify-rack-300"
        for option in ("--replay", "--minimize"):
            with self.subTest(option):
                done = explore(option, text, "--patience", "1")
                self.assertEqual((done.returncode, done.stdout.splitlines()[-1]),
                                 (1, f"finding: bounds: the program hangs for real in {text}"))
        self.assertEqual(explore("--replay", text, "--patience", "0").returncode, 2)

    def test_waits_for_who_reads_it(self):
        with subprocess.Popen([os.environ["EXPLORE"], "--replay", "identify-rack-300", "--patience", "1000"], text=True,
                              stdout=subprocess.PIPE) as program:
            self.addCleanup(program.kill)
            time.sleep(2)
            out = program.communicate()[0]
        self.assertGreater(len(out), 65536, "more than the pipe holds")
        self.assertEqual((program.returncode, out), (0, explore("--replay", "identify-rack-300").stdout))

    def test_fails_where_it_may_open_too_few_files_and_where_its_output_is_lost(self):
        few = subprocess.run(["sh", "-c", 'ulimit -n 150; exec "$EXPLORE" --road identify-ipmitool'],
                             capture_output=True, text=True, check=False)
        self.assertEqual((few.returncode, few.stdout),
                         (2, "This process may have 150 open files and needs 258 (ulimit -n).\n"))
        with open("/dev/full", "w", encoding="ascii") as full:
            for words in (("--list",), ("--replay", "life-rack"), ("--road", "identify-ipmitool")):
                done = subprocess.run([os.environ["EXPLORE"], *words], stdout=full, check=False)
                self.assertEqual(done.returncode, 2, words)

    def test_fails_for_values_that_mean_nothing(self):
        for words, sentence in ((("--replay", ""), "--replay: the text is empty"),
                                (("--road", ""), "--road: the text is empty"),
                                (("--jobs", "0"), '--jobs: "0" is no number from 1 to 1000'),
                                (("--pairs", "-3"), '--pairs: "-3" is no number from 1 to 1000000000'),
                                (("--pairs", "3", "--seed", "-1"), '--seed: "-1" is no number from 0'),
                                (("--pairs", "3", "--seed", "1" * 21), "is no number from 0 to 18446744073709551615"),
                                (("--pairs", "3x"), '"3x" is no number'),
                                (("--every", "1000000"), "No road has 1000000 events."),
                                (("--matrix", "/nowhere"), "--matrix: Directory does not exist: /nowhere"),
                                (("--matrix", "/proc", "--every", "300"),
                                 "The matrix cannot be written: "),
                                (("--matrix", "/tmp", "--road", "check-rack"), "--road excludes --matrix"),
                                (("--replay", "life-rack", "--pairs", "3"), "--pairs excludes --replay")):
            with self.subTest(words):
                done = explore(*words)
                self.assertEqual(done.returncode, 2, done.stdout)
                self.assertIn(sentence, done.stdout + done.stderr)

    def test_fails_for_options_that_are_not_there(self):
        self.assertEqual(explore("--jump").returncode, 2)
        self.assertEqual(explore("--road", "nowhere").returncode, 2)


class Found(unittest.TestCase):
    """What was found in the tool, by the event at which it was."""

    def played(self, road: str, event: str, fault: str, which: int = 0) -> str:
        """The story of the road with the fault at an event whose text begins so, usually the first one."""
        numbers = re.findall(rf"(?m)^  (\d+) {re.escape(event)}", explore("--replay", road).stdout)
        self.assertTrue(numbers, f"{road} has no event {event}")
        done = explore("--replay", f"{road} {numbers[which]}:{fault}")
        self.assertEqual(done.returncode, 0, done.stdout)
        return done.stdout

    def test_the_update_marker_outlasts_a_loss_of_power_right_after_the_update(self):
        story = self.played("apply-ipmitool", "create /srv/orv/orvhost.lock", "power")
        self.assertIn("What the operator does then: diagnose, apply, verify.\n", story)

    def test_an_update_that_did_not_reach_the_disk_is_not_recorded(self):
        story = self.played("update-ipmitool", "sync all files", "sync-fails")
        self.assertIn("The faults end in: not-recorded, exit code 8, flash touched. "
                      "What the operator does then: update, apply, verify.\n", story)

    def test_an_apply_that_only_restarts_is_no_success(self):
        story = self.played("apply-ipmitool", "read /srv/orv/tmp/KV6KBMC/ExistUpdate.txt", "missing")
        self.assertIn("The faults end in: marker-missing, exit code 7, flash untouched. "
                      "What the operator does then: update, apply, verify.\n", story)

    def test_a_marker_that_cannot_be_deleted_leads_to_a_shutdown_by_hand(self):
        story = self.played("apply-ipmitool", "delete /srv/orv/tmp/KV6KBMC/ExistUpdate.txt", "delete-fails-for-good")
        self.assertIn("The faults end in: not-halted, exit code 7, flash untouched. "
                      "What the operator does then: shut down, verify.\n", story)

    def test_what_a_script_wrote_is_given_again_after_a_loss_of_power(self):
        story = self.played("apply-rack", "create /srv/orv/orvhost.lock", "power")
        self.assertIn("What the operator does then: diagnose, update, apply, verify.\n", story)

    def test_a_bmc_that_does_not_say_what_it_supports_is_sent_everything_later(self):
        for road in ("notify-ipmitool", "methods-send"):
            story = self.played(road, 'request "/usr/bin/ipmitool" raw 0x3c 0x04 ', "busy-for-good")
            self.assertRegex(story, "The faults end in: not-sent, exit code 7, flash untouched. "
                                    f"What the operator does then: {road.split('-')[0]}.\n\\Z")

    def test_versions_that_were_not_compared_are_not_the_same(self):
        story = self.played("check-ipmitool", "read /sys/class/dmi/id/product_name", "missing", -1)
        self.assertIn("The faults end in: server-type-unknown, exit code 4, flash untouched. "
                      "What the operator does then: check.\n", story)

    def test_a_version_of_another_kind_of_server_is_no_answer(self):
        story = self.played("identify-rack", "read /sys/class/dmi/id/product_name", "unreadable", -1)
        self.assertIn("The faults end in: server-type-unknown, exit code 4, flash untouched. "
                      "What the operator does then: identify.\n", story)

    def test_a_killed_tool_leaves_a_script_at_work_that_keeps_others_away(self):
        story = explore("--replay", "update-rack").stdout
        number = [int(n) for n in re.findall(r"(?m)^  (\d+) pause 1000 ms$", story)][-2]
        done = explore("--replay", f"update-rack {number}:kill")
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("exit 0, at-work", done.stdout)
        self.assertIn("What the operator does then: diagnose, update, apply, verify (asked 1 times more while something "
                      "was at work).\n", done.stdout)


class Fidelity(unittest.TestCase):
    def test_the_table_of_what_the_virtual_server_does_too_is_as_the_simulation_is_today(self):
        rows = re.findall(r"(?m)^\| `([\w-]+)` \| `(.+?)` \| ([\w-]+?)(?:, ([\w-]+))? \| (\w+) \| (\w+) "
                          r"\| the same \|$",
                          (REPOSITORY / "docs" / "fault-fidelity.md").read_text())
        self.assertGreaterEqual(len({fault for fault, *_ in rows}), 30)
        for fault, text, verdict, diagnosed, code, flash in rows:
            with self.subTest(text):
                self.assertTrue(text.endswith(":" + fault))
                story = explore("--replay", text).stdout
                end = "no exit code" if code == "none" else f"exit code {code}"
                self.assertIn(f"\nThe faults end in: {verdict}, {end}, flash {flash}. ", story)
                if diagnosed:
                    self.assertRegex(story, rf"(?m)^orvhost diagnose\n(?: .*\n)*?  exit 0, {diagnosed}$")


class Oracles(unittest.TestCase):
    def test_see_what_is_broken_for_them(self):
        done = explore("--prove")
        self.assertEqual(done.returncode, 0, done.stdout)
        seen = re.findall(r"(?m)^(\w+): .*: seen: \1: ", done.stdout)
        self.assertEqual(sorted(seen), 7 * ["bounds"] + ["files", "idempotence", "locks", "order", "recovery", "trace",
                                                            "truth", "truth"])


class Players(unittest.TestCase):
    """They end with the program, also those that answer no signal: each is stopped, as one that hangs."""

    def players_of(self, program: subprocess.Popen, state: str = "") -> list[int]:
        """Once there are some, and in that state; the program and they are stopped then."""
        end = time.monotonic() + 20
        while time.monotonic() < end:
            program.send_signal(signal.SIGSTOP)
            os.waitid(os.P_PID, program.pid, os.WSTOPPED)
            players = [int(pid) for pid in Path(f"/proc/{program.pid}/task/{program.pid}/children").read_text().split()]
            if players and all(f"State:\t{state}" in Path(f"/proc/{pid}/status").read_text() for pid in players):
                for player in players:
                    descriptor = os.pidfd_open(player)
                    self.addCleanup(os.close, descriptor)
                    self.addCleanup(self.send, descriptor, signal.SIGKILL)
                    self.send(descriptor, signal.SIGSTOP)
                return players
            program.send_signal(signal.SIGCONT)
            time.sleep(0.01)
        self.fail("no player was started")

    @staticmethod
    def send(descriptor: int, number: signal.Signals):
        with contextlib.suppress(ProcessLookupError):
            signal.pidfd_send_signal(descriptor, number)

    def ended(self, number: signal.Signals, *arguments: str, state: str = "") -> list[int]:
        """The players of a program that was ended by that signal."""
        with subprocess.Popen([os.environ["EXPLORE"], *arguments], stdout=subprocess.DEVNULL) as program:
            self.addCleanup(program.kill)
            players = self.players_of(program, state)
            program.send_signal(number)
            program.send_signal(signal.SIGCONT)
            self.assertEqual(program.wait(20), -number)
        return players

    def test_end_before_the_program_when_it_is_asked_to_end(self):
        for arguments in (("--pairs", "5000"), ("--every", "10"), ("--prove",)):
            for number in (signal.SIGTERM, signal.SIGINT):
                with self.subTest(arguments=arguments, number=number):
                    left = [player for player in self.ended(number, *arguments) if Path(f"/proc/{player}").exists()]
                    self.assertEqual(left, [])

    def test_that_were_stopped_with_the_program_did_not_hang(self):
        with subprocess.Popen([os.environ["EXPLORE"], "--pairs", "3000", "--patience", "1000"], text=True,
                              stdout=subprocess.PIPE) as program:
            self.addCleanup(program.kill)
            players = self.players_of(program)
            time.sleep(2)
            program.send_signal(signal.SIGCONT)
            for player in players:
                os.kill(player, signal.SIGCONT)
            out = program.communicate()[0]
        self.assertEqual(program.returncode, 0, out)

    def test_end_when_the_program_is_killed(self):
        """Here the one that hangs on purpose, which sleeps."""
        for player in self.ended(signal.SIGKILL, "--prove", state="S"):
            end = time.monotonic() + 5
            status = Path(f"/proc/{player}/status")
            with contextlib.suppress(FileNotFoundError, ProcessLookupError):
                while "State:\tZ" not in status.read_text():
                    self.assertLess(time.monotonic(), end, "a player is left")
                    time.sleep(0.01)


class Minimize(unittest.TestCase):
    """On what is known to stay: a loss of power when an apply has just ended."""

    def minimized(self, text: str) -> str:
        done = explore("--minimize", text)
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("\n  known, and stays: ", explore("--replay", done.stdout.strip()).stdout)
        return done.stdout.strip()

    def test_leaves_out_the_fault_that_the_finding_does_not_need(self):
        self.assertEqual(self.minimized("life-ipmitool 209:clock-back 384:power"), "life-ipmitool 384:power")

    def test_follows_the_events_that_the_other_fault_has_moved(self):
        moved, alone = "life-ipmitool 347:busy 398:power", "life-ipmitool 398:power"
        self.assertEqual(explore("--replay", alone).returncode, 0)
        self.assertRegex(self.minimized(moved), r"^life-ipmitool 38\d:power$")

    def test_fails_in_a_sentence_where_there_is_no_finding(self):
        done = explore("--minimize", "identify-ipmitool 20:kill")
        self.assertEqual((done.returncode, done.stdout), (2, "There is no finding in identify-ipmitool 20:kill.\n"))


@unittest.skipIf(shutil.which("chromium") is None, "not installed: chromium")
class Page(unittest.TestCase):
    page = REPOSITORY / "docs" / "fault-matrix.html"
    widths = (1200, 500)  # the browser makes no window narrower than that

    def chromium(self, folder: str, *options: str, page: Path = page) -> subprocess.CompletedProcess:
        return subprocess.run(["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars",
                               "--enable-logging=stderr", f"--user-data-dir={folder}/browser", *options, page.as_uri()],
                              capture_output=True, text=True, check=True, timeout=300)

    def test_a_browser_reads_all_of_it_without_a_word(self):
        with tempfile.TemporaryDirectory() as folder:
            done = self.chromium(folder, "--dump-dom")
        self.assertNotIn("CONSOLE", done.stderr)
        written = self.page.read_text()
        for element in ("table", "tr", "th", "td"):
            self.assertEqual(len(re.findall(rf"<{element}\b", done.stdout)), len(re.findall(rf"<{element}\b", written)))

    def test_it_is_drawn_at_two_widths_and_not_blank(self):
        with tempfile.TemporaryDirectory() as folder:
            for width in self.widths:
                picture = Path(folder, f"{width}.png")
                self.chromium(folder, f"--window-size={width},1000", f"--screenshot={picture}")
                png = picture.read_bytes()
                self.assertEqual(struct.unpack(">II", png[16:24]), (width, 1000))
                self.assertGreater(len(png), 20000, "hardly anything is drawn")

    def test_only_its_tables_are_wider_than_the_window(self):
        measure = '''<script>document.body.innerHTML = [
            document.documentElement.scrollWidth, innerWidth,
            Math.max(...[...document.querySelectorAll(".t")].map(t => t.getBoundingClientRect().right))].join(" ")</script>'''
        with tempfile.TemporaryDirectory() as folder:
            measured = Path(folder, "measured.html")
            measured.write_text(self.page.read_text() + measure)
            for width in self.widths:
                done = self.chromium(folder, f"--window-size={width},1000", "--dump-dom", page=measured)
                numbers = re.search(r"<body>(\d+) (\d+) ([\d.]+)", done.stdout)
                whole, window, tables = (float(number) for number in numbers.groups())
                self.assertEqual(window, width)
                self.assertLessEqual(max(whole, tables), width)


class Survey(unittest.TestCase):
    def test_finds_nothing_new_at_any_event_and_makes_the_matrix_that_is_in_docs(self):
        with tempfile.TemporaryDirectory() as folder:
            done = explore("--matrix", folder, "--jobs", str(os.cpu_count()))
            self.assertEqual(done.returncode, 0, done.stdout)
            self.assertRegex(done.stdout, r"(?m)^\d{5,} scenarios on 31 roads, 0 findings open, ")
            for name in ("fault-matrix.md", "fault-matrix.html"):
                made, kept = Path(folder, name).read_bytes(), (REPOSITORY / "docs" / name).read_bytes()
                self.assertTrue(made == kept, f"docs/{name} is not current: ./dev explore --matrix docs")
            for verdict in ("not-halted", "marker-missing", "updated-after-time-out"):
                self.assertRegex(Path(folder, "fault-matrix.md").read_text(), rf"(?m)^\| .* \| `{verdict}` \| [1-9]")

    def test_plays_pairs_that_mostly_come_and_takes_hardly_more_memory_the_longer_it_does(self):
        told = explore("--pairs", "3000", "--jobs", str(os.cpu_count())).stdout
        moved = re.search(r"(?m)^3000 scenarios on 31 roads, 0 findings open, .* (\d+) faults whose event did not", told)
        self.assertLess(int(moved.group(1)), 3000 / 4, told)
        first, last = (int(size) for size in re.findall(r"(?m)^memory after \d+ scenarios: (\d+) MB at most$", told))
        self.assertLess(last, 1.5 * first)

    def test_counts_whole_lives(self):
        done = explore("--lives", "3")
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertRegex(done.stdout, r"^\d+ whole lives a second in one process, \d+ a second of its core\n$")

    def test_has_the_same_checksum_for_the_same_seed(self):
        sums = []
        for seed in ("7", "7", "8"):
            told = explore("--pairs", "300", "--seed", seed).stdout
            self.assertRegex(told, r"(?m)^300 scenarios on 31 roads, 0 findings open, ")
            self.assertRegex(told, r"(?m)^memory after 300 scenarios: \d+ MB at most$")
            sums += re.findall(r"(?m)^checksum ([0-9a-f]{8})$", told)
        self.assertEqual(len(sums), 3)
        self.assertEqual(sums[0], sums[1])
        self.assertNotEqual(sums[0], sums[2])


if __name__ == "__main__":
    unittest.main()

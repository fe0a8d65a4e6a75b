"""A fleet of two servers, started as the documents say and reached as an operator does: over SSH and by Ansible."""

import json
import os
import re
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

import commands
import product
from kv6000 import bmc
from kv6000.paths import LAB, REPOSITORY
from lab_support import processes_of, wait_until

LINES = commands.commands_for(commands.FLEET)
START = next(line for line in LINES if line.startswith("lab/lab fleet"))
DOCUMENTED = "/tmp/fleet"
UP = re.compile(r"(server\d+) is up: .*, SSH port (\d+), run folder (\S+)")


class AFleet(unittest.TestCase):
    """Two servers are enough: of the documented three the third is the first again."""

    @classmethod
    def setUpClass(cls):
        cls.parent = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="lab-test-")))
        overlay = product.install(cls.parent / "overlay")
        cls.folder = cls.parent / "fleet"
        line = START.replace("fleet 3", "fleet 2").replace(DOCUMENTED, str(cls.folder))
        cls.client = subprocess.Popen(["bash", "-c", f'exec {line} "$@"', "bash", "--overlay", overlay], cwd=REPOSITORY,
                                      stdin=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                      env=dict(os.environ, TMPDIR=str(cls.parent)))
        cls.addClassCleanup(cls.end)
        cls.ports, cls.runs, said = {}, {}, []
        for line in cls.client.stderr:
            said.append(line)
            if up := UP.search(line):
                cls.ports[up.group(1)], cls.runs[up.group(1)] = int(up.group(2)), Path(up.group(3))
            if "a shell:" in line:
                break
        else:
            raise AssertionError("The fleet did not start:\n" + "".join(said))

    @classmethod
    def end(cls):
        cls.client.stdin.close()
        cls.client.wait(60)
        cls.client.stderr.close()

    def ssh(self, name: str, command: str) -> subprocess.CompletedProcess:
        return subprocess.run(["ssh", "-F", self.folder / "ssh_config", name, command], capture_output=True, text=True,
                              timeout=60, check=False)

    def identify(self, name: str) -> dict:
        done = self.ssh(name, "orvhost identify --json")
        return dict(json.loads(done.stdout), exit=done.returncode)

    def test_each_server_answers_as_itself(self):
        self.assertEqual(sorted(self.runs), ["server1", "server2"])
        for name, firmware, serial in (("server1", "01-23", "KV6K000001"),
                                       ("server2", "BMC:01-10,SDR:A1", "KV6KRT0000002A000")):
            with self.subTest(name):
                self.assertEqual(self.ssh(name, "hostname").stdout, name + "\n")
                self.assertEqual(self.ssh(name, "dmidecode -s system-serial-number").stdout, serial + "\n")
                identified = self.identify(name)
                self.assertEqual((identified["exit"], identified["before"]), (0, firmware), identified)
        self.assertEqual([self.ssh(name, "ls /opt/kestrel").returncode for name in sorted(self.runs)], [2, 0])

    def test_a_fault_that_is_ordered_for_one_fails_there_alone(self):
        def order(words: str) -> subprocess.CompletedProcess:
            return subprocess.run([LAB / "lab", "bmc", "--server", *words.split()], capture_output=True, text=True,
                                  env=dict(os.environ, TMPDIR=str(self.parent)), check=False)

        self.assertEqual(order("server1 fail 06 01 C0 always").stdout, "ok\n")
        try:
            self.assertNotEqual(self.identify("server1")["exit"], 0)
            self.assertEqual(self.identify("server2")["exit"], 0)
        finally:
            order("server1 clear")
        unknown = order("server9 state")
        self.assertEqual((unknown.returncode, unknown.stdout), (1, ""))
        self.assertIn("No server 'server9' is running.", unknown.stderr)

    def test_ansible_finds_all_of_them_in_their_groups(self):
        listed = subprocess.run(["ansible-inventory", "-i", self.folder / "inventory.yml", "--list"],
                                capture_output=True, text=True, check=True).stdout
        groups = json.loads(listed)
        self.assertEqual((groups["kv6000"]["hosts"], groups["kv6000rt"]["hosts"]), (["server1"], ["server2"]))
        facts = groups["_meta"]["hostvars"]
        self.assertEqual({name: facts[name]["ansible_port"] for name in facts}, self.ports)

    def test_a_server_keeps_port_and_key_through_a_power_cycle(self):
        before = self.ssh("server2", "cat /proc/sys/kernel/random/boot_id").stdout
        self.ssh("server2", "shutdown -r now")
        wait_until(lambda: self.ssh("server2", "cat /proc/sys/kernel/random/boot_id").stdout not in ("", before),
                   "server2 is back", 120)
        self.assertEqual(self.identify("server2")["exit"], 0)

    def test_a_login_without_the_key_fails(self):
        done = subprocess.run(["ssh", "-F", "none", "-p", str(self.ports["server1"]), "-o", "BatchMode=yes",
                               "-o", f"UserKnownHostsFile={self.folder}/known_hosts", "-o", "IdentitiesOnly=yes",
                               "-o", "IdentityFile=/nowhere", "root@127.0.0.1", "true"],
                              capture_output=True, text=True, timeout=60, check=False)
        self.assertEqual(done.returncode, 255)
        self.assertIn("Permission denied (publickey)", done.stderr)

    def test_a_server_that_is_not_the_one_of_the_list_fails_to_be_reached(self):
        other = self.parent / "known_hosts"
        first, second = (self.ports[name] for name in ("server1", "server2"))
        other.write_text((self.folder / "known_hosts").read_text().replace(f":{first} ", ":1 ")
                         .replace(f":{second} ", f":{first} "))
        done = subprocess.run(["ssh", "-F", self.folder / "ssh_config", "-o", f"UserKnownHostsFile={other}", "server1",
                               "true"], capture_output=True, text=True, timeout=60, check=False)
        self.assertEqual(done.returncode, 255)
        self.assertIn("Host key verification failed", done.stderr)

    def test_a_server_fails_to_reach_the_machine_that_it_runs_on(self):
        with socket.socket() as listener:
            listener.bind(("0.0.0.0", 0))
            listener.listen()
            listener.settimeout(0.1)
            done = self.ssh("server1", f"timeout 10 busybox nc -w 3 10.0.2.2 {listener.getsockname()[1]} </dev/null")
            self.assertNotEqual(done.returncode, 0)
            with self.assertRaises(TimeoutError):
                listener.accept()

    def test_their_ports_are_those_of_127_0_0_1_alone(self):
        listening = [line.split()[1] for line in Path("/proc/net/tcp").read_text().splitlines()[1:]
                     if line.split()[3] == "0A"]
        for port in self.ports.values():
            self.assertEqual([place for place in listening if place.endswith(f":{port:04X}")], [f"0100007F:{port:04X}"])

    def test_the_documents_commands(self):
        lines = [line for line in LINES if line != START]
        self.assertIn("lab/lab bmc --server server2 fail 34 8c C0 2", lines)
        for line in lines:
            with self.subTest(line):
                done = subprocess.run(["bash", "-c", line.replace(DOCUMENTED, str(self.folder))], cwd=REPOSITORY,
                                      capture_output=True, text=True, check=False, timeout=200,
                                      env=dict(os.environ, TMPDIR=str(self.parent)))
                self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        bmc.order(self.runs["server2"], "clear")


class AFleetThatEnds(unittest.TestCase):
    def test_by_sigkill_leaves_no_process_and_no_file(self):
        parent = Path(self.enterContext(tempfile.TemporaryDirectory(prefix="lab-test-")))
        client = subprocess.Popen([sys.executable, LAB / "lab", "fleet", "1"], stdin=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL, env=dict(os.environ, TMPDIR=str(parent)))
        with client.stdin:
            wait_until(lambda: list(parent.glob("kv6000-*/console.log")), "the machine is on", 120)
            folders = list(parent.iterdir())
            self.assertEqual(len(folders), 2)
            client.send_signal(signal.SIGKILL)
            client.wait()
            wait_until(lambda: not list(parent.iterdir()), "the folders are removed")
            wait_until(lambda: not [process for folder in folders for process in processes_of(folder)],
                       "the processes end")

    def test_before_it_starts_fails_with_the_reason(self):
        with tempfile.TemporaryDirectory(prefix="lab-test-") as folder:
            (Path(folder) / "mine").touch()
            for words, reason in (("0", "A fleet has 1 to 200 servers, not 0."), ("201", "not 201"),
                                  ("2 --tool ipmitool,hammer", "no tool 'hammer'"),
                                  (f"2 --folder {folder}", f"{folder} is not an empty folder.")):
                with self.subTest(words):
                    started = time.monotonic()
                    done = subprocess.run([LAB / "lab", "fleet", *words.split()], stdin=subprocess.DEVNULL,
                                          capture_output=True, text=True, check=False)
                    self.assertEqual((done.returncode, done.stdout), (1, ""))
                    self.assertIn(reason, done.stderr)
                    self.assertLess(time.monotonic() - started, 10)
            self.assertEqual(os.listdir(folder), ["mine"])


if __name__ == "__main__":
    unittest.main()

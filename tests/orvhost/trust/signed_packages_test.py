"""Signed packages, and what becomes of one that somebody has changed: real keys, real signatures, the program itself.

The rows of the table in docs/packages.md are what this test sees. "--table" prints them.
"""

import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path

import commands
import jsonschema

ORVHOST = os.environ["ORVHOST"]
PLUGIN = os.environ["TEST_PLUGIN_PATH"]
TABLE = Path(__file__).resolve().parents[3] / "docs/packages.md"

MAKER = "release@example.org"  # as in the documents
# Who else signs: address, when the key is made and how long it holds.
OTHERS = {"stranger@example.org": (None, "never"), "expired@example.org": ("20200101T000000", "30d"),
          "revoked@example.org": (None, "never"), "future@example.org": ("20360101T000000", "never"),
          "old@example.org": ("20200101T000000", "never")}


def kept(text: str, names=iter(range(10**6))) -> dict:
    """One object that the program printed, left where output_schema_test.py finds it when there is such a place."""
    folder = os.environ.get("ORVHOST_OUTPUTS")
    if folder:
        (Path(folder) / f"signed-packages-{next(names)}.json").write_text(text)
    return json.loads(text)


class Makers:
    """A folder with gpg's keys of everybody who signs here."""

    def __init__(self):
        self.home = Path(tempfile.mkdtemp(prefix="gpg-", dir="/tmp"))  # short, as the agent's socket needs it
        self.make(MAKER, None, "never")
        for who, (since, lasts) in OTHERS.items():
            self.make(who, since, lasts)
        self.before = shutil.copytree(self.home, f"{self.home}-before", ignore=shutil.ignore_patterns("S.*"))
        fingerprint = self.fingerprint("revoked@example.org")
        statement = (self.home / f"openpgp-revocs.d/{fingerprint}.rev").read_text().replace(":-----BEGIN", "-----BEGIN")
        self.gpg("--import", input=statement.encode())

    def gpg(self, *arguments, at=None, input=None, home=None) -> bytes:
        time = ["--faked-system-time", at] if at else []
        return subprocess.run(["gpg", "--batch", "--quiet", "--passphrase", "", "--homedir", str(home or self.home), *time,
                               *arguments], check=True, input=input, capture_output=True).stdout

    def make(self, who, since, lasts):
        self.gpg("--quick-gen-key", who, "ed25519", "sign", lasts, at=since)

    def export(self, who) -> bytes:
        return self.gpg("--export", who, at=OTHERS.get(who, (None,))[0])

    def fingerprint(self, who) -> str:
        listed = self.gpg("--with-colons", "--list-keys", who, at=OTHERS.get(who, (None,))[0]).decode()
        return next(line.split(":")[9] for line in listed.splitlines() if line.startswith("fpr"))

    def sign(self, package: Path, who=MAKER, at=None, options=("--detach-sign",)) -> bytes:
        at = at or OTHERS.get(who, (None,))[0]
        return self.gpg("--local-user", who, "--output", "-", *options, str(package), at=at,
                        home=self.before if who == "revoked@example.org" else None)

    def close(self):
        for home in (self.home, self.before):
            subprocess.run(["gpgconf", "--homedir", str(home), "--kill", "all"], check=False, capture_output=True)
            shutil.rmtree(home)


class Server:
    """A machine that keys are installed on, with a package beside its signature."""

    def __init__(self, makers: Makers, folder: Path):
        self.makers = makers
        self.folder = folder
        self.keys = folder / "keys.d"
        self.package = folder / "p.zip"
        self.signature = folder / "p.zip.sig"
        self.policy = ""
        self.keys.mkdir()
        self.install("maker.gpg", makers.export(MAKER))
        flash_tool = folder / "orv/KV6KBMC/Yafuflash"
        flash_tool.parent.mkdir(parents=True)
        flash_tool.write_text("#!/bin/sh\n")
        flash_tool.chmod(0o755)
        self.make("01-24", b"image of 01-24")
        self.sign()

    def make(self, version, image):
        (self.folder / "kv6000.ima").write_bytes(image)
        self.package.unlink(missing_ok=True)
        self.signature.unlink(missing_ok=True)
        subprocess.run([ORVHOST, "make-package", self.folder / "kv6000.ima", self.package, "--firmware-version",
                        version, "--for", "kv6000"], check=True, capture_output=True)

    def sign(self, who=MAKER, **kwargs):
        self.signature.write_bytes(self.makers.sign(self.package, who, **kwargs))

    def install(self, name, key: bytes):
        (self.keys / name).write_bytes(key)
        (self.keys / name).chmod(0o644)

    def rewrite(self, **changes):
        """The package anew by an ordinary tool, with `changes` (a name's stem: content, or None to leave it out)."""
        with zipfile.ZipFile(self.package) as archive:
            files = {name: archive.read(name) for name in archive.namelist()}
        files.update({{"description": "module.json", "image": "kv6000.ima"}.get(name, name): content
                      for name, content in changes.items()})
        with zipfile.ZipFile(self.package, "w") as archive:
            for name, content in files.items():
                if content is not None:
                    archive.writestr(name, content)

    def check(self, subcommand="check", *options, package=True) -> dict:
        configuration = self.folder / "orvhost.conf"
        configuration.write_text(f"key_folder = {self.keys}\n" + (f"signatures = {self.policy}\n" if self.policy else ""))
        environment = dict(os.environ, ORVHOST_LAB_MACHINE="1", ORVHOST_LAB_CONFIGURATION=str(configuration),
                           ORVHOST_LAB_LOCK_FOLDER=str(self.folder / "runs"), TEST_PLUGIN_VERSION="01-23")
        done = subprocess.run([ORVHOST, "--install-path", self.folder / "orv", "--plugin", PLUGIN, "--server-type",
                               "kv6000", subcommand, *([self.package] if package else []), *options, "--json"], env=environment,
                              capture_output=True, text=True, check=False, timeout=60)
        if done.stderr:
            raise AssertionError(done.stderr)
        answer = kept(done.stdout)
        if answer["exit_code"] != done.returncode:
            raise AssertionError(done.stdout)
        return answer


def with_byte_changed(path: Path, at: int):
    content = bytearray(path.read_bytes())
    content[at] ^= 0x20
    path.write_bytes(content)


def lower_the_version(server):
    with zipfile.ZipFile(server.package) as archive:
        description = json.loads(archive.read("module.json"))
    description["version"] = "01-22"
    server.rewrite(description=json.dumps(description))


def put_an_older_package(server):
    signature = server.signature.read_bytes()
    server.make("01-22", b"image of 01-22")
    server.signature.write_bytes(signature)


def take_the_signature_of_another(server):
    newer = server.package.read_bytes()
    server.make("01-25", b"image of 01-25")
    server.sign()
    server.package.write_bytes(newer)


def put(path: Path, content: bytes):
    path.write_bytes(content)


def make_a_folder(path: Path):
    path.unlink(missing_ok=True)
    path.mkdir()


def only(server, name, key):
    (server.keys / "maker.gpg").unlink()
    server.install(name, key)


def unsigned_without_keys(server):
    (server.keys / "maker.gpg").unlink()
    server.signature.unlink()


def of_the_future(server):
    only(server, "future.gpg", server.makers.export("future@example.org"))
    server.sign("future@example.org")


def by(who, installed=True):
    def change(server):
        server.sign(who)
        if installed:
            server.install("other.gpg", server.makers.export(who))
    return change


def signature_of_a_day(server):
    only(server, "old.gpg", server.makers.export("old@example.org"))
    server.sign("old@example.org", options=("--default-sig-expire", "1d", "--detach-sign"))


def policy(name, change=lambda server: None):
    def both(server):
        server.policy = name
        change(server)
    return both


def then(*changes):
    def all_of_them(server):
        for change in changes:
            change(server)
    return all_of_them


def add_a_file(server):
    server.rewrite(extra=b"x")


# What is done to a signed package on a machine that has its maker's key, what becomes of "check", and what came of the
# signature.
MANIPULATIONS = [
    ("nothing", lambda s: None, 0, "good"),
    ("the signature is missing", lambda s: s.signature.unlink(), 5, "missing"),
    ("the signature is empty", lambda s: put(s.signature, b""), 5, "damaged"),
    ("the signature is cut off", lambda s: put(s.signature, s.signature.read_bytes()[:60]), 5, "damaged"),
    ("the signature is some text", lambda s: put(s.signature, b"signed, really\n"), 5, "damaged"),
    ("the signature is a folder", lambda s: make_a_folder(s.signature), 5, "damaged"),
    ("the signature is a pipe", lambda s: then(lambda s: s.signature.unlink(), lambda s: os.mkfifo(s.signature))(s), 5,
     "damaged"),
    ("the signature is 100 KiB", lambda s: put(s.signature, bytes(100 * 1024)), 5, "damaged"),
    ("the signature holds the package, too", lambda s: s.sign(options=("--sign",)), 5, "damaged"),
    ("the signature is that of another package", take_the_signature_of_another, 5, "bad"),
    ("an older package in its place, the signature kept", put_an_older_package, 5, "bad"),
    ("a lower version in its description", lower_the_version, 5, "bad"),
    ("one byte of the image changed", lambda s: with_byte_changed(s.package, s.package.read_bytes().index(b"image of")),
     5, "bad"),
    ("one byte of the archive's directory changed", lambda s: with_byte_changed(s.package, -30), 5, "bad"),
    ("one byte appended", lambda s: put(s.package, s.package.read_bytes() + b"\n"), 5, "bad"),
    ("the last byte cut off", lambda s: put(s.package, s.package.read_bytes()[:-1]), 5, "bad"),
    ("packed anew with the same content", lambda s: s.rewrite(), 5, "bad"),
    ("signed by a key that is not installed", by("stranger@example.org", installed=False), 5, "unknown-key"),
    ("signed by an installed key that is expired", by("expired@example.org"), 5, "expired-key"),
    ("signed by an installed key that is revoked", by("revoked@example.org"), 5, "revoked-key"),
    ("signed with SHA-1", lambda s: s.sign(options=("--digest-algo", "SHA1", "--detach-sign")), 5, "weak-digest"),
    ("the signature itself is expired", signature_of_a_day, 5, "expired-signature"),
    ("the machine's clock is before the key's creation", of_the_future, 5, "key-of-the-future"),
    ("the key file is cut off", lambda s: only(s, "maker.gpg", s.makers.export(MAKER)[:60]), 5, "unusable-key"),
    ("the key file is no key", lambda s: s.install("notes.gpg", b"my key\n"), 2, "not-checked"),
    ("the key file is empty", lambda s: s.install("empty.gpg", b""), 2, "not-checked"),
    ("the key file is armored", lambda s: s.install("armored.asc", s.makers.gpg("--armor", "--export", MAKER)), 2,
     "not-checked"),
    ("the key file holds the private key", lambda s: s.install("secret.gpg", s.makers.gpg("--export-secret-keys", MAKER)),
     2, "not-checked"),
    ("the key file is a folder", lambda s: (s.keys / "folder.gpg").mkdir(), 2, "not-checked"),
    ("the key file is writable by others", lambda s: (s.keys / "maker.gpg").chmod(0o666), 2, "not-checked"),
    ("the folder of keys is writable by others", lambda s: s.keys.chmod(0o777), 2, "not-checked"),
    ("the key file is a link", lambda s: (s.keys / "link.gpg").symlink_to(s.folder / "key.gpg"), 2, "not-checked"),
    ("two key files hold the key that signed", lambda s: s.install("copy.gpg", s.makers.export(MAKER)), 2, "not-checked"),
    ("no key is installed, and it is signed", lambda s: (s.keys / "maker.gpg").unlink(), 0, "unknown-key"),
    ("no key is installed, and it is not signed", unsigned_without_keys, 0, "missing"),
    ("the same, and another image", then(unsigned_without_keys, lambda s: s.rewrite(image=b"image of 01-66")), 5,
     "missing"),
    ("the same, and a shorter image", then(unsigned_without_keys, lambda s: s.rewrite(image=b"image")), 5, "missing"),
    ("the same, and one file more", then(unsigned_without_keys, add_a_file), 5, "missing"),
    ("the same, and without the image", then(unsigned_without_keys, lambda s: s.rewrite(image=None)), 5, "missing"),
    ("required, no key is installed", policy("required", lambda s: (s.keys / "maker.gpg").unlink()), 5, "unknown-key"),
    ("warn, and the signature is missing", policy("warn", lambda s: s.signature.unlink()), 0, "missing"),
    ("warn, and another package's signature", policy("warn", take_the_signature_of_another), 5, "bad"),
    ("off, and another package's signature", policy("off", take_the_signature_of_another), 0, "not-checked"),
]


class SignedPackages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.makers = Makers()
        cls.addClassCleanup(cls.makers.close)

    def setUp(self):
        self.server = Server(self.makers, Path(self.enterContext(tempfile.TemporaryDirectory(prefix="signed "))))

    def in_words(self, text: str) -> str:
        """Without what differs from run to run."""
        text = text.replace(str(self.server.folder) + "/", "")
        for who in (MAKER, *OTHERS):
            text = text.replace(self.makers.fingerprint(who), "KEY")
        return re.sub(r"\d{4}-\d\d-\d\d", "DATE", text)

    def row(self, name, change, exit_code, state) -> str:
        change(self.server)
        answer = self.server.check()
        self.assertEqual(answer["exit_code"], exit_code, answer)
        signed = answer["facts"]["signature"]
        self.assertEqual(signed, state, answer)
        self.assertFalse(answer["changed"])
        self.assertFalse(answer["flash_touched"])
        self.assertFalse((self.server.folder / "orv/.orvhost-package").exists())
        said = [answer["error"]["cause"]] if exit_code else answer["notices"]
        if exit_code:
            self.assertTrue(answer["error"]["next_step"])
        return f"| {name} | {exit_code} | `{signed}` | {self.in_words(' '.join(said)) or '-'} |"

    def test_the_table_of_manipulations_is_what_is_seen(self):
        table = TABLE.read_text().partition("\n| What was done ")[2].partition("\n\n")[0]
        stated = table.splitlines()[2:]
        rows = []
        for name, *expected in MANIPULATIONS:
            with self.subTest(name):
                self.doCleanups()
                self.setUp()
                row = self.row(name, *expected)
                rows.append(row)
        if "--table" in sys.argv:
            print("\n".join(rows))
        self.assertEqual(rows, stated)

    def test_a_key_folder_that_others_can_replace_is_refused(self):
        outside = self.server.folder / "open/keys.d"
        outside.parent.mkdir()
        self.server.keys.rename(outside)
        for place in ("folder", "link"):
            with self.subTest(place):
                self.server.keys = outside if place == "folder" else self.server.folder / "linked"
                if place == "link":
                    self.server.keys.symlink_to(outside)
                outside.parent.chmod(0o755)
                self.assertEqual(self.server.check()["exit_code"], 0)
                outside.parent.chmod(0o777)
                answer = self.server.check()
                self.assertEqual((answer["exit_code"], answer["verdict"]), (2, "keys-unusable"))
                self.assertIn("open, from which keys are taken, cannot be used: others", answer["error"]["cause"])
                outside.parent.chmod(0o1777)
                self.assertEqual(self.server.check()["exit_code"], 0)
                outside.chmod(0o1777)
                self.assertEqual(self.server.check()["exit_code"], 2)
                outside.chmod(0o755)

    @unittest.skipUnless(os.geteuid() == 0, "only root can give files away")
    def test_a_key_of_another_user_is_refused(self):
        for path in (self.server.keys / "maker.gpg", self.server.keys):
            with self.subTest(path.name):
                os.chown(path, 1234, -1)
                answer = self.server.check()
                os.chown(path, 0, -1)
                self.assertEqual(answer["error"]["cause"], f"{path}, from which keys are taken, cannot be used: it belongs "
                                                           "to user 1234 and not to root.")

    def test_names_are_no_commands(self):
        for name in ("a'; touch pwned; #.gpg", "o'brien.gpg", "ba\\ck.gpg", 'quo"te.gpg', "$(touch pwned).gpg", "new\nline.gpg"):
            with self.subTest(name):
                key = self.server.keys / name
                (next(self.server.keys.iterdir())).rename(key)
                self.assertEqual(self.server.check()["facts"]["signature"], "good")
        self.assertEqual(list(self.server.folder.rglob("pwned*")) + list(Path.cwd().glob("pwned*")), [])

    def test_a_signature_that_leaves_out_how_lines_end_is_refused(self):
        self.server.sign(options=("--textmode", "--detach-sign"))
        self.assertEqual(self.server.check()["facts"]["signature"], "unusable-signature")

    def test_what_is_no_signature_never_reaches_gpgv(self):
        good = self.server.signature.read_bytes()
        certificate = self.makers.export(MAKER)
        for name, content in (("a key", certificate), ("compressed", bytes([0xa3, 2]) + b"x" * 50), ("many", good * 17),
                              ("something behind it", good + b"x"), ("armored", self.makers.sign(
                                  self.server.package, options=("--armor", "--detach-sign")))):
            with self.subTest(name):
                self.server.signature.write_bytes(content)
                answer = self.server.check()
                self.assertEqual((answer["exit_code"], answer["facts"]["signature"]), (5, "damaged"), answer)
        self.server.signature.write_bytes(good * 16)
        self.assertEqual(self.server.check()["facts"]["signature"], "good")

    def test_a_strange_signature_does_not_blame_the_keys(self):
        self.server.install("other.gpg", self.makers.export("stranger@example.org"))
        own = self.makers.gpg("--export", "--export-options", "export-minimal", MAKER)
        for name, content in (("of a kind of its own", bytes([0x88, 7]) + bytes([4, 2, 22, 8, 0, 0, 0])),
                              ("of the key itself", own[own.index(b"\x88"):] if b"\x88" in own else own)):
            with self.subTest(name):
                self.server.signature.write_bytes(content)
                answer = self.server.check()
                self.assertEqual((answer["exit_code"], answer["verdict"]), (5, "not-trusted"), answer)

    def test_a_folder_of_keys_that_was_named_must_be_there(self):
        self.server.keys.rename(self.server.folder / "away")
        for place in ("missing", "link"):
            with self.subTest(place):
                if place == "link":
                    self.server.keys.symlink_to(self.server.folder / "nothing")
                answer = self.server.check()
                self.assertEqual((answer["exit_code"], answer["verdict"]), (2, "keys-unusable"), answer)

    def test_a_changed_byte_is_refused_wherever_it_is(self):
        good = self.server.package.read_bytes()
        for at in range(0, len(good), len(good) // 24):
            with self.subTest(at):
                self.server.package.write_bytes(good)
                with_byte_changed(self.server.package, at)
                self.assertEqual(self.server.check()["facts"]["signature"], "bad")

    def test_no_change_of_a_signature_makes_it_that_of_other_bytes(self):
        signature = self.server.signature.read_bytes()
        with_byte_changed(self.server.package, 100)
        for at in range(0, len(signature), 6):
            with self.subTest(at):
                self.server.signature.write_bytes(signature)
                with_byte_changed(self.server.signature, at)
                self.assertEqual(self.server.check()["exit_code"], 5)

    def test_one_good_signature_of_two_is_enough(self):
        self.server.signature.write_bytes(self.makers.sign(self.server.package, "stranger@example.org") +
                                          self.makers.sign(self.server.package))
        self.assertEqual(self.server.check()["facts"]["signed_by"], MAKER)
        self.server.install("stranger.gpg", self.makers.export("stranger@example.org"))
        self.assertEqual(self.server.check()["facts"]["signature"], "good")

    def test_a_bad_signature_beside_a_good_one_is_refused(self):
        other = self.server.folder / "other"
        other.write_bytes(b"other bytes")
        self.server.install("stranger.gpg", self.makers.export("stranger@example.org"))
        self.server.signature.write_bytes(self.makers.sign(self.server.package) +
                                          self.makers.sign(other, "stranger@example.org"))
        self.assertEqual(self.server.check()["facts"]["signature"], "bad")

    def test_who_signed_stands_everywhere(self):
        answer = self.server.check("update")
        fingerprint = self.makers.fingerprint(MAKER)
        self.assertEqual((answer["facts"]["signed_by"], answer["facts"]["signing_key"]), (MAKER, fingerprint))
        journal = next((self.server.folder / "orv/journal").glob("*"))
        lines = [json.loads(line) for line in journal.read_text().splitlines()]
        taken = next(line for line in lines if line["kind"] == "package")
        self.assertEqual((taken["signature"], taken["signed_by"], taken["signing_key"]), ("good", MAKER, fingerprint))
        shown = subprocess.run([ORVHOST, "--install-path", self.server.folder / "orv", "show", "last"], check=True,
                               capture_output=True, text=True).stdout
        self.assertIn(f"signed by {MAKER} (key {fingerprint})", " ".join(shown.split()))

    def test_an_update_is_refused_before_the_plug_in_is_loaded(self):
        put_an_older_package(self.server)
        answer = self.server.check("update", "--allow-older")
        self.assertEqual((answer["exit_code"], answer["verdict"], answer["phase"]), (5, "not-trusted", "package"))

    def test_config_says_what_holds(self):
        def stated():
            return self.server.check("config", package=False)["facts"]["signatures"]
        keys = self.server.keys
        self.assertEqual(stated(), f"required (built in, since {keys} is not empty)")
        (keys / "maker.gpg").unlink()
        self.assertEqual(stated(), f"warn (built in, since {keys} holds no key)")
        self.server.policy = "off"
        self.assertEqual(stated(), f"off ({self.server.folder}/orvhost.conf)")

    def test_an_older_package_without_a_list_goes_on_working_with_a_notice(self):
        self.server.policy = "off"
        self.server.rewrite(description='{"name": "n", "version": "01-24", "server_types": ["kv6000"]}')
        answer = self.server.check()
        self.assertEqual(answer["exit_code"], 0)
        self.assertEqual(answer["notices"],
                         ["The package is an older one, whose description lists no checksums of its files."])


    def test_the_schema_takes_the_descriptions_that_the_program_takes(self):
        self.server.policy = "off"
        schema = json.loads((TABLE.parent / "package.schema.json").read_text())
        image = {"size": 14, "sha256": "0" * 64}
        good = {"name": "n", "version": "01-24", "model": "", "server_types": ["kv6000"]}
        valid = [good, {**good, "more": 1}, {**good, "files": {}}, {**good, "files": {"kv6000.ima": image}},
                 {**good, "files": {"kv6000.ima": {**image, "sha256": "A" * 64, "more": 1}}},
                 {**good, "name": "x" * 255}]
        wrong = [[], {}, {**good, "name": ""}, {**good, "name": 1}, {**good, "version": ""}, {**good, "model": None},
                 {**good, "server_types": []}, {**good, "server_types": [""]}, {**good, "server_types": "kv6000"},
                 {**good, "server_types": ["kv6000"] * 65}, {**good, "name": "x" * 256}, {**good, "files": []},
                 {**good, "files": None}, {**good, "files": {"a": {"size": 1}}},
                 {**good, "files": {"a": {"sha256": "0" * 64}}}, {**good, "files": {"a": {**image, "size": -1}}},
                 {**good, "files": {"a": {**image, "size": "1"}}}, {**good, "files": {"a": {**image, "sha256": "0" * 63}}},
                 {**good, "files": {"module.json": image}}]
        for description in valid + wrong:
            with self.subTest(description):
                self.server.rewrite(description=json.dumps(description))
                answer = self.server.check()
                cause = answer["error"]["cause"] if answer["error"] else ""
                self.assertEqual("module.json is not valid" in cause, description in wrong, cause)
                self.assertEqual(jsonschema.Draft202012Validator(schema).is_valid(description), description in valid)


class MadePackages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.makers = Makers()
        cls.addClassCleanup(cls.makers.close)

    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory(prefix="maker ")))
        self.image = self.folder / "kv6000.ima"
        self.image.write_bytes(b"image")
        self.made = self.folder / "made.zip"

    def run_program(self, *arguments, **environment) -> dict:
        done = subprocess.run([ORVHOST, "--json", *arguments], capture_output=True, text=True, check=False, timeout=60,
                              env=dict(os.environ, GNUPGHOME=str(self.makers.home), **environment), cwd=self.folder)
        self.assertEqual(done.stderr, "")
        answer = kept(done.stdout)
        self.assertEqual(answer["exit_code"], done.returncode)
        self.assertEqual([path.name for path in self.folder.iterdir() if path.name.startswith(".")], [])
        return answer

    def make(self, source, *options, **environment) -> dict:
        return self.run_program("make-package", source, self.made, *options, **environment)

    ORDINARY = ("--firmware-version", "01-24", "--for", "kv6000", "--name", "KV6000 BMC firmware")

    def test_of_an_image(self):
        answer = self.make(self.image, *self.ORDINARY)
        self.assertEqual((answer["exit_code"], answer["verdict"], answer["changed"]), (0, "package-made", True))
        with zipfile.ZipFile(self.made) as archive:
            self.assertEqual(archive.namelist(), ["module.json", "kv6000.ima"])
            self.assertEqual(json.loads(archive.read("module.json")), {
                "name": "KV6000 BMC firmware", "version": "01-24", "model": "", "server_types": ["kv6000"],
                "files": {"kv6000.ima": {
                    "size": 5, "sha256": "6105d6cc76af400325e94d588ce511be5bfdbb73b437dc51eca43917d7a43e3d"}}})

    def test_of_a_folder_with_its_description(self):
        rack = self.folder / "rack"
        (rack / "x64").mkdir(parents=True)
        for name, content in {"bmcup.sh": "#!/bin/sh\n", "Yes": "Yes\n", "x64/tool": "tool\n", "module.json": json.dumps(
                {"name": "Rack", "version": "BMC:01-24,SDR:A2", "server_types": ["kv6000rt"]})}.items():
            (rack / name).write_text(content)
        (rack / "x64/tool").chmod(0o755)
        answer = self.make(rack, "--model", "long/ssd", "--for", "KV6000RT")
        self.assertEqual(answer["exit_code"], 0, answer)
        with zipfile.ZipFile(self.made) as archive:
            self.assertEqual(archive.namelist(), ["module.json", "Yes", "bmcup.sh", "x64/tool"])
            self.assertEqual(archive.getinfo("x64/tool").external_attr >> 16, 0o100755)
            self.assertEqual(archive.getinfo("Yes").external_attr >> 16, 0o100644)
            description = json.loads(archive.read("module.json"))
        self.assertEqual((description["name"], description["model"], description["server_types"]),
                         ("Rack", "long/ssd", ["kv6000rt"]))
        self.assertEqual(sorted(description["files"]), ["Yes", "bmcup.sh", "x64/tool"])

    def test_the_same_bytes_whenever_and_wherever(self):
        seen = []
        for zone, locale, stamp in (("UTC", "C", 0), ("Pacific/Auckland", "C.UTF-8", 10**9)):
            os.utime(self.image, (stamp, stamp))
            answer = self.make(self.image, *self.ORDINARY, "--sign-with", MAKER, TZ=zone, LC_ALL=locale,
                               SOURCE_DATE_EPOCH="2000000000")
            self.assertEqual(answer["exit_code"], 0, answer)
            signature = self.made.with_name("made.zip.sig")
            seen.append((self.made.read_bytes(), signature.read_bytes()))
            self.made.unlink()
            signature.unlink()
        self.assertEqual(seen[0], seen[1])

    def test_what_cannot_become_a_package_is_refused_and_leaves_nothing(self):
        empty = self.folder / "empty.ima"
        empty.touch()
        large = self.folder / "large.ima"
        with open(large, "wb") as file:
            file.truncate(2 * 1024**3)
        linked = self.folder / "linked"
        linked.mkdir()
        (linked / "a.ima").symlink_to(self.image)
        (self.folder / "nothing").mkdir()
        os.mkfifo(self.folder / "pipe")
        named = self.folder / "na`me.ima"
        named.write_bytes(b"x")
        two = self.folder / "two"
        two.mkdir()
        for name in ("a.ima", "b.ima"):
            (two / name).write_bytes(b"x")
        for source, options, cause in (
                (empty, self.ORDINARY, "The package would be refused: its image empty.ima is empty (for kv6000)."),
                (large, self.ORDINARY, f"No package can be made of {large}: it has more than 1 GiB."),
                (linked, self.ORDINARY, f"No package can be made of {linked}: its a.ima is a link."),
                (self.folder / "nothing", self.ORDINARY,
                 f"No package can be made of {self.folder}/nothing: it holds no file."),
                (self.folder / "pipe", self.ORDINARY,
                 f"No package can be made of {self.folder}/pipe: it is neither a file nor a folder."),
                (self.folder / "missing", self.ORDINARY,
                 f"No package can be made of {self.folder}/missing: there is no such file or folder."),
                (named, self.ORDINARY, "The package would be refused: member [na`me.ima]: the name holds a character "
                                       "that is unsafe in a command line (control character, \", \\, ` or $)."),
                (two, self.ORDINARY, "The package would be refused: it holds 2 images, a.ima and b.ima, and only one can "
                                     "be written (for kv6000)."),
                (self.image, ("--firmware-version", "01-24"),
                 "No package can be made: its module.json is not valid: \"server_types\" names no server type. What it "
                 "holds is given by --firmware-version, --for, --name and --model, or by a module.json."),
                (self.image, ("--firmware-version", "1.24", "--for", "kv6000"),
                 "The package would be refused: its version \"1.24\" is malformed for kv6000, because it does not have "
                 "the form 01-24 (four decimal digits)."),
                (self.image, (*self.ORDINARY, "--for", "kv6000rt"),
                 "The package would be refused: its version \"01-24\" is malformed for kv6000rt, because ")):
            with self.subTest(cause):
                answer = self.make(source, *options)
                self.assertEqual((answer["exit_code"], answer["verdict"]), (5, "package-unusable"), answer)
                self.assertTrue(answer["error"]["cause"].startswith(cause), answer["error"]["cause"])
                self.assertFalse(self.made.exists())

    def test_the_documented_commands(self):
        rack = self.folder / "rack-folder"
        rack.mkdir()
        for name, content in {"bmcup.sh": "#!/bin/sh\n", "Yes": "Yes\n", "module.json": json.dumps(
                {"name": "Rack", "version": "BMC:01-24,SDR:A2", "server_types": ["kv6000rt"]})}.items():
            (rack / name).write_text(content)
        lines = commands.commands_for("tests/orvhost/trust/signed_packages_test.py")
        self.assertEqual(len(lines), 7)
        for line in lines:
            with self.subTest(line):
                line = re.sub("FILE$", "listed.zip --firmware-version 01-24 --for kv6000", line)
                line = line.replace("IMAGE", "kv6000.ima").replace("FILE KEY", f"listed.zip {MAKER}")
                subprocess.run(["bash", "-euc", line.replace("/etc/orvhost", str(self.folder).replace(" ", "\\ "))],
                               check=True, capture_output=True, cwd=self.folder,
                               env=dict(os.environ, GNUPGHOME=str(self.makers.home),
                                        PATH=f"{Path(ORVHOST).parent}:{os.environ['PATH']}"))
        subprocess.run(["gpgv", "--keyring", self.folder / "keys.d/release.gpg", "bmc-01-24.zip.sig", "bmc-01-24.zip"],
                       check=True, capture_output=True, cwd=self.folder)

    def test_nothing_is_replaced(self):
        self.made.write_text("mine")
        answer = self.make(self.image, *self.ORDINARY)
        self.assertEqual((answer["exit_code"], answer["verdict"]), (2, "file-unusable"))
        self.assertEqual(self.made.read_text(), "mine")
        self.made.unlink()
        signature = self.made.with_name("made.zip.sig")
        signature.write_text("mine")
        self.assertEqual(self.make(self.image, *self.ORDINARY, "--sign-with", MAKER)["exit_code"], 2)
        self.assertFalse(self.made.exists())
        self.assertEqual(self.make(self.image, *self.ORDINARY)["exit_code"], 2)
        signature.unlink()
        self.assertEqual(self.make(self.image, *self.ORDINARY)["exit_code"], 0)
        signature.write_text("mine")
        self.assertEqual(self.run_program("sign-package", self.made, MAKER)["exit_code"], 2)
        self.assertEqual(signature.read_text(), "mine")

    def test_values_that_mean_nothing_are_refused(self):
        for option, value in (("--for", "kv6000,kv7000"), ("--for", "KV 6000"), ("--for", ""), ("--sign-with", "")):
            with self.subTest(f"{option} {value}"):
                answer = self.make(self.image, *self.ORDINARY, option, value)
                self.assertEqual((answer["exit_code"], answer["verdict"]), (2, "usage"))
                self.assertIn(option, answer["error"]["cause"])
                self.assertFalse(self.made.exists())

    def test_a_package_is_signed_and_the_signature_holds(self):
        self.make(self.image, *self.ORDINARY)
        answer = self.run_program("sign-package", self.made, MAKER)
        self.assertEqual((answer["exit_code"], answer["verdict"]), (0, "package-signed"), answer)
        self.assertEqual(answer["facts"]["signing_key"], self.makers.fingerprint(MAKER))
        subprocess.run(["gpg", "--homedir", self.makers.home, "--batch", "--quiet", "--verify",
                        f"{self.made}.sig", self.made], check=True, capture_output=True)

    def test_without_a_key_of_that_name_nothing_is_made(self):
        answer = self.make(self.image, *self.ORDINARY, "--sign-with", "nobody@example.org")
        self.assertEqual((answer["exit_code"], answer["verdict"]), (7, "not-signed"))
        self.assertEqual(answer["error"]["cause"],
                         "The package could not be signed: gpg says: signing failed: No secret key.")
        self.assertFalse(self.made.exists())

    def test_keys_and_names_are_no_commands(self):
        odd = self.folder / "it's; touch pwned #"
        odd.mkdir()
        self.made = odd / "a'b.zip"
        self.assertEqual(self.make(self.image, *self.ORDINARY)["exit_code"], 0)
        answer = self.run_program("sign-package", self.made, MAKER)
        self.assertEqual(answer["verdict"], "package-signed", answer)
        answer = self.run_program("sign-package", self.made.rename(odd / "c.zip"), "x'; touch pwned; #")
        self.assertEqual(answer["verdict"], "not-signed", answer)
        self.assertEqual(list(self.folder.rglob("pwned*")), [])

    def test_what_cannot_be_signed(self):
        (self.folder / "folder").mkdir()
        os.mkfifo(self.folder / "pipe")
        for name, reason in (("folder", "it is a folder"), ("pipe", "it is neither a file nor a folder"),
                             ("missing", "there is no such file or folder")):
            with self.subTest(name):
                answer = self.run_program("sign-package", name, MAKER)
                self.assertEqual((answer["exit_code"], answer["error"]["cause"]), (5, f"{name} cannot be signed: {reason}."))

    def test_gpgs_own_settings_change_no_signature(self):
        settings = self.makers.home / "gpg.conf"
        settings.write_text("textmode\nlocal-user stranger@example.org\n")
        self.addCleanup(settings.unlink)
        self.assertEqual(self.make(self.image, *self.ORDINARY, "--sign-with", MAKER)["facts"]["signed_by"], MAKER)
        listed = self.makers.gpg("--list-packets", f"{self.made}.sig").decode()
        self.assertEqual(listed.count(":signature packet:"), 1)
        self.assertIn("sigclass 0x00", listed)

    def test_a_name_that_begins_like_an_option_is_a_name(self):
        self.made = self.folder / "-z.zip"
        self.assertEqual(self.make(self.image, *self.ORDINARY)["exit_code"], 0)
        answer = self.run_program("sign-package", "--", "-z.zip", MAKER)
        self.assertEqual((answer["exit_code"], answer["verdict"]), (0, "package-signed"), answer)
        self.assertTrue((self.folder / "-z.zip.sig").exists())

    def test_a_package_that_would_be_refused_is_not_signed(self):
        self.make(self.image, *self.ORDINARY)
        self.made.write_bytes(self.made.read_bytes().replace(b"image", b"imago", 1))
        answer = self.run_program("sign-package", self.made, MAKER)
        self.assertEqual((answer["exit_code"], answer["verdict"]), (5, "package-unusable"), answer)
        self.assertFalse(self.made.with_name("made.zip.sig").exists())


if __name__ == "__main__":
    unittest.main(argv=[word for word in sys.argv if word != "--table"])

"""The documents, every command in them that a reader can type, and which test runs it.

A command line is what stands indented or in a fence without a language, and what stands in backquotes inside a text and
begins with one of our own programs. In a fence `console` the commands begin with "# ", the other lines are answers.

RULES is the one place that says what runs a command; a command that no rule knows fails commands_test.
"""

import re
from pathlib import Path
from typing import NamedTuple

REPOSITORY = Path(__file__).resolve().parents[2]
DOCUMENTS = sorted([*REPOSITORY.glob("*.md"), *REPOSITORY.glob("*/README.md"), *(REPOSITORY / "docs").glob("*.md")])

INLINE = re.compile(r"(\./dev|orvhost|lab/lab|tools/\w+|ipmitool|modprobe|man) \w.*|ctest .*|tools/terminal_picture\.py")

HERE = "tests/documents/commands_test.py"  # in the repository, before a temporary folder
SERVER = "tests/lab/roads/document_commands_test.py"  # in a virtual server, or about one
FLEET = "tests/lab/kv6000/lab_fleet_test.py"  # about several servers at once
PACKAGES = "tests/lab/roads/debian_packages_test.py"  # with the packages of this build
DEV = "tests/documents/dev_test.py"  # every step of ./dev, with recording programs in the place of the real ones


class Rule(NamedTuple):
    pattern: str  # of the whole command
    test: str  # the file of the test that runs it
    becomes: str = ""  # what is run instead, with {build} and {folder}; "" for the command itself


RULES = [
    Rule(r"\./dev help", HERE),
    Rule(r"\./dev .*", DEV),
    Rule(r"cmake --preset release -DKESTREL_WRITE_MODE_PHRASE='[^']*'( -DKESTREL_CXX11_ABI=0)?", HERE,
         r"cmake --preset release -B {folder}/configured -DKESTREL_WRITE_MODE_PHRASE=ABCDEFGHIJKLMNOPQRSTUV\1 "
         "-DKESTREL_BUILD_BENCH=OFF -DBUILD_TESTING=OFF"),
    Rule(r"cmake --build --preset release", DEV),
    Rule(r"cmake --install build/release --prefix /usr (--component \w+)", HERE,
         r"cmake --install {build} --prefix {folder}/usr \1"),
    # Only the names of the tests are asked for: to run them takes minutes, and these two would renew their golden files.
    Rule(r"KESTREL_RENEW_GOLDEN=1 ctest --preset release (-R '[\w|]+')", HERE, r"ctest --test-dir {build} -N \1"),
    Rule(r"ctest --preset release -R NAME", HERE, "ctest --test-dir {build} -N -R dev_test"),
    Rule(r"git diff (tests/lab/golden)", HERE, r"ls \1"),
    Rule(r"lab/lab build", HERE),
    Rule(r"lab/lab packages FOLDER", HERE, "lab/lab packages {folder}/packages"),
    Rule(r"lab/lab (fleet|\w+ --server server\d) .*|(ssh -F|ansible -i) /tmp/fleet/.*", FLEET),
    Rule(r"lab/lab .*", SERVER),
    Rule(r"install -D -m 755 Yafuflash (/.*)", HERE, r"install -D -m 755 {build}/lab/Yafuflash {folder}\1"),
    Rule(r"apt-get install (\./\w[\w-]*_\*\.deb ?)+", PACKAGES),
    # These two touch no device.
    Rule(r"orvhost (explain .*)", HERE, r"{build}/orvhost/orvhost \1"),
    Rule(r"orvhost metrics --out FILE", HERE,
         "{build}/orvhost/orvhost metrics --install-path {folder} --out {folder}/orvhost.prom"),
    Rule(r"orvhost validate (\[?PLUGIN.so\]?|--class NAME)", HERE,
         "{build}/orvhost/orvhost validate {build}/provider/liborvp_KESTREL_BMC.so --class CBMC_KESTREL_Vendor"),
    Rule(r"orvhost (make|sign)-package .*|gpg --export .*|install -d .*", "tests/orvhost/trust/signed_packages_test.py"),
    Rule(r"orvhost .*", SERVER),
    Rule(r"(ipmitool|modprobe|echo) .*", SERVER),
    Rule(r"tools/terminal_picture\.py", "tests/lab/roads/demo_test.py"),
    Rule(r"systemctl enable (--now )?[\w.-]+", "tests/orvhost/systems/units_test.py"),
    Rule(r"ANSIBLE_COLLECTIONS_PATH=fleet ansible-doc [\w.]+", HERE),
    Rule(r"man orvhost", "tests/orvhost/manual_test.py"),
]


class Command(NamedTuple):
    document: str
    line: str


def rule_of(command: str):
    """The first rule that knows a command, None when none does."""
    return next((rule for rule in RULES if re.fullmatch(rule.pattern, command)), None)


def to_run(command: str, **places) -> str:
    """The command line that is run for a command."""
    rule = rule_of(command)
    if not rule.becomes:
        return command
    text = re.fullmatch(rule.pattern, command).expand(rule.becomes.replace("{", "{{").replace("}", "}}"))
    return text.replace("{{", "{").replace("}}", "}").format(**places)


def without_comment(line: str) -> str:
    """A line of a document without its explanation, which begins after two blanks or with a number sign."""
    return re.split(r" {2,}| +# ", line.strip())[0]


def commands_in(text: str) -> list:
    found = []
    for language, block in re.findall(r"(?ms)^```(\w*)\n(.*?)^```$", text):
        lines = block.splitlines()
        if language == "console":
            found += [line.removeprefix("# ") for line in lines if line.startswith("# ")]
        elif not language:
            found += lines
    text = re.sub(r"(?ms)^```.*?^```$", "", text)
    for block in re.findall(r"(?m)(?<=\n\n)((?:    .*\n)+)", text):
        found += block.splitlines()
    found += [code for code in re.findall(r"`([^`\n]+)`", text) if INLINE.fullmatch(code)]
    return [without_comment(line) for line in found]


def all_commands() -> list:
    """The commands of all documents, each once for every document that it stands in."""
    found = [Command(str(path.relative_to(REPOSITORY)), line) for path in DOCUMENTS for line in commands_in(path.read_text())]
    return list(dict.fromkeys(found))


def commands_for(test: str) -> list:
    """The different commands that a test has to run, in the order of reading."""
    lines = [command.line for command in all_commands() if rule_of(command.line)]
    return [line for line in dict.fromkeys(lines) if rule_of(line).test == test]

"""What judges the attacked updates finds every untruth: each of them is made by hand after a good update."""

import json
import tempfile
import unittest
from pathlib import Path

from machine import Ended, Machine, Untrue
from truth import judge


def told(ended: Ended, **changed) -> Ended:
    """The same run, but it tells something else."""
    code = changed.get("exit_code", ended.code)
    return Ended(code, json.dumps({**json.loads(ended.out), **changed}) + "\n", ended.err)


class Untruths(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.machine = Machine(Path(folder.name))
        self.machine.renew()
        self.ended = self.machine.update()
        self.machine.expected = self.machine.files()

    def find(self, sentence: str, ended: Ended | None = None):
        with self.assertRaisesRegex(Untrue, sentence):
            judge(self.machine, ended or self.ended)

    def change_state(self, **changed):
        path = self.machine.install / "repository" / "state.json"
        path.write_text(json.dumps({**json.loads(path.read_text()), **changed}))

    def journal(self) -> Path:
        return max((self.machine.install / "journal").iterdir())

    def test_a_good_update_has_none(self):
        judge(self.machine, self.ended)

    def test_what_it_says_of_the_flash(self):
        self.find("flash_touched", told(self.ended, flash_touched=False))
        self.find("untouched", told(self.ended, exit_code=7, verdict="update-failed"))
        self.find("needs_apply", told(self.ended, needs_apply=None))
        self.find("verdict", told(self.ended, verdict="nothing-to-do"))
        self.find("exit code 99", Ended(99, "", "killed"))
        self.find("without a word", Ended(12, "", ""))
        self.machine.flash.write_text("begun\n")
        self.find("the flash is not written")
        self.machine.flash.unlink()
        self.find("had begun, and it had not", told(self.ended, exit_code=8))

    def test_what_is_recorded(self):
        self.change_state(update_status=2)
        self.find("not recorded")
        self.change_state(update_status=3, previous={"version": ""})
        self.find("version before is lost")
        (self.machine.install / "repository" / "state.json.damaged-1").write_text("")
        self.find("put aside")

    def test_what_the_journal_says(self):
        lines = self.journal().read_text().splitlines(keepends=True)
        self.journal().write_text("".join(lines[:-1]))
        self.find("history")
        self.journal().unlink()
        self.find("history")

    def test_what_is_left(self):
        (self.machine.install / "repository" / "beside").write_text("")
        self.find("left in the end")

    def test_a_machine_that_cannot_be_updated_any_more(self):
        (self.machine.install / "KV6KBMC" / "Yafuflash").unlink()
        self.find("the next update ends with 4")


if __name__ == "__main__":
    unittest.main()

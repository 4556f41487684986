"""What script/reliability makes of the endings of its parts."""

import pathlib
import shutil
import subprocess
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "script" / "reliability"


class Parts(unittest.TestCase):
    """The script in a tree of its own, in which a part is what a test says."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = pathlib.Path(folder.name)
        (self.tree / "script").mkdir()
        shutil.copy(SCRIPT, self.tree / "script")
        self.program("script/build", "exit 0")
        self.program("tests/support/unit", 'exec "$@"')
        self.part("load", "exit 0")
        self.part("day", "exit 0")
        (self.tree / "reliability/CMakeLists.txt").write_text("foreach(part IN ITEMS load day)\n")

    def program(self, path, body):
        path = self.tree / path
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("#!/bin/sh\n" + body + "\n")
        path.chmod(0o755)

    def part(self, name, body):
        folder = self.tree / "reliability" / name
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "CMakeLists.txt").write_text("orvane_add_reliability(" + name + " SOURCES a.cpp)\n")
        self.program(f"build/release/reliability/{name}/reliability_{name}", body)

    def run_script(self, *words):
        return subprocess.run([self.tree / "script/reliability", *words], capture_output=True, text=True, timeout=60)

    def test_all_parts_are_run(self):
        self.part("load", 'echo "load $1"')
        self.part("day", 'echo "day $1"')
        ended = self.run_script("--short")
        self.assertEqual((ended.returncode, ended.stdout), (0, "load --short\nday --short\n"))

    def test_a_part_that_fails_makes_the_run_fail_and_the_others_are_run(self):
        self.part("load", "exit 1")
        self.part("day", "echo here")
        ended = self.run_script()
        self.assertEqual((ended.returncode, ended.stdout), (1, "here\n"))

    def test_where_nothing_can_be_run_nothing_was_shown(self):
        self.part("load", "exit 125")
        ended = self.run_script("--short", "load")
        self.assertEqual(ended.returncode, 1)
        self.assertIn("load: NOT RUN", ended.stdout)

    def test_who_says_so_lets_parts_be_left_out(self):
        self.part("load", "exit 125")
        ended = self.run_script("--short", "--skip-ok")
        self.assertEqual(ended.returncode, 0)
        self.assertIn("load: NOT RUN", ended.stdout)

    def test_who_lets_parts_be_left_out_lets_none_fail(self):
        self.part("load", "exit 125")
        self.part("day", "exit 1")
        self.assertEqual(self.run_script("--skip-ok").returncode, 1)

    def test_a_part_that_does_not_end_is_ended_and_has_failed(self):
        self.part("load", "exec sleep 1000")
        ended = self.run_script("--deadline", "1", "load")
        self.assertEqual((ended.returncode, ended.stdout), (1, "load: BROKEN: not at its end after 1 s\n"))

    def test_a_deadline_is_a_number(self):
        self.assertEqual(self.run_script("--deadline", "soon").returncode, 2)


if __name__ == "__main__":
    unittest.main()

"""What script/fuzz takes for a search, and with --planted for the planted defect."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "script" / "fuzz"

# A search by this program leaves an input of that name behind; one input by itself, or those of the repository with
# -runs=0, are only read.
TARGET = """#!/bin/sh
for word; do
    case $word in
    -runs=0) exit 0 ;;
    -artifact_prefix=*) prefix=${word#-artifact_prefix=} ;;
    */found-crash-*) %(replay)s ;;
    esac
done
echo "does not hold: a == b"
[ -z "%(leaves)s" ] || echo input > "${prefix}%(leaves)s"
exit 77
"""


# A search, which executes something and finds nothing, and the reading of what it has reached.
SEARCH = """#!/bin/sh
case " $* " in
*" -runs=0 "*) %(reading)s; exit ;;
esac
%(search)s
"""
EXECUTES = "echo 'stat::number_of_executed_units: 5'"


class Tree(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = pathlib.Path(folder.name)
        for name in "script", "fuzz/corpus/angles", "build/fuzz/fuzz", "bin":
            (self.tree / name).mkdir(parents=True)
        shutil.copy(SCRIPT, self.tree / "script")
        (self.tree / "fuzz/CMakeLists.txt").write_text("orvane_add_fuzz(angles LINK a)\n")
        self.program("script/bootstrap", "#!/bin/sh\n")
        self.program("bin/cmake", "#!/bin/sh\n")

    def program(self, path, text):
        (self.tree / path).write_text(text)
        (self.tree / path).chmod(0o755)

    def fuzz(self, *options):
        path = f"{self.tree / 'bin'}:{os.environ['PATH']}"
        return subprocess.run(
            [self.tree / "script/fuzz", "--seconds", "1", *options],
            capture_output=True, text=True, timeout=60, env={**os.environ, "PATH": path},
        )  # fmt: skip


class Search(Tree):
    def search(self, search=EXECUTES, reading="", options=()):
        self.program("build/fuzz/fuzz/fuzz_angles", SEARCH % {"search": search, "reading": reading or ":"})
        return self.fuzz(*options)

    def test_a_search_that_finds_nothing_is_a_success(self):
        ended = self.search()
        self.assertEqual(ended.returncode, 0, ended.stdout + ended.stderr)
        self.assertIn("angles: 5 executions", ended.stdout)
        self.assertIn("nothing found", ended.stdout)

    def test_one_that_goes_on_begins_where_there_is_no_table_yet_and_is_done_by_what_it_holds(self):
        uses = EXECUTES + "; i=0; while [ $i -lt 300000 ]; do i=$((i + 1)); done"
        ended = self.search(uses, options=["--resume"])
        self.assertEqual(ended.returncode, 0, ended.stdout + ended.stderr)
        self.assertEqual(ended.stderr, "")
        self.assertIn("angles: 5 executions", ended.stdout)
        table = self.tree / "build/fuzz/results.tsv"
        table.write_text("now\tabc\tangles\t5.0\t5\t0\t0\tnothing\n")
        self.assertNotIn("executions", self.search(options=["--resume"]).stdout)

    def test_a_job_that_is_killed_is_none(self):
        ended = self.search("kill -KILL $PPID")
        self.assertEqual(ended.returncode, 1)
        self.assertIn("angles: NOT DONE", ended.stdout)

    def test_a_search_that_executes_nothing_is_none(self):
        ended = self.search("exit 0")
        self.assertEqual(ended.returncode, 1)
        self.assertIn("angles: NOT SEARCHED", ended.stdout)

    def test_a_leak_that_shows_at_the_end_only_is_a_finding(self):
        ended = self.search(reading="echo 'SUMMARY: 5 byte(s) leaked'; exit 1")
        self.assertEqual(ended.returncode, 1)
        self.assertIn("FOUND: 5 byte(s) leaked (build/fuzz/angles_leaks.log)", ended.stdout)
        self.assertIn("5 byte(s) leaked", (self.tree / "build/fuzz/results.tsv").read_text())


class Planted(Tree):
    def setUp(self):
        super().setUp()
        self.target("angles", replay="exit 0")
        self.target("angles_planted", leaves="crash-1", replay="exit 77")

    def target(self, name, leaves="", replay="exit 0"):
        self.program("build/fuzz/fuzz/fuzz_" + name, TARGET % {"leaves": leaves, "replay": replay})

    def planted(self):
        return self.fuzz("--planted")

    def test_what_ends_only_the_build_with_the_defect_is_it(self):
        ended = self.planted()
        self.assertEqual(ended.returncode, 0, ended.stdout + ended.stderr)
        self.assertIn("angles: the planted defect was found", ended.stdout)

    def test_what_ends_the_other_build_too_is_another_defect_and_is_kept(self):
        self.target("angles", replay="echo 'SUMMARY: of another'; exit 77")
        ended = self.planted()
        self.assertEqual(ended.returncode, 1)
        self.assertIn("NOT found, but another one: FOUND: of another", ended.stdout)
        self.assertTrue((self.tree / "build/fuzz/findings/angles/crash-1").is_file())

    def test_an_input_that_takes_too_long_is_not_the_defect(self):
        self.target("angles_planted", leaves="timeout-1", replay="exit 77")
        ended = self.planted()
        self.assertEqual(ended.returncode, 1)
        self.assertIn("NOT found", ended.stdout)
        self.assertIn("timeout-1", ended.stdout)

    def test_what_does_not_end_it_again_is_not_the_defect(self):
        self.target("angles_planted", leaves="crash-1", replay="exit 0")
        ended = self.planted()
        self.assertEqual(ended.returncode, 1)
        self.assertIn("NOT found", ended.stdout)


if __name__ == "__main__":
    unittest.main()

"""What script/fuzz --planted takes for the planted defect."""

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


class Planted(unittest.TestCase):
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
        self.target("angles", replay="exit 0")
        self.target("angles_planted", leaves="crash-1", replay="exit 77")

    def program(self, path, text):
        (self.tree / path).write_text(text)
        (self.tree / path).chmod(0o755)

    def target(self, name, leaves="", replay="exit 0"):
        self.program("build/fuzz/fuzz/fuzz_" + name, TARGET % {"leaves": leaves, "replay": replay})

    def planted(self):
        path = f"{self.tree / 'bin'}:{os.environ['PATH']}"
        return subprocess.run(
            [self.tree / "script/fuzz", "--planted", "--seconds", "1"],
            capture_output=True, text=True, timeout=60, env={**os.environ, "PATH": path},
        )  # fmt: skip

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

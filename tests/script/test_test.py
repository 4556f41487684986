"""What script/test tells of tests that were skipped, by a ctest that stands in for the real one."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "script" / "test"

# As ctest writes it: a test that was skipped by its status, one by what it said, one that says nothing, one of googletest.
RESULTS = """<?xml version="1.0" encoding="UTF-8"?>
<testsuite name="(empty)"
\ttests="%(tests)d"
\tfailures="0"
\tdisabled="%(disabled)d"
\tskipped="%(skipped)d"
\thostname=""
\t>
%(cases)s</testsuite>
"""
PASSED = """\t<testcase name="fine" classname="fine" time="0.01" status="run">
\t\t<system-out>a line
x.cpp:3: Skipped
</system-out>
\t</testcase>
"""
BY_STATUS = """\t<testcase name="%s" classname="golden" time="0.001" status="notrun">
\t\t<skipped message="SKIP_RETURN_CODE=125"/>
\t\t<system-out>%s
</system-out>
\t</testcase>
"""
SILENT = """\t<testcase name="silent" classname="silent" time="0.001" status="notrun">
\t\t<skipped message="SKIP_RETURN_CODE=125"/>
\t\t<system-out></system-out>
\t</testcase>
"""
GOOGLETEST = """\t<testcase name="Lock.Order/&lt;int&gt;" classname="Lock.Order" time="0.001" status="notrun">
\t\t<skipped message="SKIP_REGULAR_EXPRESSION_MATCHED"/>
\t\t<system-out>Note: Google Test filter = Lock.Order
[ RUN      ] Lock.Order
/x/LockTest.cpp:26: Skipped
this build doesn&apos;t check &quot;it&quot; &amp; more

[  SKIPPED ] Lock.Order (0 ms)
</system-out>
\t</testcase>
"""
DISABLED = """\t<testcase name="off" classname="off" time="0" status="disabled">
\t\t<system-out>Disabled</system-out>
\t</testcase>
"""
NO_SANDBOX = "sandbox: bwrap: No permissions to create new namespace"


class Skipped(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = pathlib.Path(folder.name)
        for name in "script", "build/dev", "bin":
            (self.tree / name).mkdir(parents=True)
        shutil.copy(SCRIPT, self.tree / "script")
        self.program("script/build", ":")
        self.program("bin/ctest", "cp results build/dev/test-results.xml")

    def program(self, path, text):
        (self.tree / path).write_text(f"#!/bin/sh\n{text}\n")
        (self.tree / path).chmod(0o755)

    def lines(self, *cases):
        counts = {
            "tests": len(cases), "skipped": sum("<skipped" in one for one in cases),
            "disabled": sum('"disabled"' in one for one in cases),
        }  # fmt: skip
        (self.tree / "results").write_text(RESULTS % {**counts, "cases": "".join(cases)})
        path = f"{self.tree / 'bin'}:{os.environ['PATH']}"
        ended = subprocess.run(
            [self.tree / "script/test"], capture_output=True, text=True, timeout=60, env={**os.environ, "PATH": path}
        )
        self.assertEqual((ended.returncode, ended.stderr), (0, ""))
        return ended.stdout.splitlines()

    def test_those_that_had_no_sandbox_are_named_in_one_line(self):
        cases = PASSED, BY_STATUS % ("golden.quiet-drive", NO_SANDBOX), PASSED, BY_STATUS % ("walk_through_Threats", NO_SANDBOX)
        self.assertEqual(
            self.lines(*cases),
            [f"2 skipped, since {NO_SANDBOX}: golden.quiet-drive, walk_through_Threats", "2 passed, 0 failed, 2 skipped"],
        )

    def test_each_reason_has_a_line(self):
        self.assertEqual(
            self.lines(BY_STATUS % ("a", "no &lt;unit&gt;"), SILENT, GOOGLETEST, DISABLED),
            [
                "1 skipped, since no <unit>: a",
                "1 skipped, since SKIP_RETURN_CODE=125: silent",
                "1 skipped, since this build doesn't check \"it\" & more: Lock.Order/<int>",
                "1 skipped, since Disabled: off",
                "0 passed, 0 failed, 4 skipped",
            ],
        )

    def test_reason_is_the_first_line_that_has_text_wherever_that_begins(self):
        cases = [
            BY_STATUS % ("own-line", NO_SANDBOX),
            BY_STATUS % ("next-line", f"\n{NO_SANDBOX}"),
            BY_STATUS % ("indented", f"\n  {NO_SANDBOX} \nand more"),
            (BY_STATUS % ("with-properties", NO_SANDBOX)).replace("\t\t<system-out>", "\t\t<properties/>\n\t\t<system-out>"),
            (BY_STATUS % ("one-line", NO_SANDBOX)).replace("\n</system-out>", "</system-out>"),
        ]
        self.assertEqual(
            self.lines(*cases)[0],
            f"5 skipped, since {NO_SANDBOX}: own-line, next-line, indented, with-properties, one-line",
        )

    def test_of_what_says_nothing_ctest_has_the_reason(self):
        cases = (
            BY_STATUS % ("blank", " "),
            SILENT,
            (SILENT % ()).replace('"silent"', '"no-output"').replace("\t\t<system-out></system-out>\n", ""),
            (SILENT % ()).replace('"silent"', '"closed"').replace("<system-out></system-out>", "<system-out/>"),
        )
        self.assertEqual(self.lines(*cases)[0], "4 skipped, since SKIP_RETURN_CODE=125: blank, silent, no-output, closed")

    def test_googletest_without_a_reason_has_that_of_ctest(self):
        silent = GOOGLETEST.replace("this build doesn&apos;t check &quot;it&quot; &amp; more\n", "")
        self.assertEqual(self.lines(silent)[0], "1 skipped, since SKIP_REGULAR_EXPRESSION_MATCHED: Lock.Order/<int>")

    def test_where_all_have_run_nothing_more_is_told(self):
        self.assertEqual(self.lines(PASSED), ["1 passed, 0 failed, 0 skipped"])


if __name__ == "__main__":
    unittest.main()

"""Tests of cmake/coverage.py."""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "cmake"))
import coverage  # noqa: E402


def line(number, count, *branches):
    return {"line_number": number, "count": count, "branches": [{"count": taken} for taken in branches]}


def places(file, *lines, text="text {}"):
    counts = {"files": [{"file": file, "lines": list(lines)}]}
    return list(coverage.places_of(counts, lambda file, number: text.format(number)))


class CoverageTest(unittest.TestCase):
    def test_line_is_complete_once_it_ran_and_all_its_branches_were_taken(self):
        run = places("face/HX_TSS.cpp", line(1, 1), line(2, 0), line(3, 1, 1, 0), line(4, 2, 1, 1))
        self.assertEqual([place.complete() for place in run], [True, False, False, True])

    def test_exception_that_passes_a_handler_is_no_branch(self):
        handler = "}} catch (const std::exception&) {{"
        run = places("a/B.cpp", line(1, 1, 1, 0), line(2, 0, 0, 0), text=handler)
        self.assertEqual([place.complete() for place in run], [True, False])

    def test_table_sums_lines_and_branches_of_a_folder(self):
        rows = list(coverage.table(places("platform/FPGA.cpp", line(1, 1, 1, 0), line(2, 0), line(3, 1), line(4, 5))))
        self.assertRegex(rows[1], r"^platform +3 of +4 +75.00 % +1 of +2 +50.00 %$")
        self.assertIn("(95 and 90: MISSED)", rows[3])

    def test_parser_misses_its_goal_by_one_branch(self):
        rows = list(coverage.table(places("ioss_mcsq/GssipMessage.cpp", line(1, 1, 1, 0))))
        self.assertIn("(100 and 100: MISSED)", rows[2])
        rows = list(coverage.table(places("ioss_mcsq/GssipMessage.cpp", line(1, 1, 1, 1))))
        self.assertIn("(100 and 100: kept)", rows[2])

    def test_exception_takes_its_line_out_of_the_count(self):
        run = places("a/B.cpp", line(1, 1), line(2, 0))
        counting, stale = coverage.split(run, {("a/B.cpp", "text 2")})
        self.assertEqual(([place.number for place in counting], stale), ([1], []))

    def test_exception_of_a_line_that_ran_or_is_gone_is_stale(self):
        run = places("a/B.cpp", line(1, 1))
        counting, stale = coverage.split(run, {("a/B.cpp", "text 1"), ("a/B.cpp", "gone")})
        self.assertEqual((len(counting), stale), (1, [("a/B.cpp", "gone"), ("a/B.cpp", "text 1")]))

    def test_exception_needs_a_reason(self):
        self.assertEqual(list(coverage.exceptions_of("# note\n\na/B.cpp: f(a::b); # never\n")),
                         [("a/B.cpp", "f(a::b);")])
        with self.assertRaises(SystemExit):
            list(coverage.exceptions_of("a/B.cpp: f();\n"))

    def test_units_are_told_apart_by_their_whole_name(self):
        self.assertTrue(coverage.is_strict("face/HX_Config.cpp"))
        self.assertFalse(coverage.is_strict("face/HX_Configuration.cpp"))
        self.assertFalse(coverage.is_strict("utilities/Stats.cpp"))


if __name__ == "__main__":
    unittest.main()

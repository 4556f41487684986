"""What script/coverage makes of counts, goals and exceptions, and what is counted of a process that aborts."""

import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "cmake"))
import coverage  # noqa: E402
import gcov_counts  # noqa: E402


def way(count, throw=False, fallthrough=False):
    return {"count": count, "throw": throw, "fallthrough": fallthrough}


def function(name, line, column):
    return {"name": name, "start_line": line, "start_column": column}


def ran(number, count, ways=(), name="f"):
    return {"line_number": number, "count": count, "branches": list(ways), "function_name": name}


def told(*objects, text="if (a) b();"):
    """Line, count and branches of what objects tell, each with its functions and its lines."""
    counts = gcov_counts.Counts()
    for functions, lines in objects:
        counts.add("a.cpp", functions, lines)
    files = counts.files(lambda file, number: text)
    return [
        (line["line_number"], line["count"], [branch["count"] for branch in line["branches"]])
        for file in files
        for line in file["lines"]
    ]


class Decisions(unittest.TestCase):
    def test_both_ways_of_a_condition_are_kept(self):
        self.assertEqual(gcov_counts.decisions_of([way(3, fallthrough=True), way(0)]), [3, 0])

    def test_a_call_that_may_throw_is_none(self):
        call = [way(5, fallthrough=True), way(0, throw=True)]
        self.assertEqual(gcov_counts.decisions_of(call), [])
        self.assertEqual(gcov_counts.decisions_of([*call, way(2, fallthrough=True), way(3), *call]), [2, 3])

    def test_a_call_that_always_throws_is_none(self):
        self.assertEqual(gcov_counts.decisions_of([way(2, fallthrough=True), way(3), way(1, throw=True)]), [2, 3])

    def test_less_than_nothing_is_nothing(self):
        self.assertEqual(gcov_counts.decisions_of([way(-1, fallthrough=True), way(4)]), [0, 4])


class Sums(unittest.TestCase):
    def test_what_objects_have_of_a_line_is_added_up(self):
        one = ([function("f", 1, 5)], [ran(2, 3, [way(3), way(0)])])
        other = ([function("f", 1, 5)], [ran(2, 1, [way(0), way(1)])])
        self.assertEqual(told(one, other), [(2, 4, [3, 1])])

    def test_instances_of_a_template_are_one(self):
        functions = [function("f<int>", 1, 5), function("f<char>", 1, 5)]
        lines = [ran(2, 3, [way(3), way(0)], "f<int>"), ran(2, 1, [way(0), way(1)], "f<char>")]
        self.assertEqual(told((functions, lines)), [(2, 4, [3, 1])])

    def test_instances_of_a_lambda_that_are_told_behind_each_other_are_one(self):
        functions = [function("f<int>::lambda", 2, 9), function("f<char>::lambda", 2, 9), function("main", 1, 1)]
        ways = [way(3, fallthrough=True), way(0), way(0, fallthrough=True), way(4)]
        line = {"line_number": 3, "count": 7, "branches": ways}
        self.assertEqual(told((functions, [line])), [(3, 7, [3, 4])])
        self.assertEqual(told((functions[1:], [line])), [(3, 7, [3, 0, 0, 4])])

    def test_two_functions_of_one_line_are_two(self):
        functions = [function("f", 1, 5), function("lambda", 2, 9)]
        lines = [ran(2, 3, [way(3), way(0)]), ran(2, 1, [way(0), way(1)], "lambda")]
        self.assertEqual(told((functions, lines)), [(2, 4, [3, 0, 0, 1])])

    def test_instances_with_other_decisions_are_kept_apart(self):
        functions = [function("f<int>", 1, 5), function("f<char>", 1, 5)]
        lines = [ran(2, 1, [way(1), way(0)], "f<int>"), ran(2, 0, [way(0)], "f<char>")]
        self.assertEqual(told((functions, lines)), [(2, 1, [1, 0, 0])])

    def test_a_line_of_braces_is_no_code(self):
        line = ([function("f", 1, 5)], [ran(2, 0, [way(0), way(0)])])
        for text in ("{", "  }  // namespace", "};", "else", ""):
            self.assertEqual(told(line, text=text), [], text)
        self.assertEqual(told(line, text="return {};"), [(2, 0, [0, 0])])


class Exceptions(unittest.TestCase):
    def test_a_place_is_named_with_its_reason(self):
        self.assertEqual(list(coverage.exceptions_of("# a\n\nb/c.cpp: f(); # why\n")), [("b/c.cpp", "f();")])

    def test_a_place_without_a_reason_is_refused(self):
        for line in ("b/c.cpp: f();", "b/c.cpp: f(); #", "b/c.cpp: f(); # ", "f();"):
            with self.assertRaises(SystemExit):
                list(coverage.exceptions_of(line))

    def test_what_is_no_exception_any_more_is_told(self):
        file = {"file": "a.cpp", "lines": [{"line_number": 1, "count": 1, "branches": [{"count": 1}, {"count": 0}]},
                                           {"line_number": 2, "count": 1, "branches": []}]}  # fmt: skip
        places = coverage.places_of({"files": [file]}, lambda file, number: {1: "f();", 2: "g();"}[number])
        counting, stale = coverage.split(places, {("a.cpp", "f();"), ("a.cpp", "g();"), ("a.cpp", "h();")})
        self.assertEqual([place.number for place in counting], [2])
        self.assertEqual(stale, [("a.cpp", "g();"), ("a.cpp", "h();")])


def places(file, count, taken, of):
    line = {"count": count, "branches": [{"count": 1}] * taken + [{"count": 0}] * (of - taken)}
    return [coverage.Place(file, 1, line, "f();")]


class Goals(unittest.TestCase):
    CODEC, OTHER = "aspn2_msgs/Layout.h", "platform/FPGA.cpp"

    def test_one_branch_missed_in_a_codec_is_told_by_the_status(self):
        self.assertEqual(coverage.status_of(places(self.CODEC, 1, 200, 200), []), 0)
        self.assertEqual(coverage.status_of(places(self.CODEC, 1, 199, 200), []), 1)

    def test_a_line_missed_is_told_by_the_status(self):
        self.assertEqual(coverage.status_of(places(self.CODEC, 0, 0, 0), []), 1)

    def test_the_rest_has_goals_of_its_own(self):
        self.assertEqual(coverage.status_of(places(self.OTHER, 1, 9, 10), []), 0)
        self.assertEqual(coverage.status_of(places(self.OTHER, 1, 8, 10), []), 1)

    def test_an_exception_that_is_none_is_told_by_the_status(self):
        self.assertEqual(coverage.status_of(places(self.CODEC, 1, 2, 2), [("a.cpp", "h();")]), 1)

    def test_the_table_says_which_goal_is_missed(self):
        *_, strict, rest = coverage.table(places(self.CODEC, 1, 2, 2) + places(self.OTHER, 1, 1, 2))
        self.assertTrue(strict.endswith("(100 and 100: kept)"), strict)
        self.assertTrue(rest.endswith("(95 and 90: MISSED)"), rest)


ABORTING = """
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

static void handle(int)
{
    if (write(1, "!", 1) != 1) _exit(9);  // line 9
}

static void abortAgain(int)
{
    std::abort();  // line 14
}

int main(int, char** arguments)
{
    if (std::strcmp(arguments[1], "blocked") == 0) {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
    }
    if (std::strcmp(arguments[1], "ignored") == 0) std::signal(SIGABRT, SIG_IGN);
    if (std::strcmp(arguments[1], "handled") == 0) std::signal(SIGABRT, handle);
    if (std::strcmp(arguments[1], "again") == 0) std::signal(SIGABRT, abortAgain);
    std::abort();  // line 27
}
"""


@unittest.skipUnless(shutil.which("g++") and shutil.which("gcov"), "no g++")
class Aborts(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        (cls.folder / "aborting.cpp").write_text(ABORTING)
        own = ROOT / "cmake/coverage/CountsAtEnd.cpp"
        for command in (
            ["g++", "-std=c++20", "-c", str(own), "-o", "own.o"],
            ["g++", "-std=c++20", "--coverage", "-c", "aborting.cpp"],
            ["g++", "--coverage", "aborting.o", "own.o", "-o", "aborting"],
        ):
            subprocess.run(command, cwd=cls.folder, check=True)

    def lines_after(self, how):
        """How often lines ran in a process that aborts, which has to be its end."""
        for counts in self.folder.glob("*.gcda"):
            counts.unlink()
        ended = subprocess.run([self.folder / "aborting", how], cwd=self.folder, timeout=30, stdout=subprocess.DEVNULL)
        self.assertEqual(ended.returncode, -signal.SIGABRT)
        (told,) = gcov_counts.told_by_gcov(str(self.folder / "aborting.gcno"))
        return {line["line_number"]: line["count"] for file in told["files"] for line in file["lines"]}

    def test_what_ran_before_an_abort_is_counted(self):
        self.assertEqual(self.lines_after("plain")[27], 1)

    def test_a_process_that_blocks_or_ignores_the_signal_ends_all_the_same(self):
        self.assertEqual(self.lines_after("blocked")[27], 1)
        self.assertEqual(self.lines_after("ignored")[27], 1)

    def test_what_a_handler_of_the_signal_ran_is_counted_once_and_so_is_what_was_before(self):
        lines = self.lines_after("handled")
        self.assertEqual((lines[9], lines[27]), (1, 1))

    def test_a_handler_that_aborts_ends_the_process(self):
        lines = self.lines_after("again")
        self.assertEqual((lines[14], lines[27]), (1, 1))


if __name__ == "__main__":
    unittest.main()

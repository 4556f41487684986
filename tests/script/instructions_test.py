"""What script/instructions takes from a profile, and what it makes of figures that differ from those that are kept."""

import importlib.machinery
import importlib.util
import pathlib
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def script():
    """script/instructions, which has no ending."""
    loader = importlib.machinery.SourceFileLoader("instructions_script", str(ROOT / "script/instructions"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
    loader.exec_module(module)
    return module


sys.dont_write_bytecode = True
instructions = script()
Figure = instructions.Figure


def profile(lines, title="join 10", thread=1):
    return f"thread: {thread}\n\ndesc: Trigger: Client Request: {title}\nevents: Ir\nsummary: 0\n\n" + "\n".join(lines)


class Profiles(unittest.TestCase):
    def figure(self, *lines):
        return instructions.figures_of([profile(lines)])["join"]

    def test_a_figure_is_the_mean_of_the_calls(self):
        self.assertEqual(self.figure("ob=(1) /bin/part", "fn=(1) main", "12 30", "+1 20"), Figure(5, 0))

    def test_lines_are_told_in_every_form(self):
        self.assertEqual(self.figure("ob=(1) /bin/part", "12 10", "+3 10", "-2 10", "* 10").instructions, 4)

    def test_the_c_library_is_left_out(self):
        lines = ("ob=(1) /lib/libc.so.6", "5 1000", "ob=(2) /lib/libm.so.6", "5 1000",
                 "ob=(3) /lib/ld-linux-x86-64.so.2", "5 1000", "ob=(4) /lib/libcrypto.so.3", "5 10")
        self.assertEqual(self.figure(*lines).instructions, 1)

    def test_a_number_stands_for_a_name_told_before(self):
        lines = ("ob=(1) /bin/part", "cob=(2) /lib/libc.so.6", "cfn=(7) free", "calls=1 0", "3 99",
                 "ob=(2)", "5 1000", "ob=(1)", "5 10")
        self.assertEqual(self.figure(*lines).instructions, 1)

    def test_what_a_call_takes_inside_is_counted_there_alone(self):
        self.assertEqual(self.figure("ob=(1) /bin/part", "cfn=(2) inner", "calls=4 7", "9 5000", "10 20").instructions, 2)

    def test_requests_for_memory_are_counted_where_they_are_made(self):
        lines = ("ob=(1) /bin/part", "fn=(1) main", "cfn=(2) malloc", "calls=20 0", "9 800",
                 "cfn=(3) free", "calls=20 0", "9 800", "ob=(2) /lib/libc.so.6", "fn=(4) realloc",
                 "cfn=(2)", "calls=50 0", "9 800")
        self.assertEqual(self.figure(*lines).requests, 2)

    def test_other_threads_and_other_profiles_are_no_figures(self):
        lines = ("ob=(1) /bin/part", "12 30")
        ending = profile(lines).replace("Client Request: join 10", "Program termination")
        self.assertEqual(instructions.figures_of([profile(lines, thread=2), ending]), {})


class Judgement(unittest.TestCase):
    def lines(self, kept, counted, **options):
        return list(instructions.judged({"join": Figure(*kept)}, {"join": Figure(*counted)}, **options))

    def test_three_percent_are_room_both_ways(self):
        self.assertEqual(self.lines((1000, 1), (1030, 1)), [])
        self.assertEqual(self.lines((1000, 1), (970, 1)), [])

    def test_more_is_broken(self):
        self.assertEqual(self.lines((1000, 1), (1031, 1)), [("join: MORE instructions: 1031 for 1000", True)])

    def test_less_is_told_only(self):
        self.assertEqual(self.lines((1000, 1), (969, 1)),
                         [("join: less instructions: 969 for 1000; --update keeps it", False)])

    def test_two_instructions_are_room_for_a_short_call(self):
        self.assertEqual(self.lines((20, 0), (22, 0)), [])
        self.assertEqual(self.lines((20, 0), (22.5, 0)), [("join: MORE instructions: 22.5 for 20", True)])

    def test_one_more_request_in_a_hundred_calls_is_broken(self):
        self.assertEqual(self.lines((1000, 4), (1000, 4.01)), [("join: MORE requests for memory: 4.01 for 4", True)])

    def test_a_figure_without_a_kept_one_is_broken(self):
        self.assertEqual(list(instructions.judged({}, {"join": Figure(7, 0)})),
                         [("join: NOT KEPT, 7.0 instructions were counted; --update keeps it", True)])

    def test_a_kept_figure_that_was_not_counted_is_broken(self):
        kept = {"join": Figure(7, 0)}
        self.assertEqual(list(instructions.judged(kept, {})), [("join: NOT COUNTED; --update forgets it", True)])
        self.assertEqual(list(instructions.judged(kept, {}, is_all=False)), [])


class Programs(unittest.TestCase):
    def test_what_the_build_does_not_list_any_more_is_left_alone(self):
        with tempfile.TemporaryDirectory() as folder:
            folder = pathlib.Path(folder)
            (folder / "programs.txt").write_text("queue\nevents\n")
            (folder / "instructions_gone").touch()
            self.assertEqual([path.name for path in instructions.found(folder, [])],
                             ["instructions_events", "instructions_queue"])
            with self.assertRaisesRegex(instructions.Failed, "^gone: no such program; there are: events queue$"):
                instructions.found(folder, ["gone"])


class File(unittest.TestCase):
    def test_what_is_written_is_read(self):
        figures = {"join": Figure(4767.1, 0), "configuration.all.11": Figure(172089, 246.25)}
        self.assertEqual(instructions.read(instructions.written(figures)), figures)

    def test_a_line_that_is_no_figure_is_refused(self):
        with self.assertRaisesRegex(instructions.Failed, "^line 2: .*: join many 0$"):
            instructions.read("# figures\njoin many 0\n")

    def test_what_is_kept_can_be_read(self):
        self.assertIn("inputs.and.join", instructions.read((ROOT / "bench/instructions.txt").read_text()))


if __name__ == "__main__":
    unittest.main()

"""What script/instructions takes from a profile, and what it makes of figures that differ from those that are kept."""

import importlib.machinery
import importlib.util
import io
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


class EmulatorsLog(unittest.TestCase):
    BEGIN = "Trace 0: 0x7f [00000000/40001000/00000000/00000000] instructions_begin\n"
    END = "Trace 0: 0x7f [00000000/40002000/00000000/00000000] instructions_end\n"
    STEP = "Trace 0: 0x7f [00000000/40003000/00000000/00000000] main\n"
    OTHER = "Trace 1: 0x7f [00000000/40003000/00000000/00000000] main\n"
    ASKED = "Trace 0: 0x7f [00000000/3f000010/00000000/00000000] \n"

    def counts(self, *lines, requests=()):
        return list(instructions.counts_of(io.BytesIO("".join(lines).encode()), requests))

    def test_what_stands_between_the_marks_is_counted(self):
        self.assertEqual(self.counts(self.STEP, self.BEGIN, self.STEP, self.STEP, self.END, self.STEP), [(2, 0)])

    def test_each_pair_of_marks_is_a_figure(self):
        once = (self.BEGIN, self.STEP, self.END, self.END)
        self.assertEqual(self.counts(*once, self.STEP, self.BEGIN, self.STEP, self.STEP, self.END), [(1, 0), (2, 0)])

    def test_another_thread_is_left_out(self):
        self.assertEqual(self.counts(self.BEGIN, self.OTHER, self.STEP, self.END), [(1, 0)])

    def test_a_request_for_memory_is_no_instruction(self):
        lines = (self.BEGIN, self.STEP, self.ASKED, self.STEP, self.END)
        self.assertEqual(self.counts(*lines, requests=[b"/3f000010/"]), [(2, 1)])

    def test_a_log_that_comes_in_pieces_is_counted_whole(self):
        lines = "".join((self.BEGIN, self.STEP * 5, self.END, self.BEGIN, self.STEP * 3, self.END)).encode()

        class Pieces:
            def __init__(self):
                self.rest = lines

            def read(self, _):
                piece, self.rest = self.rest[:7], self.rest[7:]
                return piece

        self.assertEqual(list(instructions.counts_of(Pieces(), [])), [(5, 0), (3, 0)])

    def test_code_outside_of_the_c_library_is_looked_at_and_where_that_hands_out_memory(self):
        maps = ("40000000-40002000 r--p 00000000 00:1b 1 /build/part\n"
                "40002000-40005000 r-xp 00002000 00:1b 1 /build/part\n"
                "3f000000-3f100000 r-xp 00000000 00:1b 2 /lib/libc.so.6\n"
                "3e000000-3e001000 r-xp 00000000 00:1b 3 /lib/libcrypto.so.3\n"
                "3d000000-3d001000 rwxp 00000000 00:00 0\n")
        ranges, requests = instructions.looked_at(maps, names_of=lambda path: [0x10] if path.name == "libc.so.6" else [])
        self.assertEqual(ranges, ["0x40002000+0x3000", "0x3e000000+0x1000", "0x3f000010+1"])
        self.assertEqual(requests, [b"/3f000010/"])


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

    def test_only_what_the_emulator_can_run_is_built_for_it(self):
        self.assertEqual(instructions.emulated_ones(["queue"]), ["queue"])
        self.assertEqual(instructions.emulated_ones([]), ["codecs", "events", "queue", "server"])
        with self.assertRaisesRegex(instructions.Failed, "^transport: no program for the emulator; there are: codecs "):
            instructions.emulated_ones(["transport"])


class File(unittest.TestCase):
    def test_what_is_written_is_read(self):
        figures = {"join": Figure(4767.1, 0), "configuration.all.11": Figure(172089, 246.25)}
        self.assertEqual(instructions.read(instructions.written(figures)), figures)

    def test_a_line_that_is_no_figure_is_refused(self):
        with self.assertRaisesRegex(instructions.Failed, "^line 2: .*: join many 0$"):
            instructions.read("# figures\njoin many 0\n")

    def test_what_is_kept_can_be_read(self):
        self.assertIn("inputs.and.join", instructions.read((ROOT / "bench/instructions.txt").read_text()))
        self.assertIn("inputs.and.join", instructions.read((ROOT / "bench/instructions-armhf.txt").read_text()))


if __name__ == "__main__":
    unittest.main()

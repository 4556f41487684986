"""What replay_test.py takes from a run and its replay, and what it makes of them."""

import contextlib
import io
import json
import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import replay_test  # noqa: E402

golden = replay_test.load_golden()

START = 1772323200.25  # of the scenario


def tell(name, at, **members):
    return json.dumps({"type": "tell", "tell": name, "at_ms": int((START + at) * 1000), **members}, separators=(",", ":"))


def navigation(at, second, **record):
    time = {"year": 2026, "month": 3, "day": 1, "hour": 0, "minute": 0, "seconds": second, "nanoseconds": 5}
    return tell("blended-navigation", at, timeOfValidity=time, record=record)


class Start(unittest.TestCase):
    def test_navigation_is_there_with_its_first_time(self):
        without = tell("blended-navigation", 1, timeOfValidity=None)
        other = tell("system-configuration", 1, timeOfValidity={"year": 2026})
        self.assertFalse(replay_test.has_navigation(f"{without}\n{other}\n"))
        self.assertTrue(replay_test.has_navigation(f"{without}\n{navigation(2, 1)}\n"))


class End(unittest.TestCase):
    def kept(self, *lines):
        return replay_test.of_scenario(lines, START, 30.0)

    def test_what_was_told_behind_the_last_second_is_left_out(self):
        last, behind = tell("warning-messages", 30), tell("warning-messages", 30.1)
        self.assertEqual(self.kept(last, behind), [last])

    def test_navigation_is_there_however_late_it_was_told(self):
        late = navigation(31, 30)
        self.assertEqual(self.kept(late), [late])

    def test_what_has_no_moment_is_there(self):
        hello = json.dumps({"type": "hello"})
        self.assertEqual(self.kept(hello), [hello])


class Told(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)
        self.out = pathlib.Path(self.directory.name)
        (self.out / "bus.errors").write_text("")

    def text(self, start, *lines):
        (self.out / "started").write_text(f"{start}\n")
        (self.out / "bus.until-end").write_text("".join(f"{line}\n" for line in lines))
        return replay_test.text_of(self.out, 1772323200, 30.0)

    def test_moments_are_those_since_the_start_of_each(self):
        result = tell("clear-system-data", 20, result=1)
        self.assertIn("told at 20.0 s", self.text(START, result))
        self.assertIn("told at 13.5 s", self.text(START + 6.5, result))

    def test_what_the_client_of_the_bus_complains_about_is_there(self):
        (self.out / "bus.errors").write_text("orvanectl: the bus has closed\n")
        self.assertIn("orvanectl: the bus has closed", self.text(START))


class Difference(unittest.TestCase):
    NAVIGATION = ["== blended-navigation", "2026-03-01 00:00:12.000000005", "    fom 1", ""]

    def difference(self, run, again, late=0.0):
        return replay_test.difference([*self.NAVIGATION, *run], [*self.NAVIGATION, *again], late)

    def test_moment_that_is_near_is_the_same(self):
        self.assertEqual(self.difference(["warning 5 at 14.0 s"], ["warning 5 at 15.5 s"]), "")
        self.assertEqual(self.difference(["warning 5 at 14.0 s"], ["warning 5 at 16.5 s"], 1.0), "")

    def test_moment_that_is_farther_off_is_told(self):
        told = self.difference(["warning 5 at 14.0 s"], ["warning 5 at 15.6 s"])
        self.assertIn("\n-warning 5 at 14.0 s\n+warning 5 at 15.6 s\n", told)

    def test_what_is_missing_is_told_and_so_is_what_is_new(self):
        self.assertIn("\n-warning 5 at 14.0 s\n", self.difference(["warning 5 at 14.0 s"], []))
        self.assertIn("\n+warning 5 at 14.0 s\n", self.difference([], ["warning 5 at 14.0 s"]))

    def test_time_of_navigation_is_compared_exactly(self):
        again = [line.replace("000000005", "000000006") for line in self.NAVIGATION]
        self.assertIn("+2026-03-01 00:00:12.000000006\n", replay_test.difference(self.NAVIGATION, again, 0.0))

    def test_run_without_navigation_is_no_success(self):
        nothing = ["== blended-navigation", ""]
        self.assertEqual(replay_test.difference(nothing, nothing, 0.0), "the run told no Blended Navigation\n")


class Check(unittest.TestCase):
    """Tries that are made up."""

    def setUp(self):
        self.rates = []
        self.told = io.StringIO()

    def check(self, *tries):
        """@param tries  what each tells otherwise, with by how much it was late if it was, or raises"""
        left = list(tries)

        def play(rate, start):
            self.rates.append((round(rate, 2), start))
            one = left.pop(0)
            if isinstance(one, Exception):
                raise one
            changed, late = (one, 0.0) if isinstance(one, str) else one
            return changed, late, "34 messages played\n"

        with contextlib.redirect_stderr(self.told):
            return replay_test.check(golden, "a", 50.0, play)

    def failure(self, *tries):
        with self.assertRaises(golden.Failed) as raised:
            self.check(*tries)
        return str(raised.exception)

    def test_replay_that_tells_the_same_is_enough(self):
        self.assertEqual(self.check(""), "replay: a: the same was told, 50 times as fast\n34 messages played\n")
        self.assertEqual(self.told.getvalue(), "")

    def test_replay_that_tells_the_same_counts_however_late_the_machine_was(self):
        self.assertIn("the same was told", self.check(("", 3.0)))

    def test_what_differs_is_told_though_a_slower_replay_does_not(self):
        self.assertIn("(not the same in 1 before, too slow a machine for 0)", self.check("+wrong\n", ""))
        self.assertEqual(
            self.told.getvalue(), "replay: a: not the same, 50 times as fast\n+wrong\n34 messages played\n"
        )

    def test_what_differs_twice_fails(self):
        self.assertEqual(
            self.failure("+odd\n", "+wrong\n", ""), "something else is told than in the run, in 2 of 2 replays\n+wrong\n"
        )

    def test_difference_of_a_machine_that_was_late_is_not_counted(self):
        shown = self.check(("+wrong\n", 0.4), ("+wrong\n", 0.4), "+wrong\n", "")
        self.assertIn("1.52 times as fast (not the same in 1 before, too slow a machine for 2)", shown)
        self.assertIn("replay: a: too slow a machine for 50 times as fast, 0.4 s behind\n+wrong\n", self.told.getvalue())

    def test_slow_machine_is_told_and_tried_again(self):
        self.assertIn("too slow a machine for 1)", self.check(golden.TooSlow("    no bus\n"), ""))
        self.assertEqual(self.told.getvalue(), "replay: a: too slow a machine for 50 times as fast\n    no bus\n")

    def test_machine_that_is_too_slow_at_every_rate_is_a_failure(self):
        self.assertEqual(self.failure(*[golden.TooSlow("")] * 4), "the machine is too slow for any run")
        self.assertEqual(self.rates, [(50.0, 1.0), (16.67, 0.5), (5.0, 0.25), (1.52, 0.1)])

    def test_program_that_has_ended_fails_at_once(self):
        self.assertEqual(self.failure(golden.Failed("console has ended"), ""), "console has ended")

    def test_slow_try_may_take_longer(self):
        self.assertEqual(replay_test.longest(golden, 50.0, 10.0, 1.0), 195.0)
        self.assertEqual(replay_test.longest(golden, 50.0, 0.5, 0.1), 380.0)


class Arguments(unittest.TestCase):
    def test_options_of_the_unit_are_words(self):
        read = replay_test.eval_numbers(["b", "s.txt", "30", "10", "5", "--seed 2"])
        self.assertEqual(read, ["b", "s.txt", 30.0, 10.0, "5", ["--seed", "2"]])

    def test_replay_has_none(self):
        self.assertEqual(replay_test.eval_numbers(["b", "run.mcap", "30", "10"]), ["b", "run.mcap", 30.0, 10.0])


if __name__ == "__main__":
    unittest.main()

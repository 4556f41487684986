"""What script/golden takes from a run, and what it leaves out."""

import contextlib
import importlib.machinery
import importlib.util
import io
import json
import pathlib
import re
import socket
import stat
import sys
import tempfile
import unittest
import unittest.mock

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "lab"))
from golden import outcome, unit  # noqa: E402


def script():
    """script/golden, which has no ending."""
    loader = importlib.machinery.SourceFileLoader("golden_script", str(ROOT / "script/golden"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
    loader.exec_module(module)
    return module


sys.dont_write_bytecode = True
golden = script()

UTC = 1772323200  # 2026-03-01


START = UTC + 0.25  # of the scenario


def tell(name, at=2.0, **members):
    return line("tell", at, tell=name, **members)


def line(kind, at, **members):
    return json.dumps({"type": kind, "number": 7, "at_ms": int((START + at) * 1000), **members})


def navigation(second, year=2026, **record):
    time = {"year": year, "month": 3, "day": 1, "hour": 0, "minute": 0, "seconds": second, "nanoseconds": 5}
    return tell("blended-navigation", second, timeOfValidity=time, record=record)


def threat(azimuth, second):
    return {"azimuth_rad": azimuth, "power": -70.0, "time": {"seconds": second}}


def warning(number, text=""):
    return {"warningId": number, "customText": text, "customTextValid": int(text != "")}


def bus(*lines):
    return outcome.bus(lines, UTC, 30, START)


class Numbers(unittest.TestCase):
    def test_reals_have_nine_digits(self):
        self.assertEqual(outcome.number(1.23456789049), "1.23456789")
        self.assertEqual(outcome.number(12345678901.0), "1.23456789e+10")

    def test_texts_stand_in_quotes(self):
        self.assertEqual(outcome.number("a b"), '"a b"')

    def test_leaves_have_their_paths(self):
        self.assertEqual(outcome.flat({"a": [{"b": 1}], "c": []}), [("a.0.b", "1"), ("c", "-")])


class BlendedNavigation(unittest.TestCase):
    def test_later_records_tell_what_has_changed(self):
        self.assertEqual(
            bus(navigation(12, fom=1, efom=5), navigation(13, fom=2, efom=5)),
            ["== blended-navigation", "2026-03-01 00:00:12.000000005", "    fom 1", "    efom 5",
             "2026-03-01 00:00:13.000000005", "    fom 2", ""],
        )  # fmt: skip

    def test_what_is_no_more_is_told(self):
        self.assertIn("    sources.1 gone", bus(navigation(12, sources=[1, 2]), navigation(13, sources=[1])))

    def test_what_was_told_before_the_tenth_second_or_behind_the_end_is_left_out(self):
        shown = bus(navigation(9, fom=1), navigation(10, fom=2), navigation(30, fom=3), navigation(31, fom=4))
        self.assertEqual([line for line in shown if "fom" in line], ["    fom 2", "    fom 3"])

    def test_record_of_a_date_that_is_nonsense_is_there_by_when_it_was_told(self):
        shown = bus(navigation(9, 29391827, fom=1), navigation(12, 29391827, fom=2), navigation(13, 1999, fom=3))
        self.assertEqual(
            shown,
            ["== blended-navigation", "29391827-03-01 00:00:12.000000005", "    fom 2", "1999-03-01 00:00:13.000000005",
             "    fom 3", ""],
        )  # fmt: skip

    def test_record_without_a_time_is_left_out(self):
        self.assertEqual(bus(tell("blended-navigation", timeOfValidity=None, record={"fom": 9})), ["== blended-navigation", ""])


class Lists(unittest.TestCase):
    def test_threats_are_told_without_their_time(self):
        shown = bus(
            tell("navwar-sa", 11.5, record={"threats": [threat(1.5, 3)]}), tell("navwar-sa", 12.5, record={"threats": []}),
            tell("navwar-sa", 13.5, record={"threats": [threat(1.5, 4), threat(2.5, 5)]}),
        )  # fmt: skip
        self.assertEqual(
            shown,
            ["== navwar-sa", "threat at 11.5 s", "    azimuth_rad 1.5", "    power -70", "threat at 13.5 s",
             "threat at 13.5 s", "    azimuth_rad 2.5", ""],
        )  # fmt: skip

    def test_warning_is_told_once_however_often_its_list_is(self):
        lists = [], [warning(5)], [warning(5)], [warning(5), warning(75, "ANTENNA OPEN")]
        shown = bus(
            *(tell("warning-messages", 10.0 + at, record={"gpsSeconds": 1.0, "warnings": each}) for at, each in enumerate(lists))
        )
        self.assertEqual(shown, ["== warning-messages", "warning 5 at 11.0 s", 'warning 75 "ANTENNA OPEN" at 13.0 s', ""])

    def test_list_that_was_cleared_begins_anew(self):
        shown = bus(*(tell("warning-messages", record={"warnings": each}) for each in ([warning(5)], [], [warning(5)])))
        before = "before 10 s"
        self.assertEqual(
            shown, ["== warning-messages", f"warning 5 {before}", f"another list {before}", f"warning 5 {before}", ""]
        )

    def test_changes_of_the_system_and_its_last_configuration_are_there(self):
        names = (5, "early"), (9, "wait"), (14, "wait"), (24, "Kolt"), (25, "Kolt")
        shown = bus(*(tell("system-configuration", at, record={"systemName": name, "count": at}) for at, name in names))
        self.assertEqual(
            shown,
            ["== system-configuration", 'system "wait" before 10 s', 'system "Kolt" at 24.0 s',
             '    record.systemName "Kolt"', "    record.count 25", ""],
        )  # fmt: skip

    def test_every_result_is_there(self):
        shown = bus(tell("clear-system-data", 9.9, result=1), tell("clear-system-data", 10, result=1))
        self.assertEqual(
            shown, ["== clear-system-data", "told before 10 s", "    result 1", "told at 10.0 s", "    result 1", ""]
        )

    def test_misuse_is_there(self):
        self.assertIn("== misuse", bus(json.dumps({"type": "misuse", "what": "a call"})))

    def test_faults_and_held_tells_are_there(self):
        shown = bus(line("faults", 12, faults=[{"id": 1}]), line("held", 13, tell="navwar-sa", milliseconds=5))
        self.assertEqual(
            shown,
            ["== faults", "told at 12.0 s", "    faults.0.id 1", "", "== held", "told at 13.0 s", "    milliseconds 5", ""],
        )

    def test_of_the_services_start_the_last_is_there_and_then_all(self):
        groups = [{"group": 1, "calls": 34}]
        events = (1, "created"), (2, "started"), (30, "deleted"), (30, "created")
        shown = bus(*(line("service", at, event=event, groups=groups) for at, event in events))
        self.assertEqual([one for one in shown if "group" not in one], [
            "the service has started at 2.0 s", "", "== service", "told before 10 s", '    event "started"', "told at 30.0 s", '    event "deleted"',
            "told at 30.0 s", '    event "created"', "",
        ])  # fmt: skip
        self.assertIn("    groups.0.group 1", shown)
        self.assertNotIn("    groups.0.calls 34", shown)


class Moments(unittest.TestCase):
    def settled(self, kept, shown, later=0.0, late=0.0):
        return outcome.settled([kept], [shown], later, late)[0]

    def near(self, kept, *moments, later=0.0, late=0.0):
        """Which of the moments are taken for the one that is kept."""
        what, moment = re.fullmatch(r"(.*)( at \d+\.\d s)", kept).groups()
        shown = [f"{what} at {one:.1f} s" for one in moments]
        return [one for one, line in zip(moments, shown) if self.settled(kept, line, later, late) == kept]

    def test_moment_that_is_near_is_that_which_is_kept(self):
        self.assertEqual(self.settled("told at 14.0 s\n", "told at 14.5 s\n"), "told at 14.0 s\n")

    def test_moment_that_is_farther_off_is_another(self):
        self.assertEqual(self.settled("told at 14.0 s\n", "told at 14.6 s\n"), "told at 14.6 s\n")

    def test_machine_that_was_in_time_is_hardly_off(self):
        for what in ("told", "== EventLog from OrvaneServer"):
            self.assertEqual(self.near(f"{what} at 14.0 s", 13.4, 13.5, 14.0, 14.5, 14.6), [13.5, 14.0, 14.5])

    def test_machine_that_was_late_tells_later_by_as_much(self):
        self.assertEqual(self.near("told at 14.0 s", 13.4, 13.5, 14.6, 15.7, 15.8, late=1.2), [13.5, 14.6, 15.7])
        self.assertEqual(self.near("threat at 14.0 s", 12.4, 12.5, 16.7, 16.8, late=1.2), [12.5, 16.7])

    def test_what_a_list_has_may_be_told_a_second_off(self):
        for what in ("warning 5", 'warning 75 "told at 3"', "another list", "threat", 'system "Kolt Gen II"'):
            self.assertEqual(self.near(f"{what} at 14.0 s", 12.4, 12.5, 15.5, 15.6), [12.5, 15.5], what)

    def test_what_follows_from_the_start_may_be_off_by_as_much(self):
        moments = 12.3, 12.4, 13.4, 13.5, 14.5, 14.6
        self.assertEqual(self.near("told at 14.0 s", *moments, later=-1.1), [12.4, 13.4, 13.5, 14.5])
        self.assertEqual(self.near("told at 14.0 s", 13.4, 13.5, 14.6, 16.5, 17.5, 17.6, later=3.0), [13.5, 16.5, 17.5])

    def test_moment_before_the_tenth_second_is_as_the_tenth(self):
        self.assertEqual(self.settled("told before 10 s", "told at 10.5 s"), "told before 10 s")
        self.assertEqual(self.settled("told before 10 s", "told at 10.6 s"), "told at 10.6 s")
        self.assertEqual(self.settled("told at 10.5 s", "told before 10 s"), "told at 10.5 s")
        self.assertEqual(self.settled("told at 10.6 s", "told before 10 s"), "told before 10 s")

    def test_what_happened_is_compared_exactly(self):
        self.assertEqual(self.settled("warning 5 at 14.0 s", "warning 6 at 14.0 s"), "warning 6 at 14.0 s")
        self.assertEqual(self.settled("    text at 14.0 seconds", "    text at 14.1 seconds"), "    text at 14.1 seconds")

    def test_what_is_missing_moves_no_other_moment(self):
        kept = ["told at 12.0 s", "    result 1", "told at 20.0 s", "    result 2"]
        self.assertEqual(outcome.settled(kept, ["told at 20.5 s", "    result 2"]), ["told at 20.0 s", "    result 2"])


class Start(unittest.TestCase):
    def lines(self, *times):
        return bus(*(line("service", at, event=event, groups=[]) for at, event in times))

    def test_first_start_is_told(self):
        shown = self.lines((0.5, "created"), (0.9, "started"), (20, "deleted"), (21, "started"))
        self.assertEqual(shown[:2], ["the service has started at 0.9 s", ""])

    def test_start_is_not_compared_itself(self):
        kept, late, early = (self.lines((at, "started")) for at in (0.9, 7.2, -0.2))
        self.assertEqual(outcome.settled(kept, late), kept)
        self.assertEqual(outcome.settled(kept, early), kept)

    def test_later_start_is_known(self):
        kept, shown = ("\n".join(self.lines((at, "started"))) for at in (0.9, 1.4))
        self.assertAlmostEqual(outcome.later_start(kept, shown), 0.5)
        self.assertAlmostEqual(outcome.later_start(shown, kept), -0.5)
        self.assertEqual(outcome.later_start("", shown), 0.0)


class Pace(unittest.TestCase):
    def warnings(self, *times):
        return [tell("warning-messages", at, record={"warnings": []}) for at in times]

    def test_list_of_warnings_that_comes_each_second_is_in_time(self):
        told = [line("service", 0.5, event="started"), *self.warnings(1.5, 2.5, 3.5)]
        self.assertAlmostEqual(outcome.dawdled(told, START), 0.0, 3)

    def test_list_that_is_late_tells_by_how_much(self):
        told = [line("service", 0.5, event="started"), *self.warnings(1.5, 2.9, 3.5)]
        self.assertAlmostEqual(outcome.dawdled(told, START), 0.4, 3)

    def test_start_has_a_second(self):
        self.assertAlmostEqual(outcome.dawdled([line("service", 3.0, event="started")], START), 2.0, 3)

    def test_time_without_a_service_is_not_late(self):
        begin, again = (line("service", at, event="started") for at in (0.5, 19))
        told = [begin, *self.warnings(1.5), again, *self.warnings(20)]
        self.assertAlmostEqual(outcome.dawdled(told, START), 0.0, 3)


class Words(unittest.TestCase):
    def test_events_tell_their_topic_and_sender(self):
        header = {"device_id": {"server_name": "OrvaneServer"}, "timestamp_valid": {"sec": 72, "nsec": 680325919}}
        record = {"kind": "record", "topic": "EventLog", "header": header, "message": {"eventlog": "begun 2026-03-01T00:00:01Z"}}
        self.assertEqual(
            outcome.events([json.dumps(record), json.dumps({"kind": "sum"})]),
            ["== EventLog from OrvaneServer at 12.7 s", '    eventlog "begun TIME"'],
        )


    def test_begin_of_a_built_in_test_is_left_out(self):
        result = {"builtInTestId": "0", "status": 2, "startTime": {"year": 182, "seconds": 8}}
        shown = bus(tell("built-in-test-results", record={"results": [result]}))
        self.assertEqual(
            shown,
            ["== built-in-test-results", "told before 10 s", '    record.results.0.builtInTestId "0"', "    record.results.0.status 2", ""],
        )

    def test_request_shows_what_it_has_printed_and_its_status(self):
        lines = [
            "29 execute-built-in-tests  expected s 25.0  test 0", "31 blended-navigation  2026-03-01 00:00:12.000  fom 1",
            json.dumps({"type": "answer", "request": "bit-run", "id": "orvanectl-81", "ok": True}),
        ]  # fmt: skip
        one = {"seconds": 18.0, "words": ["bit-run"], "status": 1}
        self.assertEqual(
            outcome.request(one, lines, ["orvanectl: gone"]),
            ["== at 18 bit-run", "execute-built-in-tests  expected s 25.0  test 0", "blended-navigation  fom 1", "answer",
             "    ok true", "orvanectl: gone", "status 1", ""],
        )  # fmt: skip

    def test_line_of_a_source_is_left_out(self):
        self.assertEqual(
            outcome.console(["Server.cpp[228]: gone [3]"], [START + 12.34], START), ["Server.cpp[LINE]: gone [3]  at 12.3 s"]
        )

    def test_line_of_the_console_that_has_a_moment_is_compared_as_others(self):
        kept, shown, late = ([f"Timeout of 10 seconds  at {at} s"] for at in (13.9, 13.4, 16.0))
        self.assertEqual(outcome.settled(kept, shown), kept)
        self.assertEqual(outcome.settled(kept, late), late)
        self.assertEqual(outcome.settled(kept, late, 0.0, 2.0), kept)

    def test_what_is_no_record_is_told_by_its_file(self):
        with self.assertRaisesRegex(outcome.Unreadable, "bus: no JSON: orvanectl: gone"):
            bus("orvanectl: gone")


class Files(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)
        self.out = pathlib.Path(self.directory.name)
        for name in ("bus", "events", "bus.errors", "events.errors"):
            (self.out / f"{name}.until-end").write_text("")
        (self.out / "console.until-end").write_text("started\n")
        (self.out / "console.times.until-end").write_text(f"{START + 1}\n{START + 2}\n")
        (self.out / "status").write_text("0\n")
        (self.out / "requests").write_text("[]")
        (self.out / "started").write_text(f"{START}\n")
        (self.out / "late").write_text("0.25\n")

    def test_requests_are_in_a_file_of_their_own(self):
        one = {"seconds": 3.5, "words": ["clear-data", "all"], "name": "request0", "status": 0}
        (self.out / "requests").write_text(json.dumps([one]))
        (self.out / "request0").write_text('{"type":"answer","ok":true}\n')
        (self.out / "request0.errors").write_text("")
        shown = outcome.of_run(self.out, UTC, 30)["requests.txt"]
        self.assertEqual(shown, "== at 3.5 clear-data all\nanswer\n    ok true\nstatus 0\n")

    def test_without_requests_there_is_no_file_of_them(self):
        self.assertNotIn("requests.txt", outcome.of_run(self.out, UTC, 30))

    def test_console_tells_the_status(self):
        self.assertEqual(outcome.of_run(self.out, UTC, 30)["console.txt"], "started  before 10 s\nstatus 0\n")

    def test_what_a_client_complains_about_is_shown(self):
        (self.out / "bus.errors.until-end").write_text("orvanectl: the bus has closed\n")
        shown = outcome.of_run(self.out, UTC, 30)["bus.txt"]
        self.assertEqual(shown, "== on standard error\norvanectl: the bus has closed\n")

    def test_line_that_is_being_written_is_left_out(self):
        (self.out / "bus.until-end").write_text(tell("clear-system-data", result=1) + '\n{"type":"te')
        self.assertEqual(outcome.of_run(self.out, UTC, 30)["bus.txt"], "== clear-system-data\ntold before 10 s\n    result 1\n")

    def test_run_is_as_late_as_the_latest_that_was_seen(self):
        self.assertEqual(outcome.behind(self.out), 0.25)
        (self.out / "bus.until-end").write_text(line("service", 3.0, event="started") + "\n")
        self.assertAlmostEqual(outcome.behind(self.out), 2.0, 3)


class Scenario(unittest.TestCase):
    """script/golden on a scenario whose runs are made up."""

    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)
        self.folder = pathlib.Path(self.directory.name) / "a"
        self.folder.mkdir()
        (self.folder / "run").write_text("seconds 36.5\n")
        (self.folder / "bus.txt").write_text("right\n")
        scenarios = unittest.mock.patch.object(golden, "SCENARIOS", self.folder.parent)
        scenarios.start()
        self.addCleanup(scenarios.stop)
        self.rates = []
        self.told = io.StringIO()

    def check(self, *runs, update=False):
        """@param runs  what each run shows, with by how much it was late if it was, or raises"""
        left = list(runs)

        def play(name, build, settings, rate, start):
            self.rates.append((round(rate, 2), start))
            shown = left.pop(0)
            if isinstance(shown, Exception):
                raise shown
            shown, late = (shown, 0.0) if isinstance(shown, str) else shown
            return {"bus.txt": shown}, late

        with contextlib.redirect_stderr(self.told):
            return golden.check("a", None, update, play)

    def failure(self, *runs, update=False):
        with self.assertRaises(golden.Failed) as raised:
            self.check(*runs, update=update)
        return str(raised.exception)

    def test_run_that_is_as_kept_is_enough(self):
        self.assertEqual(self.check("right\n"), "golden: a: as kept, 10 times as fast\n")
        self.assertEqual(self.told.getvalue(), "")

    def test_run_that_differs_is_told_though_a_slower_one_does_not(self):
        shown = self.check("wrong\n", "right\n")
        self.assertEqual(shown, "golden: a: as kept, 3.33 times as fast (not as kept in 1 before)\n")
        self.assertTrue(self.told.getvalue().startswith("golden: a: not as kept, 10 times as fast\n--- a/bus.txt kept\n"))
        self.assertIn("\n+wrong\n", self.told.getvalue())

    def test_what_differs_twice_fails(self):
        failure = self.failure("wrong\n", "odd\n", "right\n")
        self.assertIn("something else is shown than is kept, in 2 of 2 runs\n", failure)
        self.assertIn("\n+odd\n", failure)

    def test_what_differs_alike_in_two_runs_fails_at_once_however_late_the_machine_was(self):
        for runs in (("wrong\n", "wrong\n"), (("wrong\n", 1.9), ("wrong\n", 1.9)), ("wrong\n", ("wrong\n", 0.4))):
            self.rates.clear()
            failure = self.failure(*runs, "right\n")
            self.assertIn("something else is shown than is kept, the same in two runs\n", failure)
            self.assertIn("\n+wrong\n", failure)
            self.assertEqual(len(self.rates), 2)

    def test_moments_of_what_differs_have_room_too(self):
        self.assertIn("the same in two runs", self.failure(("warning 5 at 14.9 s\n", 0.6), "warning 5 at 13.3 s\n"))
        self.assertIn("in 2 of 2 runs", self.failure("warning 5 at 14.9 s\n", "warning 5 at 12.9 s\n"))

    def test_moments_that_need_more_room_than_two_seconds_tell_nothing(self):
        (self.folder / "bus.txt").write_text("told at 14.0 s\n")
        shown = self.check(("told at 18.0 s\n", 5.0), "told at 14.0 s\n")
        self.assertEqual(shown, "golden: a: as kept, 3.33 times as fast (too slow a machine for 1 before)\n")
        self.assertEqual(self.check(("told at 16.4 s\n", 5.0)), "golden: a: as kept, 10 times as fast\n")

    def test_two_runs_of_a_machine_that_was_too_late_are_not_alike(self):
        shown = self.check(("wrong\n", 5.0), ("wrong\n", 5.0), "right\n")
        self.assertTrue(shown.startswith("golden: a: as kept, 1 times as fast"), shown)

    def test_difference_of_a_machine_that_was_late_is_not_counted(self):
        shown = self.check(("wrong\n", 0.4), ("odd\n", 0.4), "strange\n", "right\n")
        self.assertEqual(
            shown, "golden: a: as kept, 0.303 times as fast (not as kept in 1 before, too slow a machine for 2 before)\n"
        )
        self.assertIn("golden: a: too slow a machine for 10 times as fast, 0.4 s behind\n--- a/bus.txt kept\n", self.told.getvalue())

    def test_run_as_kept_counts_however_late_the_machine_was(self):
        self.assertEqual(self.check(("right\n", 3.0)), "golden: a: as kept, 10 times as fast\n")

    def test_moments_have_room(self):
        (self.folder / "bus.txt").write_text("told at 14.0 s\n")
        for near in ("told at 14.5 s\n", "told at 13.6 s\n", ("told at 16.5 s\n", 2.0)):
            self.assertEqual(self.check(near), "golden: a: as kept, 10 times as fast\n")
        for far in ("told at 14.6 s\n", "told at 13.0 s\n"):
            self.assertIn(f"+{far}", self.failure(far, far))

    def test_moments_of_all_files_may_be_off_by_the_start_that_the_bus_tells(self):
        event = "== EventLog from OrvaneServer at {} s\n"
        (self.folder / "bus.txt").write_text("the service has started at 2.0 s\n")
        (self.folder / "events.txt").write_text(event.format(13.9))
        run = {"bus.txt": "the service has started at 0.6 s\n", "events.txt": event.format(12.4)}
        self.assertEqual(golden.settled("a", run, 0.0)["events.txt"], event.format(13.9))
        run["bus.txt"] = "the service has started at 1.6 s\n"
        self.assertEqual(golden.settled("a", run, 0.0)["events.txt"], event.format(12.4))

    def test_each_try_is_slower_and_so_is_its_start(self):
        self.failure(*((f"{wrong}\n", 1.0) for wrong in "abcd"))
        self.assertEqual(self.rates, [(10.0, 1.0), (3.33, 0.5), (1.0, 0.25), (0.3, 0.1)])

    def test_slow_machine_is_told_and_tried_again(self):
        shown = self.check(golden.TooSlow("    the bus was not there\n"), "right\n")
        self.assertIn("(too slow a machine for 1 before)", shown)
        self.assertIn("    the bus was not there\n", self.told.getvalue())

    def test_machine_that_is_too_slow_at_every_rate_is_a_failure(self):
        self.assertEqual(self.failure(*[golden.TooSlow("")] * 4), "the machine is too slow for any run")

    def test_program_that_has_ended_fails_at_once(self):
        self.assertEqual(self.failure(golden.Failed("console has ended"), "right\n"), "console has ended")

    def test_update_keeps_what_two_runs_have_shown_alike(self):
        difference = self.check("odd\n", "new\n", "new\n", update=True)
        self.assertIn("-right\n+new\n", difference)
        self.assertEqual((self.folder / "bus.txt").read_text(), "new\n")

    def test_update_keeps_moments_that_are_near(self):
        (self.folder / "bus.txt").write_text("warning 5 at 14.0 s\n")
        self.check("warning 5 at 15.0 s\nwarning 6 at 20.0 s\n", "warning 5 at 13.5 s\nwarning 6 at 21.0 s\n", update=True)
        self.assertEqual((self.folder / "bus.txt").read_text(), "warning 5 at 14.0 s\nwarning 6 at 21.0 s\n")

    def test_update_keeps_nothing_of_a_single_run(self):
        failure = self.failure("1\n", "2\n", "3\n", "4\n", update=True)
        self.assertEqual(failure, "nothing is kept, since no two runs have shown the same")
        self.assertEqual((self.folder / "bus.txt").read_text(), "right\n")

    def run_all(self, *names, shown="right\n"):
        """@return status, and what was printed"""
        printed = io.StringIO()
        with contextlib.ExitStack() as stack:
            for what, value in (
                ("attempt", lambda *_: ({"bus.txt": shown}, 0.0)), ("refusal_of_the_sandbox", lambda: ""), ("PROGRAMS", ()),
            ):  # fmt: skip
                stack.enter_context(unittest.mock.patch.object(golden, what, value))
            stack.enter_context(unittest.mock.patch.object(golden.signal, "signal"))
            stack.enter_context(unittest.mock.patch.object(sys, "argv", ["golden", *names]))
            stack.enter_context(contextlib.redirect_stdout(printed))
            stack.enter_context(contextlib.redirect_stderr(self.told))
            return golden.main(), printed.getvalue()

    def test_status_is_0_when_all_is_as_kept(self):
        (self.folder / "scenario.txt").touch()
        self.assertEqual(self.run_all(), (0, "golden: a: as kept, 10 times as fast\n"))

    def test_status_is_1_when_something_differs(self):
        (self.folder / "scenario.txt").touch()
        status, printed = self.run_all("a", shown="wrong\n")
        self.assertEqual(status, 1)
        self.assertIn("golden: a: something else is shown than is kept, the same in two runs\n", printed)

    def test_what_is_broken_off_is_not_tried_again(self):
        (self.folder / "scenario.txt").touch()
        self.addCleanup(golden.is_broken_off.clear)
        with unittest.mock.patch.object(golden, "check", side_effect=KeyboardInterrupt):
            self.assertEqual(self.run_all("a")[0], 130)
        self.assertTrue(golden.is_broken_off.is_set())

    def test_scenario_that_there_is_not_names_the_nearest(self):
        (self.folder.parent / "quiet-drive").mkdir()
        (self.folder.parent / "quiet-drive/scenario.txt").touch()
        with self.assertRaisesRegex(SystemExit, "no lab/scenarios/quite-drive/scenario.txt; did you mean quiet-drive?"):
            self.run_all("quite-drive")

    def test_progress_is_told_at_a_terminal(self):
        self.told.isatty = lambda: True
        self.check("right\n")
        self.assertEqual(self.told.getvalue(), "golden: a: plays 36.5 s, 10 times as fast\n")

    def test_run_file_that_is_missing_or_wrong_is_named(self):
        for text, what in (
            ("rate 10\n", "run: seconds needs a number behind it"),
            ("seconds x\n", "run: seconds needs a number behind it"),
            ("second 3\n", "run: 'second' is no key; did you mean seconds?"),
            ("length 3\n", "run: 'length' is no key: seconds, rate, options, request"),
        ):
            (self.folder / "run").write_text(text)
            self.assertEqual(self.failure("right\n"), what)
        (self.folder / "run").unlink()
        self.assertEqual(self.failure("right\n"), "run: No such file or directory")


class Faults(unittest.TestCase):
    def test_each_fault_of_each_input_is_in_a_scenario_or_a_sequence(self):
        manual = (ROOT / "docs/lab/scenarios.md").read_text()
        kinds = re.findall(r"^\| `([a-z]+)`", manual.split("| kind of fault |")[1].split("\n\n")[0], re.MULTILINE)
        self.assertEqual(len(kinds), 7)
        shown = set()
        for file in (*(ROOT / "lab/scenarios").glob("*/scenario.txt"), *(ROOT / "lab/sequences").glob("*.seq")):
            shown |= set(re.findall(r"^(?:sim )?(?:at \S+ )?fault (\S+) ([a-z]+)", file.read_text(), re.MULTILINE))
        inputs = "pva", "utc", "pnt", "mis", "assurance", "8504"
        self.assertEqual([(one, kind) for one in inputs for kind in kinds if (one, kind) not in shown], [])


class Sandbox(unittest.TestCase):
    """script/golden with a sandbox that is a script."""

    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)
        self.root = pathlib.Path(self.directory.name)
        (self.root / "lab").mkdir()
        root = unittest.mock.patch.object(golden, "ROOT", self.root)
        root.start()
        self.addCleanup(root.stop)

    def sandbox(self, text):
        file = self.root / "lab/sandbox"
        file.write_text(f"#!/bin/sh\n{text}\n")
        file.chmod(file.stat().st_mode | stat.S_IXUSR)

    def attempt(self):
        return golden.attempt("a", self.root, {"seconds": 3.0, "options": "", "request": []}, 1.0, 1.0)

    def test_sandbox_that_cannot_be_is_told(self):
        self.sandbox("echo 'sandbox: no namespaces' >&2; exit 125")
        self.assertEqual(golden.refusal_of_the_sandbox(), "sandbox: no namespaces\n")

    def test_sandbox_that_can_be_is_no_refusal(self):
        self.sandbox("exit 0")
        self.assertEqual(golden.refusal_of_the_sandbox(), "")

    def test_status_125_of_what_ran_within_is_a_failure(self):
        self.sandbox("echo 'lab-clock: no clock' >&2; exit 125")
        with self.assertRaisesRegex(golden.Failed, "(?s)status 125.*lab-clock: no clock"):
            self.attempt()

    def test_run_that_takes_too_long_is_killed(self):
        self.sandbox("exec sleep 300")
        self.assertIsNone(golden.run_until([self.root / "lab/sandbox"], 0.0))

    def test_run_that_is_broken_off_is_killed(self):
        self.sandbox("exec sleep 300")
        golden.is_broken_off.set()
        self.addCleanup(golden.is_broken_off.clear)
        with self.assertRaisesRegex(golden.Failed, "broken off"):
            golden.run_until([self.root / "lab/sandbox"], 300.0)

    def test_slow_machine_leaves_what_each_program_said_last(self):
        self.sandbox('mkdir -p "$2/tmp/golden"; echo ready >"$2/tmp/golden/console"; echo "the bus was late"; exit 75')
        with self.assertRaises(golden.TooSlow) as raised:
            self.attempt()
        self.assertEqual(str(raised.exception), "    the bus was late\n    console: ready\n")


class Unit(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)
        self.out = pathlib.Path(self.directory.name)
        out = unittest.mock.patch.object(unit, "OUT", self.out)
        out.start()
        self.addCleanup(out.stop)
        self.programs = unit.Programs("/bin")
        self.addCleanup(self.programs.stop_all)

    def test_last_epoch_is_found_whatever_its_second(self):
        self.assertEqual(unit.epochs_until(""), -1.0)
        self.assertEqual(unit.epochs_until("unit-sim: 0.0 s: 39.5\nunit-sim: GPS is lost\nunit-sim: 38.0 s: 39.5\n"), 38.0)

    def test_program_that_ends_by_itself_is_not_waited_for(self):
        self.programs.start("console", "sh", "-c", "echo a last word; exit 3")
        with self.assertRaisesRegex(unit.Broken, "(?s)console has ended with status 3.*a last word"):
            unit.wait_for(self.programs, "the bus", lambda: False, 30.0)

    def test_program_that_does_not_end_is_named_with_its_last_words(self):
        self.programs.start("console", "sh", "-c", "trap '' TERM; echo a last word; while :; do sleep 0.1; done")
        unit.wait_for(self.programs, "the trap", lambda: unit.said("console", "a last word"), 30.0)
        with unittest.mock.patch.object(unit, "LONGEST_TO_END", 0.1):
            with self.assertRaisesRegex(unit.TooSlow, "(?s)console has not ended 0.1 s after SIGTERM.*a last word"):
                self.programs.stop("console")

    def test_sleep_that_lasts_too_long_tells_how_late_the_machine_is(self):
        with unittest.mock.patch.object(unit, "time") as time:
            time.time.side_effect = [10.0, 11.4, 12.0, 12.1]
            self.programs.sleep(1.0)
            self.programs.sleep(0.1)
        self.assertAlmostEqual(self.programs.late, 0.4)

    def waits(self, *tasks):
        """Of a process that has these texts of the kernel, by threads."""
        for thread, text in tasks:
            (self.out / "task" / thread).mkdir(parents=True, exist_ok=True)
            (self.out / "task" / thread / "schedstat").write_text(text)
        waits = unit.Waits(1)
        waits.tasks = self.out / "task"
        return waits

    def test_longest_wait_of_a_thread_for_the_processor_is_known_since_it_was_asked(self):
        waits = self.waits(("7", "5000 1000000000 3\n"), ("8", "5000 2000000000 3\n"))
        self.assertAlmostEqual(waits.longest(), 2.0)
        self.assertAlmostEqual(waits.longest(), 0.0)
        self.waits(("7", "6000 1040000000 4\n"), ("9", "10 20000000 1\n"))
        self.assertAlmostEqual(waits.longest(), 0.04)

    def test_kernel_that_does_not_tell_has_no_waits(self):
        self.assertEqual(self.waits(("7", "")).longest(), 0.0)
        self.assertEqual(unit.Waits("none").longest(), 0.0)

    def test_thread_that_had_to_wait_tells_how_late_the_machine_is(self):
        self.programs.start("console", "sleep", "60")
        self.programs.start("bus", "sleep", "60")
        self.programs.measure(10.0)
        self.assertEqual([each.tasks.parent.name for each in self.programs.waits], [str(self.programs.running["console"].pid)])
        self.programs.waits = [self.waits(("7", "5 1000000000 3"))]
        self.programs.waits[0].longest()
        self.waits(("7", "5 1040000000 4"))
        self.programs.sleep(0.0)
        self.assertAlmostEqual(self.programs.late, 0.4)

    def test_console_is_kept_with_the_time_of_each_line(self):
        with unittest.mock.patch.object(unit, "time") as time:
            time.time.side_effect = [10.5, 12.0, 13.5]
            self.programs.start("console", "sh", "-c", "echo one; echo two >&2; printf three")
            self.programs.console.join(30)
        self.assertEqual((self.out / "console").read_text(), "one\ntwo\nthree")
        self.assertEqual((self.out / "console.times").read_text(), "10.5\n12.0\n13.5\n")

    def test_rate_is_set_by_the_time_of_the_machine(self):
        environment = {"LD_PRELOAD": "liblab_clock.so", "ORVANE_LAB_CLOCK": "/tmp/clock"}
        with unittest.mock.patch.dict(unit.os.environ, environment), unittest.mock.patch.object(unit.subprocess, "run") as run:
            unit.set_rate(self.programs, 3.5)
        arguments, options = run.call_args
        self.assertEqual([str(word) for word in arguments[0][1:]], ["rate", "/tmp/clock", "3.5"])
        self.assertNotIn("LD_PRELOAD", options["env"])

    def test_request_may_end(self):
        self.programs.start("request0", "true")
        self.programs.running["request0"].wait()
        self.programs.expect_running()

    def test_requests_leave_their_statuses(self):
        (self.out / "lab/ctl").mkdir(parents=True)
        tool = self.out / "lab/ctl/orvanectl"
        tool.write_text('#!/bin/sh\necho "$@"; [ "$2" != bit-run ]\n')
        tool.chmod(0o755)
        self.programs.build = self.out
        asked = unit.Requests(self.programs, [(0.0, ["clear-data", "all"]), (0.0, ["bit-run"])])
        asked.make(0.0)
        asked.finish()
        self.assertEqual([one["status"] for one in json.loads((self.out / "requests").read_text())], [0, 1])
        self.assertEqual((self.out / "request0").read_text(), "bus clear-data all\n")

    def test_request_that_is_not_answered_is_named(self):
        self.programs.start("request0", "sleep", "60")
        asked = unit.Requests(self.programs, [(0.0, ["bit-run"])])
        with unittest.mock.patch.object(unit, "LONGEST_TO_END", 0.0):
            with self.assertRaisesRegex(unit.TooSlow, "the answer to bit-run was not there"):
                asked.finish()

    def test_wait_ends_when_the_machine_is_too_slow(self):
        with self.assertRaisesRegex(unit.TooSlow, "the bus was not there after 0.0 s"):
            unit.wait_for(self.programs, "the bus", lambda: False, 0.0)

    def test_complaints_of_a_client_are_in_a_file_of_their_own(self):
        self.programs.start("bus", "sh", "-c", "echo record; echo complaint >&2")
        self.programs.running["bus"].wait()
        self.assertEqual((self.out / "bus").read_text(), "record\n")
        self.assertEqual((self.out / "bus.errors").read_text(), "complaint\n")

    def test_socket_is_waited_for_until_it_listens(self):
        path = str(self.out / "bus")
        with socket.socket(socket.AF_UNIX) as listener:
            listener.bind(path)
            self.assertFalse(unit.is_listening(path))
            listener.listen()
            self.assertTrue(unit.is_listening(path))


class Count(unittest.TestCase):
    """By which is known when the scenario has begun."""

    def test_unit_that_is_up_for_a_minute_begins_the_scenario(self):
        self.assertEqual(unit.start_of(1000.0, 60 * 58982400), 1000.0)

    def test_unit_that_is_at_its_fourth_second_has_begun_so_long_before(self):
        self.assertEqual(unit.start_of(1000.0, 64 * 58982400), 996.0)

    def test_begin_may_be_still_to_come(self):
        self.assertEqual(unit.start_of(1000.0, 59 * 58982400), 1001.0)

    def test_count_is_read_where_the_unit_has_it(self):
        with tempfile.NamedTemporaryFile() as memory:
            memory.seek(unit.SYSTEM_COUNT)
            memory.write(bytes([8, 7, 6, 5, 4, 3, 2, 1]))
            memory.flush()
            self.assertEqual(unit.register(unit.SYSTEM_COUNT, memory.name), 0x0102030405060708)

    def test_count_that_was_written_late_does_not_move_the_start(self):
        counts = [round((61 + 0.01 * at) * 58982400) for at in range(10)]
        counts[0] -= 58982400 // 5
        with unittest.mock.patch.multiple(unit, time=unittest.mock.DEFAULT, register=unittest.mock.DEFAULT) as mocks:
            mocks["register"].side_effect = counts
            mocks["time"].time.side_effect = [101 + 0.01 * at for at in range(10)]
            self.assertAlmostEqual(unit.start_of_scenario(), 100.0, 6)


class Options(unittest.TestCase):
    def read(self, *words):
        with unittest.mock.patch.object(sys, "argv", ["golden", *words]), contextlib.redirect_stderr(io.StringIO()) as told:
            try:
                return golden.read_options()
            except SystemExit:
                return told.getvalue().splitlines()[-1]

    def test_numbers_of_runs_begin_at_1(self):
        self.assertEqual(self.read("--jobs", "0"), "script/golden: error: argument --jobs: invalid number from 1 value: '0'")
        self.assertEqual(self.read("--repeat", "x"), "script/golden: error: argument --repeat: invalid number from 1 value: 'x'")


class Arguments(unittest.TestCase):
    def test_examples_of_the_help_are_taken(self):
        told = io.StringIO()
        with contextlib.redirect_stdout(told), unittest.mock.patch("sys.argv", ["golden", "--help"]):
            self.assertRaises(SystemExit, golden.main)
        examples = [line.split("  ")[0] for line in re.findall(r"^  (script/golden.*)", told.getvalue(), re.MULTILINE)]
        self.assertGreater(len(examples), 0)
        for example in examples:
            with contextlib.ExitStack() as stack:
                stack.enter_context(contextlib.redirect_stdout(io.StringIO()))
                stack.enter_context(unittest.mock.patch("sys.argv", example.split()))
                stack.enter_context(unittest.mock.patch.object(golden, "PROGRAMS", ()))
                stack.enter_context(unittest.mock.patch.object(golden, "refusal_of_the_sandbox", lambda: ""))
                stack.enter_context(unittest.mock.patch.object(golden.signal, "signal"))
                played = stack.enter_context(unittest.mock.patch.object(golden, "check", return_value=""))
                self.assertEqual(golden.main(), 0, example)
            self.assertTrue(played.called, example)

    def test_requests_have_their_times(self):
        read = unit.read_arguments(["b", "s.txt", "30", "10", "5", "--request", "13 clear-data all", "--", "--seed", "2"])
        self.assertEqual(read, ("b", "s.txt", 30.0, 10.0, 5, [(13.0, ["clear-data", "all"])], ["--seed", "2"]))


if __name__ == "__main__":
    unittest.main()

"""What script/golden takes from a run, and what it leaves out."""

import json
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "lab"))
from golden import outcome, unit  # noqa: E402

UTC = 1772323200  # 2026-03-01


def tell(name, **members):
    return json.dumps({"type": "tell", "tell": name, "number": 7, "at_ms": 1, **members})


def navigation(second, **record):
    time = {"year": 2026, "month": 3, "day": 1, "hour": 0, "minute": 0, "seconds": second, "nanoseconds": 5}
    return tell("blended-navigation", timeOfValidity=time, record=record)


def threat(azimuth, second):
    return {"azimuth_rad": azimuth, "power": -70.0, "time": {"seconds": second}}


def warning(number, text=""):
    return {"warningId": number, "customText": text, "customTextValid": int(text != "")}


def bus(*lines):
    return outcome.bus(lines, UTC, 30)


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

    def test_record_without_a_time_is_left_out(self):
        self.assertEqual(bus(tell("blended-navigation", timeOfValidity=None, record={"fom": 9})), ["== blended-navigation", ""])


class Lists(unittest.TestCase):
    def test_threats_are_told_without_their_time(self):
        shown = bus(
            tell("navwar-sa", record={"threats": [threat(1.5, 3)]}), tell("navwar-sa", record={"threats": []}),
            tell("navwar-sa", record={"threats": [threat(1.5, 4), threat(2.5, 5)]}),
        )  # fmt: skip
        self.assertEqual(
            shown,
            ["== navwar-sa", "threat", "    azimuth_rad 1.5", "    power -70", "threat", "threat", "    azimuth_rad 2.5", ""],
        )

    def test_warning_is_told_once_however_often_its_list_is(self):
        lists = [], [warning(5)], [warning(5)], [warning(5), warning(75, "ANTENNA OPEN")]
        shown = bus(*(tell("warning-messages", record={"gpsSeconds": 1.0, "warnings": each}) for each in lists))
        self.assertEqual(shown, ["== warning-messages", "warning 5", 'warning 75 "ANTENNA OPEN"', ""])

    def test_list_that_was_cleared_begins_anew(self):
        shown = bus(*(tell("warning-messages", record={"warnings": each}) for each in ([warning(5)], [], [warning(5)])))
        self.assertEqual(shown, ["== warning-messages", "warning 5", "another list", "warning 5", ""])

    def test_last_configuration_is_there(self):
        shown = bus(*(tell("system-configuration", record={"systemName": name}) for name in ("wait", "Kolt")))
        self.assertEqual(shown, ["== system-configuration", '    record.systemName "Kolt"', ""])

    def test_every_result_is_there(self):
        shown = bus(tell("clear-system-data", result=1), tell("clear-system-data", result=1))
        self.assertEqual(shown, ["== clear-system-data", "told", "    result 1", "told", "    result 1", ""])

    def test_misuse_is_there(self):
        self.assertIn("== misuse", bus(json.dumps({"type": "misuse", "what": "a call"})))


class Words(unittest.TestCase):
    def test_events_tell_their_topic_and_sender(self):
        record = {"kind": "record", "topic": "EventLog", "header": {"device_id": {"server_name": "OrvaneServer"}},
                  "message": {"eventlog": "begun 2026-03-01T00:00:01Z"}}  # fmt: skip
        self.assertEqual(
            outcome.events([json.dumps(record), json.dumps({"kind": "sum"})]),
            ["== EventLog from OrvaneServer", '    eventlog "begun TIME"'],
        )


class Arguments(unittest.TestCase):
    def test_requests_have_their_times(self):
        read = unit.read_arguments(["b", "s.txt", "30", "10", "5", "--request", "13 clear-data all", "--", "--seed", "2"])
        self.assertEqual(read, ("b", "s.txt", 30.0, 10.0, 5, [(13.0, ["clear-data", "all"])], ["--seed", "2"]))


if __name__ == "__main__":
    unittest.main()

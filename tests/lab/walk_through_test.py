"""How a page is read, and what is taken for the same as on the page."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import walk_through as walk  # noqa: E402

PAGE = """# A page
```
$ nothing
```
## All of it
```
$ lab/sandbox -- lab/desk --seconds 10
...
the end
```
## A walk-through
```
$ export A=one
```
### First
```
$ echo $A
one
$ echo 'two
three'
two
three
```
### Second
Here `a` and `5` were typed:

```
aOne
5Two
more
```

```
$ orvanectl bus clear-data
done
```

| line | request | the warning |
|---|---|---|
| `sim answers fail` | `clear-data all` | `25 "a"`, soon |
| | `clear-data` | `22` |
"""


class Pages(unittest.TestCase):
    def setUp(self):
        self.sections = walk.sections(PAGE)

    def test_sections_stand_below_their_headings_and_the_beginning_before(self):
        self.assertEqual([heading for heading, _ in self.sections], ["", "All of it", "First", "Second"])
        self.assertEqual([step.text for step in self.sections[0][1]], ["export A=one"])
        self.assertEqual([step.shown for step in self.sections[1][1]], [["...", "the end"]])

    def test_a_command_has_the_lines_of_its_quotes_and_what_it_shows(self):
        first, second = self.sections[2][1]
        self.assertEqual((first.text, first.shown, first.line), ("echo $A", ["one"], 17))
        self.assertEqual((second.text, second.shown), ("echo 'two\nthree'", ["two", "three"]))

    def test_keys_have_the_screen_that_follows(self):
        screen = self.sections[3][1][0]
        self.assertEqual((screen.keys, screen.shown), (["a", "5"], ["aOne", "5Two", "more"]))

    def test_a_table_of_requests_has_rows(self):
        rows = [(row.order, row.request.text, row.request.shown, row.warning) for row in self.sections[3][1][2:]]
        self.assertEqual(rows, [("sim answers fail", "orvanectl bus clear-data all", ["done"], '25 "a"'),
                                ("", "orvanectl bus clear-data", ["done"], "22")])  # fmt: skip

    def test_a_request_of_a_table_that_is_shown_nowhere_is_refused(self):
        with self.assertRaises(walk.Failure):
            walk.sections(PAGE.replace("$ orvanectl bus clear-data", "$ orvanectl bus bit-run"))

    def test_only_a_desk_without_end_runs_on(self):
        self.assertTrue(walk.is_background("lab/sandbox -- lab/desk --seconds forever"))
        self.assertFalse(walk.is_background("lab/sandbox -- lab/desk --seconds 10"))
        self.assertFalse(walk.is_background("lab/sandbox -- lab/desk --play drive.mcap"))


class Comparisons(unittest.TestCase):
    def test_numbers_times_and_processes_may_differ(self):
        for expected, seen in (
            ("44 warning-messages (last)  gps s 559951.999999985  warnings 1 [67]",
             "7 warning-messages (last)  gps s 1e-09  warnings 1 [67]"),
            ('{"id":"orvanectl-27173","ok":true}', '{"id":"orvanectl-1","ok":true}'),
            ("30 blended-navigation  2026-11-21 16:34:57.999  gps s 1  fom 1  horizontal m 1.41288  ...",
             "9 blended-navigation  2027-01-02 00:00:00.000  gps s 2  fom 1  horizontal m 9  vertical m 2"),
            ("orvanectl: 1 step: 1 passed, in 0.0 s", "orvanectl: 1 step: 1 passed, in 12.5 s"),
            ("desk: recorded 205 messages in 19.3 s, 0 missed, 56493 bytes in /tmp/drive.mcap",
             "desk: recorded 9 messages in 25.0 s, 2 missed, 7 bytes in /tmp/drive.mcap"),
            ('"spans":[[0.966,15.05,"available"]]} {"seconds":14.234,"rows"', '"spans":[[1.0,9.5,"available"]]} {"seconds":1.5,"rows"'),
        ):  # fmt: skip
            self.assertTrue(walk.agrees(expected, seen), expected)

    def test_everything_else_may_not(self):
        line = '44 warning-messages (last)  gps s 5.9  warnings 1 [25 "Result was SYSTEM_DESTROY_FAIL"]'
        for old, new in (("25", "24"), ("FAIL", "PASS"), ("warnings 1", "warnings 2"), (" (last)", ""),
                         ("gps s 5.9", "gps s nan"), ("44 ", ""), ("44 warning", "44 warnings"), ("]", "")):  # fmt: skip
            self.assertFalse(walk.agrees(line, line.replace(old, new)), new)
        self.assertFalse(walk.agrees("desk: played 127 messages in 18.9 s", "desk: played 0 messages in 18.9 s"))
        self.assertFalse(walk.agrees('[0.966,15.05,"available"]', '[0.966,15.05,"not available"]'))
        self.assertFalse(walk.agrees('"seconds":14.234,"rows":[{"azimuth":22.0', '"seconds":14.234,"rows":[{"azimuth":23.0'))
        self.assertFalse(walk.agrees('"ok":true,"returned":1', '"ok":true,"returned":0'))
        self.assertFalse(walk.agrees("faults 1 [1 severity 33", "faults 1 [1 severity 34"))
        self.assertFalse(walk.agrees("execute-built-in-tests  expected s 25.0  test 0", "execute-built-in-tests  expected s 24.0  test 0"))

    def test_sums_of_a_desk_may_differ_but_not_be_0_or_something_else(self):
        line = "desk: joined the inputs 10 times; published 11 Blended Navigation, 0 faults"
        self.assertTrue(walk.agrees(line, line.replace("10", "9")))
        for old, new in (("10 ", "0 "), ("0 faults", "1 faults"), ("11 Bl", "0 Bl"), ("11 Bl", "Bl"), ("10", "x")):
            self.assertFalse(walk.agrees(line, line.replace(old, new)), new)
        self.assertFalse(walk.agrees("desk: the service has ended with status 0", "desk: the service has ended with status 1"))
        self.assertFalse(walk.agrees("desk: the unit has sent 3 8504, 0 5044", "desk: the unit has sent 3 8505, 0 5044"))

    def test_lines_must_be_these_and_no_others(self):
        self.assertTrue(walk.all_agree(["a", "b"], ["a", "b"]))
        for seen in ([], ["a"], ["b", "a"], ["a", "b", "c"], ["x", "a", "b"]):
            self.assertFalse(walk.all_agree(["a", "b"], seen), seen)
        self.assertTrue(walk.all_agree(["a", "...", "b"], ["a", "x", "y", "b"]))
        self.assertFalse(walk.all_agree(["a", "...", "b"], ["a", "x", "y"]))

    def test_watched_lines_must_come_in_their_order(self):
        self.assertIsNone(walk.first_missing(["a", "b"], ["x", "a", "x", "b", "x"]))
        self.assertEqual(walk.first_missing(["a", "b"], ["b", "a"]), "b")

    def test_threats_of_one_list_may_come_in_lists_that_follow_each_other(self):
        one, other, both = "52 navwar-sa  threats 1 [a]", "54 navwar-sa  threats 1 [b]", "52 navwar-sa  threats 2 [a; b]"
        none, warning = "50 navwar-sa  threats 0", "53 warning-messages  warnings 1 [5]"
        for seen in ([both], [one, other], [none, one, warning, other, none]):
            self.assertIsNone(walk.first_missing([both], seen), seen)
        for seen in ([one], [other, one], [one, none, other], [both.replace("2", "3")]):
            self.assertEqual(walk.first_missing([both], seen), both, seen)
        self.assertIsNone(walk.first_missing([one, other], [one, other]))


class Walks(unittest.TestCase):
    """Over a page whose commands are at hand everywhere."""

    PAGE = "## A walk-through\n```\n$ export A=one\n```\n### First\n```\n$ echo $A; echo 5 two\none\n7 two\n```\n"

    def status(self, page):
        sections = walk.sections(page)
        with tempfile.TemporaryDirectory() as unit:
            a_walk = walk.Walk(unit, unit)
            for step in sections[1][1]:
                a_walk.prelude = [begin.text for begin in sections[0][1]]
                a_walk.perform(step)

    def test_a_page_that_is_right_passes(self):
        self.status(self.PAGE)

    def test_a_changed_word_fails(self):
        for planted in (self.PAGE.replace("7 two", "7 tow"), self.PAGE.replace("\none\n", "\n"),
                        self.PAGE.replace("A=one", "A=on"), self.PAGE.replace("7 two", "7 two\nthree")):  # fmt: skip
            with self.assertRaises(walk.Failure):
                self.status(planted)

    def test_a_command_that_fails_fails(self):
        with self.assertRaises(walk.Failure):
            self.status(self.PAGE.replace("echo $A;", "trap 'exit 1' EXIT; echo $A;"))

    def test_a_request_of_a_table_that_shows_something_else_fails(self):
        a_walk = walk.Walk("/nowhere", "/nowhere")
        a_walk.output = lambda text: (["12 \"a\"]"], 0) if "last" in text else (["refused"], 0)
        row = walk.Row("", "clear-data", ["done"], '12 "a"', 1)
        with self.assertRaises(walk.Failure):
            a_walk.perform(row)
        row.request.shown = ["refused"]
        a_walk.perform(row)

    def test_a_screen_that_shows_something_else_fails(self):
        background = walk.Background("sh -c 'stty -echo; read x; echo $x: one'", {})
        walk.DEADLINE, before = 1, walk.DEADLINE
        try:
            background.type("a\n")
            with self.assertRaises(walk.Failure):
                background.await_line("a: two")
            background.await_line("a: one")
        finally:
            walk.DEADLINE = before
            background.end()


if __name__ == "__main__":
    unittest.main()

"""What script/bench makes of what the programs of bench/ tell: figures, tables, plots and the page."""

import collections
import json
import pathlib
import sys
import unittest
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "script"))
sys.dont_write_bytecode = True
from performance import chart, figures, page  # noqa: E402

SVG = "{http://www.w3.org/2000/svg}"


def line(name, side, value, unit="us", **more):
    return {"name": name, "side": side, "unit": unit, "value": value, **more}


def google(*rows):
    return json.dumps({"benchmarks": [{"run_type": "iteration", "time_unit": "ns", **row} for row in rows]})


class Figures(unittest.TestCase):
    def test_a_figure_is_the_median_of_the_rounds(self):
        figure = figures.of_rounds([line("a", "ours", value) for value in (5, 1, 3)])["a", "ours"]
        self.assertEqual((figure.value, figure.low, figure.high, figure.rounds), (3, 1, 5, 3))

    def test_sides_are_figures_of_their_own(self):
        of = figures.of_rounds([line("a", "ours", 3), line("a", "floor", 2)])
        self.assertEqual(figures.ratio(of, "a"), 1.5)

    def test_a_side_that_is_missing_has_no_ratio(self):
        self.assertIsNone(figures.ratio(figures.of_rounds([line("a", "ours", 3)]), "a"))

    def test_noise_is_half_of_the_spread(self):
        figure = figures.of_rounds([line("a", "ours", value) for value in (9, 10, 13)])["a", "ours"]
        self.assertEqual(figures.noise(figure), 0.2)

    def test_ends_of_a_distribution_are_those_of_all_rounds(self):
        rounds = [line("a", "ours", 2, quantiles=[1, 2, 9]), line("a", "ours", 4, quantiles=[3, 4, 5])]
        self.assertEqual(figures.of_rounds(rounds)["a", "ours"].quantiles, [1, 3, 9])

    def test_lines_that_are_no_json_are_none(self):
        self.assertEqual(figures.of_lines('hello\n{"name": "a"}\n'), [{"name": "a"}])


class Google(unittest.TestCase):
    def test_both_sides_of_a_codec(self):
        rows = figures.of_google(google({"name": "serialize/UTCTime/ours", "cpu_time": 8.0},
                                        {"name": "serialize/UTCTime/generated", "cpu_time": 71.0}))  # fmt: skip
        self.assertEqual(rows, [line("serialize.UTCTime", "ours", 8.0, "ns"), line("serialize.UTCTime", "floor", 71.0, "ns")])

    def test_a_counter_in_place_of_the_time(self):
        row = {"name": "stream/paused/manual_time", "cpu_time": 1.0, "records_per_cpu_s": 1.5e6}
        self.assertEqual(figures.of_google(google(row)), [line("queue.stream", "floor", 1.5e6, "1/s")])

    def test_aggregates_and_failures_and_others_are_left_out(self):
        rows = ({"name": "PVA_copy", "cpu_time": 1.0, "run_type": "aggregate"}, {"name": "unpack8504", "cpu_time": 1.0},
                {"name": "PVA_copy", "cpu_time": 1.0, "error_occurred": True})  # fmt: skip
        self.assertEqual(figures.of_google(google(*rows)), [])

    def test_floor_of_a_join_is_the_sum_of_what_it_needs(self):
        names = ["PVA_copy", "UTCTime_copy", "HalvexPNT_copy", "MIS_copy", "AssuranceState_copy", "Receiver8504_copy",
                 "UnpackAndTell"]  # fmt: skip
        rows = figures.of_google(google(*({"name": name, "cpu_time": 10.0} for name in names)))
        self.assertEqual(rows[-1], line("join", "floor", 70.0, "ns"))
        rows = figures.of_google(google(*({"name": name, "cpu_time": 10.0} for name in names[1:])))
        self.assertNotIn("join", [row["name"] for row in rows])


class Profiles(unittest.TestCase):
    def test_files_are_added_up_by_part(self):
        rows = (("40.00", "[kernel.kallsyms]", "k"), ("20.50", "libfastrtps.so.2.9.1", "."), ("9.50", "libfastcdr.so.1", "."),
                ("10.00", "libc.so.6", "."), ("5.00", "libstdc++.so.6.0.30", "."), ("4.00", "OrvaneServer", "."),
                ("6.00", "OrvaneServer", "."), ("3.00", "libvictory.so.5.0", "."), ("2.00", "libtinyxml2.so.9", "."))  # fmt: skip
        report = "".join(f"  {share}%  {file}   [{kind}] f     -      -  \n" for share, file, kind in rows)
        self.assertEqual(figures.parts_of(report), {
            "kernel": 40, "DDS library": 30, "C and C++ library": 15, "ours": 10, "stand-in of the bus library": 3,
            "other libraries": 2})  # fmt: skip

    def test_own_functions_are_those_of_the_service(self):
        report = "    4.00%  libc.so.6  [.] memcpy\n    1.25%  OrvaneServer  [.] join(Inputs const&)   -      -  \n"
        self.assertEqual(figures.own_of(report), [["join(Inputs const&)", 1.25]])


class Shown(unittest.TestCase):
    def test_values_come_in_the_unit_that_people_know(self):
        for value, unit, text in ((8.04, "ns", "8.04 ns"), (1250, "ns", "1.25 us"), (77.31, "us", "77.3 us"),
                                  (962, "ms", "962 ms"), (1530, "ms", "1.53 s"), (1.74e6, "1/s", "1.74 M/s"),
                                  (116400, "1/s", "116 k/s"), (0.18, "%", "0.18 %"), (17.56, "MiB", "17.6 MiB")):  # fmt: skip
            self.assertEqual(page.shown(value, unit), text)


class Goals(unittest.TestCase):
    def kept(self, *lines):
        return {text: is_kept for text, _, is_kept in page.goals(figures.of_rounds(lines))}

    def test_what_was_not_measured_is_neither_kept_nor_missed(self):
        self.assertEqual(set(self.kept().values()), {None})

    def test_throughput_is_wanted_high_and_configuration_low(self):
        lines = [line("transport.throughput", "floor", 100.0), line("transport.throughput", "ours", 96.0),
                 line("configuration.1000", "floor", 100.0), line("configuration.1000", "ours", 150.0)]  # fmt: skip
        kept = self.kept(*lines)
        self.assertIs(kept["throughput at least 0.97 of the floor"], False)
        self.assertIs(kept["1000 connections within 1.5 times the load"], True)

    def test_the_slowest_verb_misses_the_goal_of_all(self):
        text = "the slowest of `--help`, `decode`, `check` and `info` within 40 ms from exec to exit, by its median"
        starts = [line(f"tool.start.{verb}", "ours", 20.0, "ms") for verb in ("help", "decode", "check", "info")]
        self.assertIs(self.kept(*starts)[text], True)
        self.assertIsNone(self.kept(*starts[:3])[text])
        self.assertIs(self.kept(*starts[:3], line("tool.start.info", "ours", 41.0, "ms"))[text], False)

    def test_the_slowest_verb_is_shown(self):
        starts = [line(f"tool.start.{verb}", "ours", value, "ms")
                  for verb, value in (("help", 20), ("decode", 31), ("check", 25), ("info", 22))]  # fmt: skip
        self.assertIn("31 ms", [seen for text, seen, _ in page.goals(figures.of_rounds(starts)) if "slowest" in text])

    def test_a_tool_that_loses_nothing_keeps_its_goal(self):
        text = "echo loses nothing of them in any round"
        self.assertIs(self.kept(line("tool.echo.lost", "ours", 0, "samples"))[text], True)
        self.assertIs(self.kept(line("tool.echo.lost", "ours", 1, "samples"))[text], False)

    def test_one_round_with_a_loss_misses_the_goal(self):
        rounds = [line("tool.record.lost", "ours", value, "samples") for value in (0, 3, 0)]
        self.assertIs(self.kept(*rounds)["record loses nothing of them in any round"], False)

    def test_decode_and_play_are_judged_by_their_own_processor_time(self):
        lines = [line("tool.decode.json.5044", "ours", 2e6, "1/s"), line("tool.decode.json.8504.bytes", "ours", 199.0, "MB/s"),
                 line("tool.play.topic", "ours", 1.9e6, "1/s"), line("tool.play.queue.bytes", "ours", 200.0, "MB/s")]  # fmt: skip
        kept = self.kept(*lines)
        self.assertIs(kept["decode --json: 2 M frames in a second of its own processor time"], True)
        self.assertIs(kept["decode --json: 200 MB in a second of its own processor time"], False)
        self.assertIs(kept["play: 2 M records in a second of its own processor time"], False)
        self.assertIs(kept["play: 200 MB in a second of its own processor time"], True)

    def test_one_slow_end_misses_the_goal(self):
        text = "every end below 800 ms"
        self.assertIs(self.kept(line("end", "ours", 500, quantiles=[300, 500, 799]))[text], True)
        rounds = [line("end", "ours", 500, quantiles=[300, 500, 801]), line("end", "ours", 500, quantiles=[300, 500, 700])]
        self.assertIs(self.kept(*rounds)[text], False)


class Charts(unittest.TestCase):
    def places(self, svg):
        return [tuple(map(float, point.split(","))) for line in xml.etree.ElementTree.fromstring(svg).iter(f"{SVG}polyline")
                for point in line.get("points").split()]  # fmt: skip

    def test_points_stand_within_the_frame_and_in_order(self):
        for log in (False, True):
            svg = chart.chart("t", "x", "y", [("a", [(1, 10), (50, 20), (1000, 4000)])], log, log)
            places = self.places(svg)
            self.assertEqual(places, sorted(places))
            for x, y in places:
                self.assertTrue(chart.LEFT <= x <= chart.WIDTH - chart.RIGHT, x)
                self.assertTrue(chart.TOP <= y <= chart.HEIGHT - chart.BOTTOM, y)

    def test_a_decade_is_as_wide_as_the_next(self):
        places = self.places(chart.chart("t", "x", "y", [("a", [(1, 1), (10, 1), (100, 1)])], log_x=True))
        self.assertAlmostEqual(places[1][0] - places[0][0], places[2][0] - places[1][0], delta=0.2)

    def test_what_has_no_logarithm_is_left_out(self):
        self.assertEqual(len(self.places(chart.chart("t", "x", "y", [("a", [(0, 1), (1, 1), (2, 2)])], log_x=True))), 2)
        with self.assertRaises(ValueError):
            chart.chart("t", "x", "y", [("a", [(0, 1)])], log_x=True)

    def test_one_point_can_be_drawn(self):
        for value in (0, 7):
            self.assertEqual(len(self.places(chart.chart("t", "x", "y", [("a", [(value, value)])]))), 1)

    def test_names_are_text_and_no_markup(self):
        svg = chart.chart("a < b & c", "x", "y", [("<path>", [(1, 1)])])
        self.assertEqual(xml.etree.ElementTree.fromstring(svg).find(f"{SVG}title").text, "a < b & c")


class Pages(unittest.TestCase):
    ABOUT = {"minutes": "7 minutes", "rounds": 3, "machine": [["processor", "x"]]}

    def written(self, lines, profiles=(), kept=None, armhf=None):
        return page.written(self.ABOUT, figures.of_rounds(lines), list(profiles), kept or {}, armhf or {})

    def test_a_row_has_floor_ours_ratio_and_limit(self):
        lines = [line("transport.latency.1000", "floor", 80.0), line("transport.latency.1000", "ours", 76.0),
                 line("futex.latency.1000", "limit", 9.0)]  # fmt: skip
        self.assertIn("| at 1 kHz | 80 us | 76 us | 0.95 | 9 us |\n", self.written(lines)[0])

    def test_rounds_that_differ_are_told(self):
        lines = [line("register", "ours", value, "ns") for value in (9, 10, 13)]
        self.assertIn("| to read the system count |  | 10 ns ± 20 % |  |  |\n", self.written(lines)[0])

    def test_sections_without_figures_are_left_out(self):
        text, pictures = self.written([line("register", "ours", 6.0, "ns")])
        self.assertIn("## Events and registers", text)
        self.assertNotIn("## Codecs", text)
        self.assertEqual(pictures, {})

    def test_what_play_takes_for_a_record_is_told_of_its_figure(self):
        text = self.written([line("tool.play.topic", "ours", 80e3, "1/s")])[0]
        self.assertIn("A record takes `play` 12.5 us of its processor time on a topic", text)
        self.assertNotIn("Into a queue", text)
        self.assertNotIn("bare DDS library hands over", text)

    def test_what_the_bare_library_hands_over_is_told_beside_play(self):
        text = " ".join(self.written([line("tool.play.topic", "ours", 80e3, "1/s"),
                                      line("transport.throughput", "floor", 160e3, "1/s")])[0].split())  # fmt: skip
        self.assertIn("The bare DDS library hands over 160 k/s at full speed, as told above", text)

    def test_what_decode_writes_is_told_of_its_figures(self):
        lines = [line("tool.decode.json.8504", "ours", 250e3, "1/s"), line("tool.decode.json.8504.line", "ours", 1900, "bytes")]
        text = " ".join(self.written(lines)[0].split())
        self.assertIn("`decode --json` 4 us of its processor time for 1900 bytes of JSON: it writes 475 MB in a second", text)

    def test_a_loss_of_the_floor_stands_beside_ours(self):
        lines = [line("tool.echo.lost", "floor", 2, "samples"), line("tool.echo.lost", "ours", 0, "samples")]
        self.assertIn("| what it lost | 2 samples | 0 samples |  |  |", self.written(lines)[0])

    def test_every_picture_is_on_the_page(self):
        lines = [line(f"configuration.{count}", side, count) for count in (11, 100) for side in ("ours", "floor")]
        text, pictures = self.written(lines + [line("end", "ours", 5, "ms", quantiles=list(range(101)))])
        self.assertEqual(sorted(pictures), ["performance-configuration.svg", "performance-end.svg"])
        for name in pictures:
            self.assertIn(f"](pictures/{name})", text)

    def test_growth_is_from_the_lowest_to_the_highest(self):
        lines = [line(f"processor.rate.{rate}", "ours", value, "%") for rate, value in ((1000, 16), (1, 0.2), (100, 5))]
        self.assertIn("| processor with all inputs | ours | 1: 0.2 % | 1000: 16 % | 80 |", self.written(lines)[0])

    def test_counts_of_the_units_processor_stand_beside_this_ones(self):
        Count = collections.namedtuple("Count", "instructions requests")
        kept = {"transport.bare": Count(100, 1), "transport.ours": Count(104, 1), "join": Count(40, 0)}
        text = self.written([], kept=kept, armhf={"join": Count(50, 2), "gone": Count(1, 1)})[0]
        self.assertIn("| `join` | 40; 0 | 50; 2 | 1.25 |\n", text)
        self.assertNotIn("gone", text)

    def test_profiles_stand_side_by_side(self):
        profiles = [{"rate": 1, "parts": {"kernel": 70, "ours": 5}, "own": []},
                    {"rate": 100, "parts": {"kernel": 60, "DDS library": 30, "ours": 10}, "own": [["join()", 1.5]]}]  # fmt: skip
        text = self.written([], profiles)[0]
        self.assertIn("| part | 1 Hz | 100 Hz |", text)
        self.assertIn("| DDS library | 0.0 % | 30.0 % |", text)
        self.assertIn("| `join()` | 1.50 |", text)


if __name__ == "__main__":
    unittest.main()

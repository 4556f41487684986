#!/usr/bin/env python3
"""Tables of what tests have run: coverage.py COUNTS EXCEPTIONS [--list]

COUNTS is what cmake/gcov_counts.py prints. A line of EXCEPTIONS names a place that need not be run, and why:

    FILE: TEXT OF THE LINE # reason

The text is that of the whole line, without the space around it; of several lines with that text in a file all are
meant. An exception that names no line, or one that has all been run, is reported. Status 1 tells that there is one, or
that a goal is missed.
"""

import collections
import json
import re
import sys

# Where a wrong turn is wrong bytes, a wrong refusal or a wrong state.
STRICT_NAME = "parsers, codecs, state machines"
STRICT = re.compile(
    r"aspn2_msgs/.*"
    r"|ASPN/(AspnCmdResponse|AspnDeviceIds|CmdResponseStrings|EventQueue|FaultHysteresis)\..*"
    r"|face/(FACE_String|FACE_Sequence|FACE_IO_Parameter_Value_Type|HX_Config|HX_Config_Helpers|HX_TSS_Settings"
    r"|HX_Topic_Helpers)\..*"
    r"|ioss_mcsq/(BitGroup|FieldRows|Gssip.*|ThreatData|Zentor.*|gps_msgs)\..*"
    r"|utilities/(AngleUtility|GpsDateTime|NormalizeRange|Saturate|StringUtils|TimeUtilities|VersionStatus"
    r"|WatchdogTimer|cvt)\..*"
    r"|VICTORY/OrvaneServer/(BitResult/.*|ClearDataRequest\..*|ComponentRows\..*|GpsAvailability\..*|LatestTime\..*"
    r"|MessageSource\..*|NavInputs\..*|NavWar.*|PartNumber.*|PublicationList\..*|SanitizeOrders\..*"
    r"|ServerConfigFile\..*|Warnings\..*)"
    r"|VICTORY/Utilities/(ClearDataCommand|VictoryFaultHelper|VictoryXmlHelpers)\..*"
)
GOALS = {True: (100, 100), False: (95, 90)}  # of lines and branches, strict or not


class Place:
    """A line of a source: how often it ran, and how many of its branches were taken."""

    def __init__(self, file, number, counts, text):
        self.file, self.number, self.text = file, number, text
        self.ran = counts["count"] > 0
        # Whether an exception goes on past a handler is no branch of the source.
        branches = [] if text.startswith("} catch (") else counts.get("branches", [])
        self.branches = len(branches)
        self.taken = sum(branch["count"] > 0 for branch in branches)

    def complete(self):
        return self.ran and self.taken == self.branches


class Sum:
    def __init__(self):
        self.lines = self.ran = self.branches = self.taken = 0

    def add(self, place):
        self.lines += 1
        self.ran += place.ran
        self.branches += place.branches
        self.taken += place.taken

    @staticmethod
    def percent(part, whole):
        return 100.0 if whole == 0 else 100.0 * part / whole

    def percents(self):
        return self.percent(self.ran, self.lines), self.percent(self.taken, self.branches)

    def keeps(self, goals):
        return all(percent >= goal for percent, goal in zip(self.percents(), goals))


def places_of(counts, text_of):
    for file in counts["files"]:
        for line in file["lines"]:
            number = line["line_number"]
            yield Place(file["file"], number, line, text_of(file["file"], number))


def exceptions_of(text):
    """Pairs of file and text of a line."""
    for line in text.splitlines():
        if not line.strip() or line.startswith("#"):
            continue
        match = re.fullmatch(r"([^:]+): (.*\S)\s+# \S.*", line)
        if not match:
            raise SystemExit(f"coverage: not FILE: TEXT # reason: {line}")
        yield match.group(1), match.group(2)


def is_strict(file):
    return STRICT.fullmatch(file) is not None


def split(places, exceptions):
    """Those that count, and the exceptions that are none any more."""
    used = set()
    counting = []
    for place in places:
        key = place.file, place.text
        if key in exceptions and not place.complete():
            used.add(key)
        else:
            counting.append(place)
    return counting, sorted(set(exceptions) - used)


def sums_of(places):
    """Of the strict ones, and of the rest."""
    sums = {True: Sum(), False: Sum()}
    for place in places:
        sums[is_strict(place.file)].add(place)
    return sums


def table(places):
    folders = collections.defaultdict(Sum)
    for place in places:
        folders[place.file.rsplit("/", 1)[0]].add(place)
    width = max(map(len, [*folders, STRICT_NAME]))

    def row(name, total, goals=None):
        lines, branches = total.percents()
        text = f"{name:{width}}  {total.ran:5} of {total.lines:5} {lines:6.2f} %" \
               f"  {total.taken:5} of {total.branches:5} {branches:6.2f} %"
        if goals:
            text += f"  ({goals[0]} and {goals[1]}: {'kept' if total.keeps(goals) else 'MISSED'})"
        return text

    yield f"{'folder':{width}}  {'lines':>23}  {'branches':>23}".rstrip()
    for name in sorted(folders):
        yield row(name, folders[name])
    for strict, total in sums_of(places).items():
        yield row(STRICT_NAME if strict else "the rest", total, GOALS[strict])


def status_of(places, stale):
    missed = any(not total.keeps(GOALS[strict]) for strict, total in sums_of(places).items())
    return 1 if missed or stale else 0


def main(arguments):
    with open(arguments[1], encoding="utf-8") as file:
        exceptions = set(exceptions_of(file.read()))
    texts = {}

    def text_of(file, number):
        if file not in texts:
            with open(file, encoding="utf-8") as source:
                texts[file] = [line.strip() for line in source]
        return texts[file][number - 1]

    with open(arguments[0], encoding="utf-8") as file:
        counting, stale = split(places_of(json.load(file), text_of), exceptions)
    for place in counting:
        if not place.complete() and (is_strict(place.file) or "--list" in arguments):
            what = "" if place.taken == place.branches else f" ({place.taken} of {place.branches} branches)"
            print(f"{place.file}:{place.number}: {'' if place.ran else 'not run: '}{place.text}{what}")
    print("\n".join(table(counting)))
    print(f"exceptions: {len(exceptions)}")
    for file, text in stale:
        print(f"coverage: an exception that is none: {file}: {text}", file=sys.stderr)
    return status_of(counting, stale)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

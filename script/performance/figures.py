"""The figures of a run: from what the programs of bench/ tell to a figure for each name and side."""

import collections
import json
import re
import statistics

Figure = collections.namedtuple("Figure", "value low high unit quantiles rounds")

# The names of google's library, as a figure's name, its side, and the counter that has it (None: the processor's time).
# What no row fits is no figure of the page.
OF_GOOGLE = [
    (r"(serialize|deserialize|size)/(\w+)/ours", r"\1.\2", "ours", None),
    (r"(serialize|deserialize|size)/(\w+)/generated", r"\1.\2", "floor", None),
    (r"CalculateChecksum/200", "checksum", "ours", None),
    (r"plain loop/200", "checksum", "floor", None),
    (r"memcpy/200", "checksum", "limit", None),
    (r"(stream|messages)/ours/manual_time", r"queue.\1", "ours", "records_per_cpu_s"),
    (r"(stream|messages)/paused/manual_time", r"queue.\1", "floor", "records_per_cpu_s"),
    (r"SendEvent/type:2/faults:1/threads:1", "event.information", "ours", "median_ns"),
    (r"SendEvent/type:3/faults:2000/threads:1", "event.fault", "ours", "median_ns"),
    (r"fpga_get_SystemCount", "register", "ours", None),
    (r"volatile load and full barrier", "register", "floor", None),
    (r"bare volatile load", "register", "limit", None),
    (r"(\w+)_handler", r"handler.\1", "ours", None),
    (r"(\w+)_copy", r"handler.\1", "floor", None),
    (r"SixInputsAndJoin", "join", "ours", None),
    (r"UnpackAndTell", "join.told", "floor", None),
]
UNIT_OF_COUNTER = {"records_per_cpu_s": "1/s", "median_ns": "ns"}
SIX_INPUTS = ("PVA", "UTCTime", "HalvexPNT", "MIS", "AssuranceState", "Receiver8504")


def of_google(text):
    """The lines that stand for a report of google's library."""
    lines = []
    for row in json.loads(text)["benchmarks"]:
        if row.get("run_type") == "aggregate" or row.get("error_occurred"):
            continue
        for pattern, name, side, counter in OF_GOOGLE:
            match = re.fullmatch(pattern, row["name"])
            if match:
                unit = UNIT_OF_COUNTER[counter] if counter else row["time_unit"]
                value = row[counter] if counter else row["cpu_time"]
                lines.append({"name": match.expand(name), "side": side, "unit": unit, "value": value})
                break
    return lines + join_floor(lines)


def join_floor(lines):
    """What six inputs and a join need at least: a copy of each, and the unpacking and handing over."""
    floor = {line["name"]: line["value"] for line in lines if line["side"] == "floor"}
    parts = [f"handler.{name}" for name in SIX_INPUTS] + ["join.told"]
    if not all(part in floor for part in parts):
        return []
    return [{"name": "join", "side": "floor", "unit": "ns", "value": sum(floor[part] for part in parts)}]


def of_lines(text):
    """The lines of JSON of a program; other lines are none."""
    return [json.loads(line) for line in text.splitlines() if line.startswith("{")]


def of_rounds(lines):
    """A figure for each name and side: the median of the rounds, the lowest and the highest."""
    grouped = collections.defaultdict(list)
    for line in lines:
        grouped[line["name"], line["side"]].append(line)
    return {key: of_one(rounds) for key, rounds in grouped.items()}


def of_one(rounds):
    values = [line["value"] for line in rounds]
    told = [line["quantiles"] for line in rounds if line.get("quantiles")]
    quantiles = [statistics.median(column) for column in zip(*told)]
    if quantiles:
        quantiles[0] = min(column[0] for column in told)
        quantiles[-1] = max(column[-1] for column in told)
    return Figure(statistics.median(values), min(values), max(values), rounds[0]["unit"], quantiles, len(values))


def noise(figure):
    """Half of the spread of the rounds, as a share of the median."""
    return (figure.high - figure.low) / 2 / figure.value if figure and figure.value else 0.0


def ratio(figures, name):
    """Ours by the floor; None where one is missing."""
    ours, floor = figures.get((name, "ours")), figures.get((name, "floor"))
    return ours.value / floor.value if ours and floor and floor.value else None


# The parts of the service's time, by the file that perf names.
PARTS = [
    (r"\[.*\]", "kernel"),
    (r"OrvaneServer", "ours"),
    (r"lib(fastrtps|fastcdr|foonathan).*", "DDS library"),
    (r"libvictory.*", "stand-in of the bus library"),
    (r"(libc|libm|libpthread|ld-linux[-\w]*|libstdc\+\+|libgcc_s)(\.|-|$).*", "C and C++ library"),
]


# A row of perf's report by file and symbol: behind these stand columns that are empty.
ROW = re.compile(r"^\s*([\d.]+)%\s+(\S+)\s+\[.\] (.+?)(?:\s+-)*\s*$", re.MULTILINE)


def parts_of(report):
    """Percent of each part, of perf's report by file and symbol."""
    parts = collections.defaultdict(float)
    for share, file, _ in ROW.findall(report):
        part = next((part for pattern, part in PARTS if re.fullmatch(pattern, file)), "other libraries")
        parts[part] += float(share)
    return {part: round(share, 2) for part, share in parts.items()}


def own_of(report, count=10):
    """The hottest functions of the service's own file, with their percent, of perf's report by file and symbol."""
    rows = [(name, share) for share, file, name in ROW.findall(report) if file == "OrvaneServer"]
    return [[name, float(share)] for name, share in rows[:count]]

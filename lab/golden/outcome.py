"""What a run has shown, as text that is the same each time but for moments, and how two such texts are compared.

A moment is told in seconds of the scenario, behind what happened then: "at 34.6 s". It may be up to OFF seconds off what is
kept, by which a machine is never quite in time, the one that showed what is kept included, and later by as much as the
machine was seen to be late: by sleeps that lasted too long, by threads that had to wait for a processor, and by warnings
that were told late. A list that
is told each second may have what is new in it a second off, too: when in the second it is told follows from when the
service has started. So does what the service times by its own start: moments may
also be that much off by which the start was. All else is compared exactly. What was before the tenth second, when the
service may still be starting, has no moment.

Left out is what depends on when the machine got round to something, or on where a line of a source stands, and nothing else:

- records of Blended Navigation of before the tenth second of the unit, of behind the last one, and those without a time of
  validity, which have exact times instead of moments;
- what was told of the service itself, its lists and its system before the tenth second, but for the last of each;
- numbers of publications, sequence numbers of events, and how often a group has been called;
- how often a list of warnings was told again: each entry is there once, in its order;
- the line of its source that an event names, which changes with the source;
- the time of a threat, which it gets when its list is told, and lists without a threat;
- the components of a system while they still answer: each change of its name is there, and the last configuration;
- when a built-in test began, by its own account, and the id by which a client knows the answer to its request;
- what is said from the moment on at which the service is told to end, but for its status.

Real numbers have nine digits, since the last ones depend on the processor's instructions.
"""

import calendar
import difflib
import json
import re

from .unit import UPTIME

BEGIN = 10.0  # seconds of the unit
OFF = 0.5  # seconds of the unit
BETWEEN_LISTS = 1.0

MOMENT = re.compile(r"(?:at (?P<seconds>\d+\.\d)|before 10) s$")
START = re.compile(r"^the service has started at (-?\d+\.\d) s$", re.MULTILINE)
OF_A_LIST = re.compile(r"(warning \d+|another list|threat|system) ")  # as bus() tells what a list has that is told each second


class Unreadable(Exception):
    """Something stands where a record should be."""


def records(lines, name):
    read = []
    for line in lines:
        try:
            read.append(json.loads(line))
        except ValueError:
            raise Unreadable(f"{name}: no JSON: {line[:200]}") from None
    return read


def number(value):
    """A number or a text as it stands in a file."""
    if isinstance(value, float):
        return f"{value:.9g}"
    return json.dumps(value) if isinstance(value, (str, bool)) else str(value)


def flat(value, name=""):
    """The leaves of a record, each with its path; an empty list is one."""
    if isinstance(value, dict):
        return [leaf for key, part in value.items() for leaf in flat(part, f"{name}.{key}" if name else key)]
    if isinstance(value, list) and value:
        return [leaf for place, part in enumerate(value) for leaf in flat(part, f"{name}.{place}")]
    return [(name, "-" if value == [] else number(value))]


def of_record(record, indent="    "):
    return [f"{indent}{name} {value}" for name, value in flat(record)]


def at(seconds):
    """A moment as it stands behind what happened then."""
    return f"at {seconds:.1f} s" if seconds >= BEGIN else "before 10 s"


def later_start(kept, shown):
    """By how much later than in what is kept the service has started.

    @param kept  the text of the bus, as is what was shown
    """
    first, second = START.search(kept), START.search(shown)
    return float(second[1]) - float(first[1]) if first and second else 0.0


def settled(kept, shown, later=0.0, late=0.0):
    """What was shown, with the moments that are kept where they are near enough.

    @param kept  lines, as are those that were shown and those that come back
    @param later  by how many seconds the service has started later
    @param late   by how many seconds the machine was late, at the most
    """
    timeless = lambda lines: [MOMENT.sub("", START.sub("", line.rstrip("\n"))) for line in lines]  # noqa: E731
    result = list(shown)
    for block in difflib.SequenceMatcher(None, timeless(kept), timeless(shown), autojunk=False).get_matching_blocks():
        for place in range(block.size):
            before, now = kept[block.a + place], shown[block.b + place]
            if START.match(before) or are_near(before, now, later, late):
                result[block.b + place] = before
    return result


def are_near(kept, shown, later, late):
    """Whether moments at the ends of two lines, which are alike but for these, are near enough."""
    first, second = MOMENT.search(kept), MOMENT.search(shown)
    if not first or not second:
        return False
    off = float(second["seconds"] or BEGIN) - float(first["seconds"] or BEGIN)
    room = OFF + (BETWEEN_LISTS if OF_A_LIST.match(kept) else 0.0)
    return any(-room - 1e-6 <= off - by <= room + late + 1e-6 for by in (0.0, later))


def moment(time):
    return (
        f"{time['year']:04}-{time['month']:02}-{time['day']:02} "
        f"{time['hour']:02}:{time['minute']:02}:{time['seconds']:02}.{time['nanoseconds']:09}"
    )


def seconds_of(time, utc, told):
    """Of the unit, by the date that a record has; by when it was told, where that is another minute."""
    date = (time["year"], time["month"], time["day"], time["hour"], time["minute"], time["seconds"])
    try:
        dated = calendar.timegm(date) - utc + time["nanoseconds"] / 1e9
    except (ValueError, OverflowError):  # in no calendar
        return told
    return dated if abs(dated - told) < 60.0 else told


def changed(before, after):
    """Lines of what is different; all of it at first."""
    old = dict(flat(before)) if before else {}
    new = flat(after)
    gone = [name for name in old if name not in dict(new)]
    other = [f"    {name} {value}" for name, value in new if old.get(name) != value]
    return other + [f"    {name} gone" for name in gone]


def navigation(tells, utc, seconds, start):
    """Each record in full where it is the first, and otherwise what has changed."""
    lines = []
    last = None
    for tell in tells:
        time = tell["timeOfValidity"]
        if not time or not BEGIN - 0.5 <= seconds_of(time, utc, tell["at_ms"] / 1e3 - start) <= seconds + 0.5:
            continue
        lines += [moment(time), *changed(last, tell["record"])]
        last = tell["record"]
    return lines


def told_at(tell, start):
    """@param start  of the scenario, by the clock that tells when something was told"""
    return f" {at(tell['at_ms'] / 1e3 - start)}" if "at_ms" in tell else ""


def threats(tells, start):
    """The first one in full, of the others what differs from the one before."""
    lines = []
    last = None
    for tell in tells:
        for threat in tell["record"]["threats"]:
            timeless = {key: value for key, value in threat.items() if key != "time"}
            lines += [f"threat{told_at(tell, start)}", *changed(last, timeless)]
            last = timeless
    return lines


def warnings(tells, start):
    """Each warning when it is first in the list; a list that was cleared begins anew."""
    lines = []
    known = []
    for tell in tells:
        listed = tell["record"]["warnings"]
        common = known == listed[: len(known)]
        if not common:
            lines.append(f"another list{told_at(tell, start)}")
        for warning in listed[len(known) if common else 0 :]:
            text = f' {number(warning["customText"])}' if warning["customTextValid"] else ""
            lines.append(f'warning {warning["warningId"]}{text}{told_at(tell, start)}')
        known = listed
    return lines


def without(value, names):
    """A record that lacks members of these names, wherever they are."""
    if isinstance(value, dict):
        return {key: without(part, names) for key, part in value.items() if key not in names}
    return [without(part, names) for part in value] if isinstance(value, list) else value


def told(tell, *besides):
    left_out = ("number", "type", "tell", "at_ms", "last", "during", *besides)
    return of_record(without({key: value for key, value in tell.items() if key not in left_out}, ("startTime", "calls")))


def each(tells, start, *besides):
    return [line for tell in tells for line in (f"told{told_at(tell, start)}", *told(tell, *besides))]


def lasting_of_start(tells, start):
    """Without what was told before the tenth second, but for the last of it."""
    early = [tell for tell in tells if tell["at_ms"] / 1e3 - start < BEGIN]
    return [tell for tell in tells if tell in early[-1:] or tell not in early]


def systems(tells, start):
    """Each change of the name, and the last configuration."""
    lines = []
    last = None
    for tell in lasting_of_start(tells, start):
        name = tell["record"]["systemName"]
        if name != last:
            lines.append(f"system {number(name)}{told_at(tell, start)}")
        last = name
    return lines + told(tells[-1], "timeOfValidity")


def started(lines, start):
    """When the service has for the first time, which has an effect on moments, and is not compared itself."""
    times = [one["at_ms"] / 1e3 - start for one in records(lines, "bus") if one.get("event") == "started"]
    return [f"the service has started at {times[0]:.1f} s", ""] if times else []


def bus(lines, utc, seconds, start):
    """@param lines  of `orvanectl bus watch --json`"""
    tells = {}
    for message in records(lines, "bus"):
        if message.get("type") == "tell":
            tells.setdefault(message["tell"], []).append(message)
        elif message.get("type") != "hello":
            tells.setdefault(message["type"], []).append(message)
    shown = started(lines, start)
    for name in sorted(tells):
        if name == "blended-navigation":
            text = navigation(tells[name], utc, seconds, start)
        elif name == "navwar-sa":
            text = threats(tells[name], start)
        elif name == "warning-messages":
            text = warnings(tells[name], start)
        elif name == "system-configuration":
            text = systems(tells[name], start)
        elif name in ("available-outputs", "available-sensors", "service"):
            text = each(lasting_of_start(tells[name], start), start, "timeOfValidity")
        else:
            text = each(tells[name], start)
        shown += [f"== {name}", *text, ""]
    return shown


def events(lines):
    """@param lines  of `orvanectl echo --json`"""
    shown = []
    for message in records(lines, "events"):
        if message["kind"] != "record":
            continue
        header = message["header"]
        time = header["timestamp_valid"]
        when = at(time["sec"] + time["nsec"] / 1e9 - UPTIME)
        fields = [lasting(one) for one in of_record(message["message"])]
        shown += [f'== {message["topic"]} from {header["device_id"]["server_name"]} {when}', *fields]
    return shown


def lasting(text):
    """Without times, and without the lines of the sources, which any change of them moves."""
    text = re.sub(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", "TIME", text)
    return re.sub(r"(\w\.cpp|\w\.h)\[\d+\]", r"\1[LINE]", text)


def answer(line):
    """What a request has printed: a summary of what was told for it, or its answer."""
    if not line.startswith("{"):
        # Which publication it was, and of when, is like that of the bus.
        return [re.sub(r"^\d+ ", "", re.sub(r"  \d+-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}", "", line))]
    (record,) = records([line], "request")
    return ["answer", *told(record, "id", "request", "timeOfValidity")] if record.get("type") == "answer" else told(record)


def request(one, lines, errors):
    """@param one  when, with which words and with which status"""
    shown = [f"== at {one['seconds']:g} {' '.join(one['words'])}"]
    for line in lines:
        shown += answer(line)
    return [*shown, *errors, f"status {one['status']}", ""]


def console(lines, times, start):
    """@param times  when each has come, and maybe more, by the clock that tells when the scenario began"""
    return [f"{lasting(line)}  {at(time - start)}" for line, time in zip(lines, times)]


def dawdled(lines, start):
    """By how many seconds of the unit the service, or the machine that runs it, was behind: of its start, for which it
    has a second, and of the list of warnings, which is told each second as long as there is a service.

    @param lines  of `orvanectl bus watch --json`
    """
    late = 0.0
    last = None
    for message in records(lines, "bus"):
        if message.get("event") == "started" or message.get("tell") == "warning-messages":
            now = message["at_ms"] / 1e3 - start
            if last is None:
                late = max(late, now - 1.0)
            elif message["type"] == "tell":
                late = max(late, now - last - 1.0)
            last = now
    return late


def complaints(lines):
    """What a client of the lab itself had to say."""
    return ["== on standard error", *lines, ""] if lines else []


def whole_lines(text):
    """Without the last one if that is being written."""
    return text[: text.rfind("\n") + 1].splitlines()


def times(out):
    return [float(line) for line in whole_lines((out / "console.times.until-end").read_text())]


def of_run(out, utc, seconds):
    """The texts of a run, by the names of their files.

    @param out  the directory that unit.py has left
    """
    read = lambda name: whole_lines((out / name).read_text(errors="replace"))  # noqa: E731
    start = float(read("started")[0])
    until_end = lambda name: read(f"{name}.until-end")  # noqa: E731
    shown = {
        "bus.txt": bus(until_end("bus"), utc, seconds, start) + complaints(until_end("bus.errors")),
        "events.txt": events(until_end("events")) + complaints(until_end("events.errors")),
        "console.txt": [*console(until_end("console"), times(out), start), f"status {read('status')[0]}"],
    }
    requests = json.loads((out / "requests").read_text())
    if requests:
        texts = [request(one, read(one["name"]), read(f"{one['name']}.errors")) for one in requests]
        shown["requests.txt"] = sum(texts, [])
    return {name: "\n".join(lines).rstrip("\n") + "\n" for name, lines in shown.items()}


def behind(out):
    """By how many seconds of the unit the machine was behind in a run, at the most.

    @param out  as above
    """
    told = whole_lines((out / "bus.until-end").read_text(errors="replace"))
    start, late = (float((out / name).read_text()) for name in ("started", "late"))
    return max(late, dawdled(told, start))

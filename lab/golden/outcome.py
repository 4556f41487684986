"""What a run has shown, as text that is the same each time.

Left out is what depends on when the machine got round to something, or on where a line of a source stands, and nothing else:

- records of Blended Navigation of before the tenth second of the unit, when the service may still be starting, of behind
  the last one, and those without a time of validity;
- numbers of publications, wall-clock times of telling, sequence numbers and times of events;
- how often a list of warnings was told again: each entry is there once, in its order;
- the line of its source that an event names, which changes with the source;
- the time of a threat, which it gets when its list is told, and lists without a threat;
- the system configurations while components still answer: the last one is there;
- when a built-in test began, and the id by which a client knows the answer to its request;
- what is said from the moment on at which the service is told to end, but for its status.

Real numbers have nine digits, since the last ones depend on the processor's instructions.
"""

import calendar
import json
import re

BEGIN = 10  # seconds of the unit


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


def moment(time):
    return (
        f"{time['year']:04}-{time['month']:02}-{time['day']:02} "
        f"{time['hour']:02}:{time['minute']:02}:{time['seconds']:02}.{time['nanoseconds']:09}"
    )


def seconds_of(time, utc):
    """Of the unit, by the date that a record has."""
    date = (time["year"], time["month"], time["day"], time["hour"], time["minute"], time["seconds"])
    return calendar.timegm(date) - utc + time["nanoseconds"] / 1e9


def changed(before, after):
    """Lines of what is different; all of it at first."""
    old = dict(flat(before)) if before else {}
    new = flat(after)
    gone = [name for name in old if name not in dict(new)]
    other = [f"    {name} {value}" for name, value in new if old.get(name) != value]
    return other + [f"    {name} gone" for name in gone]


def navigation(tells, utc, seconds):
    """Each record in full where it is the first, and otherwise what has changed."""
    lines = []
    last = None
    for tell in tells:
        time = tell["timeOfValidity"]
        if not time or not BEGIN - 0.5 <= seconds_of(time, utc) <= seconds + 0.5:
            continue
        lines += [moment(time), *changed(last, tell["record"])]
        last = tell["record"]
    return lines


def threats(tells):
    """The first one in full, of the others what differs from the one before."""
    lines = []
    last = None
    for tell in tells:
        for threat in tell["record"]["threats"]:
            timeless = {key: value for key, value in threat.items() if key != "time"}
            lines += ["threat", *changed(last, timeless)]
            last = timeless
    return lines


def warnings(tells):
    """Each warning when it is first in the list; a list that was cleared begins anew."""
    lines = []
    known = []
    for tell in tells:
        listed = tell["record"]["warnings"]
        common = known == listed[: len(known)]
        if not common:
            lines.append("another list")
        for warning in listed[len(known) if common else 0 :]:
            text = f' {number(warning["customText"])}' if warning["customTextValid"] else ""
            lines.append(f'warning {warning["warningId"]}{text}')
        known = listed
    return lines


def without(value, names):
    """A record that lacks members of these names, wherever they are."""
    if isinstance(value, dict):
        return {key: without(part, names) for key, part in value.items() if key not in names}
    return [without(part, names) for part in value] if isinstance(value, list) else value


def told(tell, *besides):
    left_out = ("number", "type", "tell", "at_ms", "last", "during", *besides)
    return of_record(without({key: value for key, value in tell.items() if key not in left_out}, ("startTime",)))


def each(tells):
    return [line for tell in tells for line in ("told", *told(tell))]


def bus(lines, utc, seconds):
    """@param lines  of `orvanectl bus watch --json`"""
    tells = {}
    for message in records(lines, "bus"):
        if message.get("type") == "tell":
            tells.setdefault(message["tell"], []).append(message)
        elif message.get("type") in ("misuse", "dropped", "error"):
            tells.setdefault(message["type"], []).append(message)
    shown = []
    for name in sorted(tells):
        if name == "blended-navigation":
            text = navigation(tells[name], utc, seconds)
        elif name == "navwar-sa":
            text = threats(tells[name])
        elif name == "warning-messages":
            text = warnings(tells[name])
        elif name in ("system-configuration", "available-outputs", "available-sensors"):
            text = told(tells[name][-1], "timeOfValidity")
        else:
            text = each(tells[name])
        shown += [f"== {name}", *text, ""]
    return shown


def events(lines):
    """@param lines  of `orvanectl echo --json`"""
    shown = []
    for message in records(lines, "events"):
        if message["kind"] != "record":
            continue
        header = message["header"]["device_id"]
        fields = [lasting(one) for one in of_record(message["message"])]
        shown += [f'== {message["topic"]} from {header["server_name"]}', *fields]
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


def console(lines):
    return [lasting(line) for line in lines]


def complaints(lines):
    """What a client of the lab itself had to say."""
    return ["== on standard error", *lines, ""] if lines else []


def whole_lines(text):
    """Without the last one if that is being written."""
    return text[: text.rfind("\n") + 1].splitlines()


def of_run(out, utc, seconds):
    """The texts of a run, by the names of their files.

    @param out  the directory that unit.py has left
    """
    read = lambda name: whole_lines((out / name).read_text(errors="replace"))  # noqa: E731
    until_end = lambda name: read(f"{name}.until-end")  # noqa: E731
    shown = {
        "bus.txt": bus(until_end("bus"), utc, seconds) + complaints(until_end("bus.errors")),
        "events.txt": events(until_end("events")) + complaints(until_end("events.errors")),
        "console.txt": [*console(until_end("console")), f"status {read('status')[0]}"],
    }
    requests = json.loads((out / "requests").read_text())
    if requests:
        texts = [request(one, read(one["name"]), read(f"{one['name']}.errors")) for one in requests]
        shown["requests.txt"] = sum(texts, [])
    return {name: "\n".join(lines).rstrip("\n") + "\n" for name, lines in shown.items()}

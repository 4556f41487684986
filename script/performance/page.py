"""The page of figures, docs/performance.md: fixed texts, and what a run gave."""

import textwrap

from performance import chart, figures as figure_rules

HEAD = """\
# Performance

For whoever wants to know what the service costs, and what the least would be. `script/bench` measures, and writes this
page wholly: change the script, not the page.

```
script/bench            # {rounds} rounds took {minutes}
script/bench --quick    # one short round, to see that all of it runs; its figures are none
script/instructions     # what the hot paths take by instructions, the same on a busy machine; --armhf: for the unit's
```

The **floor** is the least that others would need for the same: the types that fastddsgen makes and the bare DDS library
with the same settings, a copy under a lock, the load of a file alone. The **limit** is what the machine itself needs: a
copy, a futex in shared memory. Floor and ours have their turn in each round. A figure is the median of {rounds} rounds;
behind ± stands half of the spread of ours over the rounds. What differs by less than that is no difference.
"""

SECTIONS = [
    ("From a write to the call-back", "Two processes, shared memory, reliable; a position of a navigation filter. The "
     "limit is a futex in shared memory between two processes, which hands over 8 bytes.", [
        ("transport.latency.100", "latency at 100 Hz, median", "futex.latency.100"),
        ("transport.latency.1000", "at 1 kHz", "futex.latency.1000"),
        ("transport.latency.10000", "at 10 kHz", "futex.latency.10000"),
        ("transport.cost.100", "receiver's processor time a message, at 100 Hz", None),
        ("transport.cost.1000", "at 1 kHz", None),
        ("transport.cost.10000", "at 10 kHz", None),
        ("transport.throughput", "messages at full speed", None)]),
    ("Codecs", "One call as the DDS library makes it. The limit is a copy of so many bytes as the record has at most.", [
        ("serialize.PositionVelocityAttitude", "serialize PositionVelocityAttitude", "copy.768"),
        ("deserialize.PositionVelocityAttitude", "deserialize it", "copy.768"),
        ("serialize.HalvexPNT", "serialize HalvexPNT", "copy.212"),
        ("deserialize.HalvexPNT", "deserialize it", "copy.212"),
        ("serialize.MeasurementIncorporationStatus", "serialize MeasurementIncorporationStatus of 100", "copy.1252"),
        ("deserialize.MeasurementIncorporationStatus", "deserialize it", "copy.1252"),
        ("serialize.GSSIP", "serialize GSSIP of 412 bytes", "copy.412"),
        ("deserialize.GSSIP", "deserialize it", "copy.412"),
        ("size.MeasurementIncorporationStatus", "size of MeasurementIncorporationStatus", None)]),
    ("Queues", "Records of 512 bytes from a named pipe, told for a second of the reading thread's own time. The floor is "
     "a loop of read and the generated type that pauses as a reader of queues does. The limit of the checksum is a copy of "
     "its 400 bytes.", [
        ("queue.stream", "records, as much as a read takes", None),
        ("queue.messages", "records, a message a read", None),
        ("checksum", "checksum of 200 words", "checksum")]),
    ("Handlers", "One call. The floor is a copy of the message under a lock.", [
        ("handler.PVA", "PositionVelocityAttitude", None),
        ("handler.UTCTime", "UTCTime", None),
        ("handler.HalvexPNT", "HalvexPNT", None),
        ("handler.MIS", "MeasurementIncorporationStatus", None),
        ("handler.AssuranceState", "AssuranceState", None),
        ("handler.Receiver8504", "frame 8504", None),
        ("handler.Receiver5044", "frame 5044, a warning", None),
        ("handler.Threats15051", "frame 15051, a report of threats", None),
        ("handler.BitReport", "BitReport", None),
        ("handler.Command", "Command", None),
        ("handler.Response", "Response", None),
        ("join", "six inputs and the join; floor: the copies, the unpacking and the telling", None)]),
    ("Events and registers", "The floor of a register is a load and a barrier, the limit the load alone.", [
        ("event.information", "to send an event, information", None),
        ("event.fault", "a fault, with a full record", None),
        ("register", "to read the system count", "register")]),
    ("Configuration", "Opening and reading all connections of a file; the floor is the load of the file alone.", [
        (f"configuration.{count}", f"{count} connections", None) for count in (11, 100, 500, 1000)]),
    ("The service as it is shipped", "On a unit of the lab, over UDP, the stand-in of the bus library inside. The floor is "
     "a program of the bare library with the same topics, and a loop that polls the queues; it does nothing with what "
     "comes, has no bus, and ends without looking for a signal now and then. Where the bus is told of, the floor runs a "
     "service of the bus library besides, which it tells nothing. Of the instructions of a start, as valgrind counts "
     "them, more than half are the dynamic linker's, of the floor's some two thirds; the service's own code is less than one "
     "in a hundred.", [
        ("start.runs", "from exec to running, the bus too", None),
        ("start.processor", "of that, time on the processor", None),
        ("start.topics", "from exec to running, the floor without the bus", None),
        ("start.told", "to \"started successfully\" at a peer; an event comes every 100 ms, and this is the third", None),
        ("end", "SIGTERM to exit; the service looks every 500 ms, and its last two events take 100 ms each", None),
        ("processor.idle", "processor without input", None),
        ("processor.rate.1", "all inputs at 1 Hz", None),
        ("processor.rate.100", "all inputs at 100 Hz", None),
        ("processor.rate.1000", "all inputs at 1000 Hz", None),
        ("memory.idle", "resident memory without input", None),
        ("memory.bus", "without input, the floor with the bus too", None),
        ("memory.rate.1000", "at 1000 Hz", None)]),
    ("Where the memory is", "Resident, without input, by what it is. The bus library is the lab's stand-in: it has "
     "threads of its own, and holds the last record of each kind that it was told, some 176 KiB of the heap; the floor is "
     "without it. Some 71 KiB of the heap are the files of connections and devices as they were read. The main thread's "
     "stack has the server itself, 197 KiB, of which two texts and a record for the bus are 64 KiB each, and that record "
     "once more, since records go to the bus by value; so they stand on other stacks. Beside the heap are the area for "
     "what queues bring and the payload with its copy, 128 KiB each, of which the floor has one.", [
        ("memory.part.program", "the program's file", None),
        ("memory.part.dds", "DDS library's files", None),
        ("memory.part.bus", "bus library's file", None),
        ("memory.part.libraries", "files of other libraries", None),
        ("memory.part.heap", "heap", None),
        ("memory.part.other", "memory beside the heap", None),
        ("memory.part.stack", "stack of the main thread", None),
        ("memory.part.stacks", "stacks of the other threads", None)]),
    ("The tools", "`orvanectl` on a unit of the lab. The floor is a program with the same libraries that does nothing and, of "
     "what follows topics, one of the bare library that does nothing with what comes. Of decode and play what they handle "
     "in a second of their own time on the processor, unless the clock is named: a run with many less one with few, so that "
     "start and end are no part of it; their output goes to nobody. Lost is what was sent while the time was taken and did "
     "not come, or what the tool tells itself if that is more.", [
        ("tool.start.help", "`--help`, from exec to exit", None),
        ("tool.start.decode", "`decode` of a frame", None),
        ("tool.start.check", "`check` of the sample configuration", None),
        ("tool.start.info", "`info` of 100 messages", None),
        ("tool.echo", "processor of `echo --json`, 2,000 samples a second of all topics over shared memory", None),
        ("tool.echo.lost", "what it lost", None),
        ("tool.record", "processor of `record`, likewise", None),
        ("tool.record.lost", "what it lost", None),
        ("tool.decode.json.5044", "`decode --json`, frames of 54 bytes", None),
        ("tool.decode.json.5044.line", "what it writes for one", None),
        ("tool.decode.json.8504", "of 412 bytes", None),
        ("tool.decode.json.8504.bytes", "the same, by their bytes", None),
        ("tool.decode.json.8504.line", "what it writes for one", None),
        ("tool.decode.text.5044", "`decode` for a person, frames of 54 bytes", None),
        ("tool.decode.text.8504", "of 412 bytes", None),
        ("tool.decode.text.8504.bytes", "the same, by their bytes", None),
        ("tool.play.topic", "`play --fast`, records of UTCTime to a subscriber over shared memory", None),
        ("tool.play.topic.clock", "the same in a second of the clock", None),
        ("tool.play.queue", "frames of 412 bytes into a queue, each once the one before is taken", None),
        ("tool.play.queue.bytes", "the same, by their bytes", None),
        ("tool.play.queue.clock", "the same in a second of the clock", None),
        *((f"tool.serve.{count}", f"processor of `serve`, inputs at 1 Hz, {who}", None)
          for count, who in ((0, "nobody looks on"), (1, "1 looks on"), (4, "4 look on"), (16, "16 look on")))]),
    ("Limits of the machine", "", [
        ("futex.latency.1000", "futex in shared memory, between two processes at 1 kHz, median", "futex.latency.1000"),
        ("pipe.latency.1000", "pipe", "pipe.latency.1000"),
        ("poll.latency.1000", "pipe that is polled first", "poll.latency.1000"),
        ("copy.1252", "copy of 1252 bytes", "copy.1252")]),
]  # fmt: skip

COSTS = {
    "transport.cost": "receiver's processor time a message",
    "configuration": "to open and read all connections",
    "processor.clients": "processor with clients on the bus, all inputs at 10 Hz",
    "processor.rate": "processor with all inputs",
    "tool.serve": "processor of serve with viewers, inputs at 1 Hz",
}


def goals(figures):
    """What is wanted, what was seen, and whether that is enough: None where it was not measured."""

    def ratio(name):
        return figure_rules.ratio(figures, name)

    def of_ratio(text, name, is_good):
        value = ratio(name)
        return text, f"{value:.2f}" if value else "", is_good(value) if value else None

    yield of_ratio("throughput at least 0.97 of the floor", "transport.throughput", lambda value: value >= 0.97)
    for count in (11, 100, 500, 1000):
        yield of_ratio(f"{count} connections within 1.5 times the load", f"configuration.{count}",
                       lambda value: value <= 1.5)  # fmt: skip
    yield of_ratio("start within 1.1 times the floor, the bus too", "start.runs", lambda value: value <= 1.1)
    yield of_ratio("start within 1.1 times the floor without the bus", "start.topics", lambda value: value <= 1.1)
    end = figures.get(("end", "ours"))
    slowest = end.quantiles[-1] if end and end.quantiles else None
    yield "every end below 800 ms", f"{slowest:.0f} ms" if slowest else "", slowest < 800 if slowest else None
    for name, when in (("memory.idle", "without input"), ("memory.rate.1000", "at 1000 Hz")):
        ours, floor = figures.get((name, "ours")), figures.get((name, "floor"))
        more = ours.value - floor.value if ours and floor else None
        yield (f"memory within 1.5 MiB of the floor, {when}", "" if more is None else f"{more:+.1f} MiB",
               None if more is None else more <= 1.5)  # fmt: skip
    yield from goals_of_tools(figures)


def goals_of_tools(figures):
    """Likewise, of the tools alone."""

    def of_values(text, names, is_good, of=lambda figure: figure.value):
        values = [(of(figures[name, "ours"]), figures[name, "ours"].unit) for name in names if (name, "ours") in figures]
        bad = [value for value in values if not is_good(value[0])]
        seen = max(bad or values, default=None)
        is_all = len(values) == len(names)
        return text, shown(*seen) if seen else "", not bad if is_all or bad else None

    yield of_values("the slowest of `--help`, `decode`, `check` and `info` within 40 ms from exec to exit, by its median",
                    [f"tool.start.{verb}" for verb in ("help", "decode", "check", "info")], lambda value: value <= 40)  # fmt: skip
    for verb in ("echo", "record"):
        yield of_values(f"{verb} follows 2,000 samples a second with less than 15 % of a processor", [f"tool.{verb}"],
                        lambda value: value < 15)  # fmt: skip
        yield of_values(f"{verb} loses nothing of them in any round", [f"tool.{verb}.lost"], lambda value: value == 0,
                        of=lambda figure: figure.high)  # fmt: skip
    for verb, small, small_name, large in (("decode --json", "frames", "decode.json.5044", "decode.json.8504"),
                                           ("play", "records", "play.topic", "play.queue")):  # fmt: skip
        own = "in a second of its own processor time"
        yield of_values(f"{verb}: 2 M {small} {own}", [f"tool.{small_name}"], lambda value: value >= 2e6)
        yield of_values(f"{verb}: 200 MB {own}", [f"tool.{large}.bytes"], lambda value: value >= 200)
    yield of_values("serve with 16 viewers below 5 % of a processor", ["tool.serve.16"], lambda value: value < 5)


def note_of_tools(figures):
    """What the figures say of where the time of decode and play goes."""

    def ours(name):
        return figures[name, "ours"].value if (name, "ours") in figures else None

    def each(name):
        return shown(1e9 / ours(name), "ns")

    sentences = []
    frames, line = ours("tool.decode.json.8504"), ours("tool.decode.json.8504.line")
    if frames and line:
        sentences.append(f"A frame of 412 bytes takes `decode --json` {each('tool.decode.json.8504')} of its processor time "
                         f"for {shown(line, 'bytes')} of JSON: it writes {shown(frames * line / 1e6, 'MB')} in a second of it.")  # fmt: skip
    if ours("tool.play.topic"):
        sentences.append(f"A record takes `play` {each('tool.play.topic')} of its processor time on a topic, without that of "
                         "the subscriber.")  # fmt: skip
    if ("transport.throughput", "floor") in figures:
        bare = figures["transport.throughput", "floor"]
        sentences.append(f"The bare DDS library hands over {shown(bare.value, bare.unit)} at full speed, as told above: a play "
                         "into a topic can't be far beyond that.")  # fmt: skip
    if ours("tool.play.queue"):
        sentences.append(f"Into a queue a frame takes it {each('tool.play.queue')}, without that of the reader.")
    return " ".join(sentences)


def shown(value, unit):
    """A value with its unit, in the one that people know; three digits are enough."""
    steps = {"ns": ("ns", "us", "ms"), "us": ("us", "ms", "s"), "ms": ("ms", "s")}.get(unit)
    if steps:
        place = 0
        while value >= 1000 and place + 1 < len(steps):
            value, place = value / 1000, place + 1
        return f"{digits(value)} {steps[place]}"
    if unit == "1/s":
        for name, size in (("M/s", 1e6), ("k/s", 1e3)):
            if value >= size:
                return f"{digits(value / size)} {name}"
        return f"{digits(value)} /s"
    return f"{digits(value)} {unit}"


def digits(value):
    return f"{value:.0f}" if value >= 100 else f"{value:.3g}"


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" * len(head)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows]) + "\n"


def heading(title, text=""):
    return f"\n## {title}\n\n" + (textwrap.fill(text, 120) + "\n\n" if text else "")


def with_noise(figure):
    noise = f" ± {100 * figure_rules.noise(figure):.0f} %" if figure.rounds > 1 else ""
    return shown(figure.value, figure.unit) + noise


# What stands below the text of a section, of the figures that there are.
NOTES = {"The tools": note_of_tools}


def section(figures, title, text, rows):
    """A table of the figures that there are; nothing where there is none."""
    cells = []
    for name, label, limit_name in rows:
        ours, floor = figures.get((name, "ours")), figures.get((name, "floor"))
        limit = figures.get((limit_name, "limit")) if limit_name else None
        if not ours and not floor and not limit:
            continue
        ratio = figure_rules.ratio(figures, name)
        cells.append((
            label, shown(floor.value, floor.unit) if floor else "",
            with_noise(ours) if ours else "",
            f"{ratio:.2f}" if ratio else "", shown(limit.value, limit.unit) if limit else "",
        ))  # fmt: skip
    if not cells:
        return ""
    note = NOTES[title](figures) if title in NOTES else ""
    return (heading(title, text) + (textwrap.fill(note, 120) + "\n\n" if note else "")
            + table(("what", "floor", "ours", "ours by floor", "limit"), cells))  # fmt: skip


def goal_table(figures):
    words = {None: "not measured", True: "kept", False: "**missed**"}
    rows = [(text, seen, words[is_kept]) for text, seen, is_kept in goals(figures)]
    return heading("Goals") + table(("goal", "seen", ""), rows)


def plots(figures):
    """The pictures that can be drawn: a file's name, what it shows, and its text."""

    def cumulative(name, side):
        quantiles = figures[name, side].quantiles
        return [(value, share) for share, value in enumerate(quantiles)]

    names = [("transport.latency.1000", "floor", "floor"), ("transport.latency.1000", "ours", "ours"),
             ("futex.latency.1000", "limit", "limit: a futex in shared memory")]  # fmt: skip
    there = [(label, cumulative(name, side)) for name, side, label in names
             if (name, side) in figures and figures[name, side].quantiles]  # fmt: skip
    if there:
        title = "Latency at 1 kHz: share of messages that are there by then"
        yield "performance-latency.svg", title, chart.chart(title, "us", "%", there, log_x=True)
    ends = [(label, [(value, share) for share, value in enumerate(figures["end", side].quantiles)])
            for side, label in (("floor", "floor: the end of the DDS library"), ("ours", "ours"))
            if ("end", side) in figures and figures["end", side].quantiles]  # fmt: skip
    if ends:
        title = "SIGTERM to exit: share of ends that are over by then"
        yield "performance-end.svg", title, chart.chart(title, "ms", "%", ends)
    for stem, x_label, y_label, log_x, log_y in (
        ("transport.cost", "messages a second", "us a message", True, False),
        ("configuration", "connections", "us", True, True),
        ("processor.clients", "clients", "% of a processor", False, False),
        ("processor.rate", "all inputs, so many times a second", "% of a processor", True, False),
        ("tool.serve", "viewers", "% of a processor", False, False),
    ):
        lines = [(side, growth(figures, stem, side)) for side in ("floor", "ours")]
        lines = [line for line in lines if line[1]]
        if lines:
            title = f"Cost: {COSTS[stem]}"
            file = f"performance-{stem.replace('.', '-')}.svg"
            yield file, title, chart.chart(title, x_label, y_label, lines, log_x, log_y)


def growth(figures, stem, side):
    """The points of figures whose names end in a number."""
    points = [(float(name.rsplit(".", 1)[1]), figure.value) for (name, its_side), figure in figures.items()
              if its_side == side and name.rsplit(".", 1)[0] == stem and name.rsplit(".", 1)[1].isdigit()]  # fmt: skip
    return sorted(points)


def growth_text(figures):
    """How cost grows from the lowest number to the highest, in a line each."""
    rows = []
    for stem, label in COSTS.items():
        for side in ("floor", "ours"):
            points = growth(figures, stem, side)
            if len(points) > 1 and points[0][1]:
                (low, first), (high, last) = points[0], points[-1]
                unit = next(figure.unit for (name, its_side), figure in figures.items()
                            if its_side == side and name == f"{stem}.{low:.0f}")  # fmt: skip
                rows.append((label, side, f"{low:.0f}: {shown(first, unit)}", f"{high:.0f}: {shown(last, unit)}",
                             f"{last / first:.3g}"))  # fmt: skip
    if not rows:
        return ""
    return heading("How cost grows") + table(("what", "side", "from", "to", "times"), rows)


def profile_table(profiles):
    """Where the service's time goes, by rate: the share of each part, and its own hottest functions."""
    if not profiles:
        return heading("Where the time goes", "Not measured: `perf` is not there.")
    parts = sorted({part for profile in profiles for part in profile["parts"]},
                   key=lambda part: -profiles[-1]["parts"].get(part, 0))  # fmt: skip
    rows = [(part, *(f"{profile['parts'].get(part, 0):.1f} %" for profile in profiles)) for part in parts]
    text = heading("Where the time goes", "Samples of the shipped service by `perf`, while all inputs come at a rate, by the "
                   "file that was run. At 1 Hz there is little to see: few samples.")  # fmt: skip
    text += table(("part", *(f"{profile['rate']} Hz" for profile in profiles)), rows)
    text += "\nThe hottest of its own functions at the highest rate, in percent of all:\n\n"
    return text + table(("function", "%"), [(f"`{name}`", f"{share:.2f}") for name, share in profiles[-1]["own"]])


def instruction_table(kept, armhf):
    """Pairs of figures that script/instructions keeps, and all of those that it has of both processors."""
    pairs = [("transport.write.bare", "transport.write.ours", "write that nobody receives"),
             ("transport.bare", "transport.ours", "write to call-back in one thread"),
             *((f"configuration.load.{count}", f"configuration.all.{count}", f"{count} connections")
               for count in (11, 100, 1000))]  # fmt: skip
    rows = [(label, f"{kept[floor].instructions:.0f}; {kept[floor].requests:.0f}",
             f"{kept[ours].instructions:.0f}; {kept[ours].requests:.0f}",
             f"{kept[ours].instructions / kept[floor].instructions:.2f}")
            for floor, ours, label in pairs if floor in kept and ours in kept]  # fmt: skip
    if not rows:
        return ""
    text = (heading("By instructions", "Instructions outside of the C library; requests for memory. Kept by "
                    "`script/instructions`, which has many more, in `bench/instructions.txt`.")
            + table(("what", "floor", "ours", "ours by floor"), rows))  # fmt: skip
    both = [(f"`{name}`", *(f"{figures[name].instructions:.0f}; {figures[name].requests:.0f}" for figures in (kept, armhf)),
             f"{armhf[name].instructions / kept[name].instructions:.2f}") for name in armhf if name in kept]  # fmt: skip
    if not both:
        return text
    return (text + "\n" + textwrap.fill(
        "The same for the unit's processor, a 32-bit ARM, by `script/instructions --armhf`, which keeps them in "
        "`bench/instructions-armhf.txt`: built as `script/build-armhf` does, without link-time optimisation, and run by "
        "`qemu-arm-static` one instruction at a time. Not among them are the transport, which takes more than the emulator "
        "has, and the configuration, which would take it too long. A copy that the compiler writes out for one processor is "
        "a call of the C library for the other, and left out there.", 120, break_on_hyphens=False)
        + "\n\n" + table(("what", "x86-64", "32-bit ARM", "ARM by x86-64"), both))  # fmt: skip


def written(about, figures, profiles, kept, armhf):
    """The page, and its pictures by name."""
    pictures = list(plots(figures))
    text = HEAD.format(minutes=about["minutes"], rounds=about["rounds"])
    text += "\n" + table(("machine", ""), about["machine"])
    text += goal_table(figures)
    text += "".join(section(figures, *row) for row in SECTIONS)
    if pictures:
        text += "\n## Pictures\n" + "".join(f"\n![{title}](pictures/{name})\n" for name, title, _ in pictures)
    text += growth_text(figures)
    text += profile_table(profiles)
    text += instruction_table(kept, armhf)
    return text, {name: svg for name, _, svg in pictures}

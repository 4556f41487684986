"""A scenario is played on a unit and recorded; the recording, played to a new service on another unit, has it tell the
same, at the same moments of the scenario.

replay_test.py BUILD NAME [--rate N]

Each unit is a sandbox of its own with a clock of the lab, as those of script/golden, and what was told is compared as
there: moments have room, what the machine was too slow for is done again more slowly, and so is once what differs. Status
1 tells that something else was told, or that a program ended by itself; 125 that there can be no sandbox here.
"""

import argparse
import difflib
import importlib.machinery
import importlib.util
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[4]
sys.path.insert(0, str(ROOT / "lab"))
sys.dont_write_bytecode = True
from golden import outcome, unit  # noqa: E402

RECORDING = "/tmp/run.mcap"
LONGEST_TO_START = 60  # seconds of the unit
UNSEEN = 0.03  # seconds of the machine that it may be late without being seen to be


def load_golden():
    """What is there for runs on units; it has no name of a module."""
    loader = importlib.machinery.SourceFileLoader("golden_script", str(ROOT / "script/golden"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("golden_script", loader))
    loader.exec_module(module)
    return module


class Bench:
    """What both runs have in common. Runs inside a sandbox."""

    def __init__(self, build):
        unit.OUT.mkdir()
        self.programs = unit.Programs(build)

    def wait_for(self, what, condition, longest=LONGEST_TO_START):
        unit.wait_for(self.programs, what, condition, longest)

    def start_tool(self, name, *words):
        self.programs.start(name, "lab/ctl/orvanectl", *words)

    def start_service(self):
        libraries = str(self.programs.build / "lab/libvictory")
        self.programs.start(
            "console", "VICTORY/OrvaneServer/OrvaneServer", "/opt/halvex/config/OrvaneServer.xml",
            LD_LIBRARY_PATH=libraries,
        )  # fmt: skip
        self.wait_for("the bus", lambda: unit.is_listening(os.environ["ORVANE_LAB_BUS"]))
        self.start_tool("bus", "bus", "watch", "--json")

    def await_navigation(self):
        self.wait_for("Blended Navigation", lambda: has_navigation((unit.OUT / "bus").read_text(errors="replace")))

    def pass_time(self, rate, end):
        """@param end  a time of the clock"""
        unit.set_rate(self.programs, rate)
        self.programs.measure(rate)
        unit.wait_until(self.programs, end)

    def end(self, start, seconds):
        """@param start  of the scenario, a time of the clock"""
        unit.set_rate(self.programs, 1)
        unit.time.sleep(0.5)
        told = outcome.whole_lines((unit.OUT / "bus").read_text(errors="replace"))
        (unit.OUT / "bus.until-end").write_text("".join(f"{line}\n" for line in of_scenario(told, start, seconds)))
        (unit.OUT / "started").write_text(f"{start}\n")
        (unit.OUT / "late").write_text(f"{self.programs.late}\n")


def has_navigation(told):
    """Whether a record with a time is there; other lists may have times before any input has come."""
    return any('"tell":"blended-navigation"' in line and '"timeOfValidity":{' in line for line in told.splitlines())


def of_scenario(lines, start, seconds):
    """Without what was told behind the last second, when the recording ends at some moment; but all of Blended
    Navigation, of which the times of validity tell where the end is."""
    kept = []
    for line, message in zip(lines, outcome.records(lines, "bus")):
        is_behind = message.get("at_ms", 0) / 1e3 - start > seconds
        if not is_behind or message.get("tell") == "blended-navigation":
            kept.append(line)
    return kept


def record(build, scenario, seconds, rate, utc, options):
    bench = Bench(build)
    try:
        for number in ("5", "6"):
            os.mkfifo(f"/tmp/queue{number}")
            command = f"exec tee /tmp/copy{number} </tmp/queue{number} 1<>/dev/mcs{number}"
            subprocess.Popen(["sh", "-c", command], env={**os.environ, "LD_PRELOAD": ""})
        played = ("--verbose", "--repeatable", "--utc", utc, "--scenario", scenario, "--queue-prefix", "/tmp/queue")
        for number in ("5", "6"):
            pathlib.Path(f"/tmp/copy{number}").touch()
        copies = ("--queue", "ZEN_HX=/tmp/copy5", "--queue", "HX_ZEN=/tmp/copy6")
        bench.start_tool("record", "record", "-o", RECORDING, "--socket", os.environ["ORVANE_LAB_BUS"], *copies)
        bench.wait_for("the recording", lambda: os.path.exists(RECORDING))
        bench.programs.start("unit-sim", "lab/unit/unit-sim", *played, *options)
        bench.wait_for("the first epoch", lambda: unit.has_played(0.0))
        start = unit.start_of_scenario()
        bench.start_service()
        bench.await_navigation()
        if unit.time.time() - start > unit.READY_BY:
            raise unit.TooSlow(f"the service was ready {unit.time.time() - start:.1f} s of the unit after its start only\n")
        bench.pass_time(rate, start + seconds)
        bench.wait_for("the last epoch", lambda: unit.has_played(seconds + 1.0))
        bench.end(start, seconds)
        bench.programs.stop("record")
    finally:
        bench.programs.stop_all()


def replay(build, recording, seconds, rate):
    bench = Bench(build)
    try:
        bench.start_tool("request-play", "play", recording, "--wait", "60")  # which has an end
        play = bench.programs.running["request-play"]
        bench.wait_for("the registers", lambda: os.path.exists(unit.MEMORY) and unit.register(unit.CLOCK_RATE) != 0)
        bench.start_service()
        bench.await_navigation()
        start = unit.start_of_scenario()  # as a play has the clock where it was in the run
        bench.pass_time(rate, start + seconds)
        bench.wait_for("the end of the play", lambda: play.poll() is not None)
        if play.returncode != 0:
            raise unit.TooSlow(f"play has ended with status {play.returncode}\n{unit.last_of('request-play')}")
        bench.end(start, seconds)
    finally:
        bench.programs.stop_all()


def inside(arguments):
    try:
        {"record": record, "replay": replay}[arguments[0]](*eval_numbers(arguments[1:]))
    except unit.TooSlow as reason:
        print(reason, end="")
        return unit.TOO_SLOW
    except (unit.Broken, outcome.Unreadable) as reason:
        print(reason, end="")
        return 1
    return 0


def eval_numbers(arguments):
    """@param arguments  of `record` or `replay`, in their order, the options of unit-sim as one"""
    build, what, seconds, rate, *rest = arguments
    return [build, what, float(seconds), float(rate), *rest[:1], *([shlex.split(rest[1])] if rest else [])]


def longest(golden, seconds, rate, start):
    """Seconds of the machine that one of both takes at the most."""
    return golden.LONGEST + golden.TO_START / start + seconds / rate


def told_by(golden, build, directory, seconds, rate, start, *words):
    """Runs one of both on a unit.

    @param start  the rate until the service is ready
    @return  what the bus has said there, and by how many seconds of the unit the machine was behind
    """
    clock = build / "lab/clock/lab-clock"
    inner = [
        "env", f"LD_PRELOAD={build}/lab/clock/liblab_clock.so", "ORVANE_LAB_CLOCK=/tmp/clock", "ORVANE_LAB_BUS=/tmp/bus",
        "python3", "-B", __file__, "--inside", *words,
    ]  # fmt: skip
    script = f"{shlex.quote(str(clock))} create /tmp/clock --rate {start} --real {golden.UTC} && exec {shlex.join(inner)}"
    binds = ("--bind", ROOT, "--bind", build, "--bind", directory)
    command = [ROOT / "lab/sandbox", "--unit", directory / words[0], *binds, "--", "sh", "-c", script]
    most = longest(golden, seconds, rate, start)
    ended = golden.run_until(command, most)
    out = directory / words[0] / "tmp/golden"
    if ended is None or ended.returncode == golden.TOO_SLOW:
        said = ended.stdout if ended else f"not over after {most:.0f} s\n"
        raise golden.TooSlow(f"    {words[0]}: {said}{golden.ends_of(out)}")
    if ended.returncode != 0:
        raise golden.Failed(f"{words[0]}: status {ended.returncode}\n{ended.stdout}{ended.stderr}{golden.ends_of(out)}")
    try:
        return text_of(out, golden.UTC, seconds), outcome.behind(out)
    except outcome.Unreadable as error:
        raise golden.Failed(f"{words[0]}: {error}\n") from None


def text_of(out, utc, seconds):
    """@param out  the directory that one of both has left"""
    read = lambda name: outcome.whole_lines((out / name).read_text(errors="replace"))  # noqa: E731
    told = outcome.bus(read("bus.until-end"), utc, seconds, float(read("started")[0]))
    return told + outcome.complaints(read("bus.errors"))


def difference(run, again, late):
    """What a replay has told otherwise than its run, but for moments that are near.

    @param late  by how many seconds of the unit the machine was
    """
    if not any(re.match(r"\d{4}-", line) for line in run):
        return "the run told no Blended Navigation\n"
    later = outcome.later_start("\n".join(run), "\n".join(again))
    lines = difflib.unified_diff(run, outcome.settled(run, again, later, late), "run", "replay", n=2, lineterm="")
    return "".join(f"{line}\n" for line in lines)


def attempt(golden, build, name, rate, start):
    """Records and replays once.

    @return  what was told otherwise, by how many seconds the machine was behind, and what there is to say besides
    """
    settings = golden.settings_of(name)
    with tempfile.TemporaryDirectory(prefix="orvane-replay.", ignore_cleanup_errors=True) as made:
        directory = pathlib.Path(made)
        seconds = settings["seconds"]
        common = (str(seconds), str(rate))
        scenario = str(golden.SCENARIOS / name / "scenario.txt")
        words = ("record", str(build), scenario, *common, str(golden.UTC), settings["options"])
        run, late = told_by(golden, build, directory, seconds, rate, start, *words)
        recording = directory / "record/tmp/run.mcap"
        info = subprocess.run([build / "lab/ctl/orvanectl", "info", recording], capture_output=True, text=True, check=False)
        words = ("replay", str(build), str(recording), *common)
        again, later = told_by(golden, build, directory, seconds, rate, start, *words)
        sum_of_play = (directory / "replay/tmp/golden/request-play").read_text()
        changed = difference(run, again, max(late, later, UNSEEN * rate))
        said = f"{info.stdout}{sum_of_play}" if changed else f"    {len(run)} lines\n{sum_of_play}"
        return changed, max(late, later), said


def check(golden, name, fastest, play):
    """@param play  tries once, at a rate and with one of the start
    @return  what to print"""
    different = 0  # where the machine was in time
    slow = 0
    changed = ""
    for slower, start in golden.TRIES:
        rate = fastest / slower
        try:
            changed, late, said = play(rate, start)
        except golden.TooSlow as reason:
            slow += 1
            golden.tell(f"replay: {name}: too slow a machine for {rate:.3g} times as fast\n{reason}")
            continue
        if not changed:
            before = f" (not the same in {different} before, too slow a machine for {slow})" if different + slow else ""
            return f"replay: {name}: the same was told, {rate:.3g} times as fast{before}\n{said}"
        if late > golden.DAWDLED:
            slow += 1
            golden.tell(
                f"replay: {name}: too slow a machine for {rate:.3g} times as fast, {late:.1f} s behind\n{changed}{said}"
            )
            continue
        different += 1
        golden.tell(f"replay: {name}: not the same, {rate:.3g} times as fast\n{changed}{said}")
        if different == golden.MOST_DIFFERENT:
            break
    if not different:
        raise golden.Failed(f"the machine is too slow for any run\n{changed}".rstrip("\n"))
    raise golden.Failed(f"something else is told than in the run, in {different} of {different + slow} replays\n{changed}")


def main():
    if sys.argv[1:2] == ["--inside"]:
        return inside(sys.argv[2:])
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("name")
    parser.add_argument("--rate", type=float, default=10)
    options = parser.parse_args()
    golden = load_golden()
    if refusal := golden.refusal_of_the_sandbox():
        print(refusal, end="")
        return golden.NO_SANDBOX
    build = pathlib.Path(options.build).resolve()
    play = lambda rate, start: attempt(golden, build, options.name, rate, start)  # noqa: E731
    try:
        print(check(golden, options.name, options.rate, play), end="")
        return 0
    except golden.Failed as failure:
        print(f"replay: {options.name}: {failure}")
        return 1


if __name__ == "__main__":
    sys.exit(main())

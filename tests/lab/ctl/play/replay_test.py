"""A scenario is played on a unit and recorded; the recording, played to a new service on another unit, has it tell the
same.

replay_test.py BUILD NAME [--rate N]

Each unit is a sandbox of its own with a clock of the lab, as those of script/golden. On a busy machine inputs are overtaken
by the next ones when time runs fast; then both are done again more slowly. Status 1 tells that something else was told,
125 that there can be no sandbox here.
"""

import argparse
import difflib
import importlib.machinery
import importlib.util
import os
import pathlib
import shlex
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[4]
sys.path.insert(0, str(ROOT / "lab"))
sys.dont_write_bytecode = True
from golden import outcome, unit  # noqa: E402

RECORDING = "/tmp/run.mcap"
LONGEST_TO_START = 60  # seconds of the unit


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
        self.wait_for("Blended Navigation", lambda: unit.said("bus", '"timeOfValidity":{'))

    def end(self):
        """What is told belongs to the run until here."""
        unit.set_rate(self.programs, 1)
        unit.time.sleep(0.5)
        shutil.copyfile(unit.OUT / "bus", unit.OUT / "bus.until-end")


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
        bench.start_service()
        bench.await_navigation()
        if unit.has_played(unit.READY_BY):
            raise unit.TooSlow("the service was ready too late\n")
        unit.set_rate(bench.programs, rate)
        bench.wait_for("the last epoch", lambda: unit.has_played(seconds + 1.0), seconds + LONGEST_TO_START)
        bench.end()
        bench.programs.stop("record")
    finally:
        bench.programs.stop_all()


def replay(build, recording, seconds, rate):
    bench = Bench(build)
    try:
        bench.start_tool("request-play", "play", recording, "--wait", "60")  # which has an end
        play = bench.programs.running["request-play"]
        bench.wait_for("the registers", lambda: os.path.exists("/dev/mem") and clock_rate() != 0)
        bench.start_service()
        bench.await_navigation()
        unit.set_rate(bench.programs, rate)
        bench.wait_for("the end of the play", lambda: play.poll() is not None, seconds + LONGEST_TO_START)
        if play.returncode != 0:
            raise unit.TooSlow(f"play has ended with status {play.returncode}\n{unit.last_of('request-play')}")
        bench.end()
    finally:
        bench.programs.stop_all()


def clock_rate():
    """The register that a service looks at when it starts."""
    with open("/dev/mem", "rb") as memory:
        memory.seek(0x43C20000)
        return int.from_bytes(memory.read(8), "little")


def inside(arguments):
    try:
        {"record": record, "replay": replay}[arguments[0]](*eval_numbers(arguments[1:]))
    except unit.TooSlow as reason:
        print(reason, end="")
        return unit.TOO_SLOW
    except unit.Broken as reason:
        print(reason, end="")
        return 1
    return 0


def eval_numbers(arguments):
    """@param arguments  of `record` or `replay`, in their order, the options of unit-sim as one"""
    build, what, seconds, rate, *rest = arguments
    return [build, what, float(seconds), float(rate), *rest[:1], *([shlex.split(rest[1])] if rest else [])]


def told_by(golden, build, directory, rate, start, *words):
    """Runs one of both on a unit; @return what the bus has said there"""
    clock = build / "lab/clock/lab-clock"
    inner = [
        "env", f"LD_PRELOAD={build}/lab/clock/liblab_clock.so", "ORVANE_LAB_CLOCK=/tmp/clock", "ORVANE_LAB_BUS=/tmp/bus",
        "python3", "-B", __file__, "--inside", *words,
    ]  # fmt: skip
    script = f"{shlex.quote(str(clock))} create /tmp/clock --rate {start} --real {golden.UTC} && exec {shlex.join(inner)}"
    binds = ("--bind", ROOT, "--bind", build, "--bind", directory)
    command = [ROOT / "lab/sandbox", "--unit", directory / words[0], *binds, "--", "sh", "-c", script]
    ended = golden.run_until(command, golden.LONGEST)
    out = directory / words[0] / "tmp/golden"
    if ended is None or ended.returncode == golden.TOO_SLOW:
        said = ended.stdout if ended else f"{words[0]}: not over after {golden.LONGEST} s\n"
        raise golden.TooSlow(said + golden.ends_of(out))
    if ended.returncode != 0:
        raise golden.Failed(f"{words[0]}: status {ended.returncode}\n{ended.stdout}{ended.stderr}{golden.ends_of(out)}")
    return outcome.whole_lines((out / "bus.until-end").read_text())


def difference(golden, build, name, rate, start):
    """Records and replays once; @return what was told otherwise"""
    settings = golden.settings_of(name)
    with tempfile.TemporaryDirectory(prefix="orvane-replay.", ignore_cleanup_errors=True) as made:
        directory = pathlib.Path(made)
        seconds = settings["seconds"]
        common = (str(seconds), str(rate))
        scenario = str(golden.SCENARIOS / name / "scenario.txt")
        words = ("record", str(build), scenario, *common, str(golden.UTC), settings["options"])
        run = outcome.bus(told_by(golden, build, directory, rate, start, *words), golden.UTC, seconds)
        recording = directory / "record/tmp/run.mcap"
        info = subprocess.run([build / "lab/ctl/orvanectl", "info", recording], capture_output=True, text=True, check=False)
        words = ("replay", str(build), str(recording), *common)
        again = outcome.bus(told_by(golden, build, directory, rate, start, *words), golden.UTC, seconds)
        sum_of_play = (directory / "replay/tmp/golden/request-play").read_text()
        if not any(line.startswith("== blended-navigation") for line in run):
            return "the run told no Blended Navigation\n"
        changed = list(difflib.unified_diff(run, again, "run", "replay", n=2, lineterm=""))
        if changed:
            return "\n".join([*changed, info.stdout, sum_of_play])
        print(f"replay: {name}: {len(run)} lines of what was told are the same, {rate:g} times as fast\n{sum_of_play}", end="")
        return ""


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
    told = ""
    for slower, start in golden.TRIES:
        try:
            told = difference(golden, build, options.name, options.rate / slower, start)
        except golden.TooSlow as reason:
            told = f"too slow a machine for {options.rate / slower:g} times as fast\n{reason}"
        except golden.Failed as failure:
            print(failure)
            return 1
        if not told:
            return 0
        print(told, flush=True)
    return 1


if __name__ == "__main__":
    sys.exit(main())

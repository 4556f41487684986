"""One run of a scenario in the sandbox: unit-sim, the service, a client of the bus and a listener to its events.

unit.py BUILD SCENARIO SECONDS RATE UTC [--request 'SECONDS WORDS...']... [-- UNIT-SIM-OPTION...]

Runs by the lab's clock, as do all that it starts: its seconds are those of the clock. Leaves in /tmp/golden what each of
them said. Status 75 tells that the machine was too slow, and that nothing can be said of the outcome.
"""

import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time

OUT = pathlib.Path("/tmp/golden")
TOO_SLOW = 75
READY_BY = 8.0  # seconds of the unit, at which time runs faster
MOST_SECONDS_TO_READY = 60.0
LONGEST_TO_END = 30.0


class TooSlow(Exception):
    pass


class Programs:
    """What runs, each with its output in a file of its own."""

    def __init__(self, build):
        self.build = pathlib.Path(build)
        self.running = {}

    def start(self, name, program, *arguments, **environment):
        with open(OUT / name, "wb") as out:
            self.running[name] = subprocess.Popen(
                [self.build / program, *arguments], stdin=subprocess.DEVNULL, stdout=out, stderr=subprocess.STDOUT,
                env={**os.environ, **environment},
            )  # fmt: skip

    def stop(self, name):
        process = self.running.pop(name)
        process.send_signal(signal.SIGTERM)
        try:
            return process.wait(LONGEST_TO_END)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
            raise TooSlow from None

    def stop_all(self):
        for process in self.running.values():
            process.kill()
            process.wait()


def said(name, *texts):
    content = (OUT / name).read_text(errors="replace")
    return all(text in content for text in texts)


def wait_for(condition):
    """At the machine's own pace."""
    end = time.time() + MOST_SECONDS_TO_READY
    while not condition():
        if time.time() > end:
            raise TooSlow
        time.sleep(0.02)


def set_rate(programs, rate):
    clock = programs.build / "lab/clock/lab-clock"
    subprocess.run([clock, "rate", os.environ["ORVANE_LAB_CLOCK"], str(rate)], check=True)


def play(programs, scenario, seconds, rate, utc, requests, options):
    """@return the service's status"""
    played = ("--verbose", "--repeatable", "--utc", str(utc), "--scenario", scenario, *options)
    programs.start("unit-sim", "lab/unit/unit-sim", *played)
    wait_for(lambda: said("unit-sim", " 0.0 s:"))
    started = time.time()
    programs.start("events", "lab/ctl/orvanectl", "echo", "EventLog", "MaintenanceEvent", "--backfill", "--json")
    programs.start(
        "console", "VICTORY/OrvaneServer/OrvaneServer", "/opt/halvex/config/OrvaneServer.xml",
        LD_LIBRARY_PATH=str(programs.build / "lab/libvictory"),
    )  # fmt: skip
    wait_for(lambda: os.path.exists(os.environ["ORVANE_LAB_BUS"]))
    programs.start("bus", "lab/ctl/orvanectl", "bus", "watch", "--json")
    wait_for(lambda: said("bus", '"timeOfValidity":{') and said("events", "started successfully"))
    if time.time() - started > READY_BY:
        raise TooSlow
    set_rate(programs, rate)
    for number, (when, words) in enumerate(requests):
        time.sleep(max(0.0, started + when - time.time()))
        programs.start(f"request{number}", "lab/ctl/orvanectl", "bus", *words)
    time.sleep(max(0.0, started + seconds - time.time()))
    # What belongs to the last second is on its way for a moment.
    wait_for(lambda: said("unit-sim", f" {seconds + 1:.1f} s:"))
    set_rate(programs, 1)
    time.sleep(0.5)
    # What it says when it ends depends on who is still there to hear it.
    for name in ("console", "events", "bus"):
        shutil.copyfile(OUT / name, OUT / f"{name}.until-end")
    status = programs.stop("console")
    for name in list(programs.running):
        programs.stop(name)
    return status


def read_arguments(arguments):
    options = []
    if "--" in arguments:
        cut = arguments.index("--")
        arguments, options = arguments[:cut], arguments[cut + 1 :]
    build, scenario, seconds, rate, utc, *rest = arguments
    requests = []
    while rest:
        _, text, *rest = rest
        when, *words = text.split()
        requests.append((float(when), words))
    return build, scenario, float(seconds), float(rate), int(utc), requests, options


def main():
    build, *others = read_arguments(sys.argv[1:])
    OUT.mkdir()
    programs = Programs(build)
    try:
        status = play(programs, *others)
    except TooSlow:
        return TOO_SLOW
    finally:
        programs.stop_all()
    (OUT / "status").write_text(f"{status}\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())

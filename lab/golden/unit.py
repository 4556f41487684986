"""One run of a scenario in the sandbox: unit-sim, the service, a client of the bus and a listener to its events.

unit.py BUILD SCENARIO SECONDS RATE UTC [--request 'SECONDS WORDS...']... [-- UNIT-SIM-OPTION...]

Runs by the lab's clock, as do all that it starts: its seconds are those of the clock. It begins at the rate that the
clock has, and goes on at RATE when the service is ready. Leaves in /tmp/golden what each of them said, what those of the
lab have to complain about in files of their own. Status 75 tells that the machine was too slow, and that nothing can be
said of the outcome, or that one of them did not end when it was told to; status 1 that one has ended by itself.
"""

import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import threading
import time

OUT = pathlib.Path("/tmp/golden")
TOO_SLOW = 75
READY_BY = 8.0  # seconds of the unit, at which time runs faster
LONGEST_TO_BEGIN = 60.0
LONGEST_TO_END = 60.0

MEASURED = "console", "unit-sim", "request-play"  # where a thread that has to wait has an input come late

MEMORY = "/dev/mem"
CLOCK_RATE = 0x43C20000
SYSTEM_COUNT = 0x43C20080
TICKS = 58982400  # a second
UPTIME = 60.0  # seconds that the unit has been up when its scenario begins


class TooSlow(Exception):
    pass


class Broken(Exception):
    """What no slow machine is the reason of."""


class Requests:
    """What clients ask for, each by a program of its own."""

    def __init__(self, programs, requests):
        self.programs = programs
        self.requests = requests

    def name(self, number):
        return f"request{number}"

    def make(self, started):
        for number, (when, words) in enumerate(self.requests):
            wait_until(self.programs, started + when)
            self.programs.start(self.name(number), "lab/ctl/orvanectl", "bus", *words)

    def finish(self):
        """Leaves with which status each has ended."""
        ended = []
        for number, (when, words) in enumerate(self.requests):
            process = self.programs.running[self.name(number)]
            what = f"the answer to {' '.join(words)}"
            wait_for(self.programs, what, lambda: process.poll() is not None, LONGEST_TO_END)  # noqa: B023
            ended.append({"seconds": when, "words": words, "name": self.name(number), "status": process.returncode})
        (OUT / "requests").write_text(json.dumps(ended))


class Waits:
    """How long the threads of a process had to wait for a processor, as the kernel tells where it keeps that."""

    def __init__(self, process):
        self.tasks = pathlib.Path(f"/proc/{process}/task")
        self.told = {}

    def longest(self):
        """Of any thread, in seconds of the machine, since this was asked last."""
        most = 0.0
        for task in self.tasks.glob("*/schedstat"):
            try:
                waited = int(task.read_text().split()[1]) / 1e9
            except (OSError, ValueError, IndexError):  # it has ended
                continue
            most = max(most, waited - self.told.get(task.parent.name, 0.0))
            self.told[task.parent.name] = waited
        return most


class Programs:
    """What runs, each with its output in a file of its own."""

    def __init__(self, build):
        self.build = pathlib.Path(build)
        self.running = {}
        self.rate = 1.0
        self.waits = []
        self.late = 0.0  # seconds of the unit: what a sleep has lasted too long, or a thread had to wait, at the most

    def measure(self, rate):
        """From now on how late the machine is.

        @param rate  how many times as fast the unit's time runs
        """
        self.rate = rate
        self.waits = [Waits(process.pid) for name, process in self.running.items() if name in MEASURED]
        for each in self.waits:
            each.longest()
        self.late = 0.0

    def sleep(self, seconds):
        end = time.time() + seconds
        time.sleep(seconds)
        self.late = max([self.late, time.time() - end, *(each.longest() * self.rate for each in self.waits)])

    def start(self, name, program, *arguments, **environment):
        # What the service says is kept as a whole; the others tell JSON, beside which nothing may stand.
        is_service = name == "console"
        with open(OUT / name, "wb") as out, open(OUT / f"{name}.errors", "wb") as errors:
            process = subprocess.Popen(
                [self.build / program, *arguments], stdin=subprocess.DEVNULL, env={**os.environ, **environment},
                stdout=subprocess.PIPE if is_service else out, stderr=subprocess.STDOUT if is_service else errors,
            )  # fmt: skip
        self.running[name] = process
        if is_service:
            self.console = threading.Thread(target=keep_with_times, args=(process.stdout, name), daemon=True)
            self.console.start()

    def expect_running(self):
        """All but the requests, which have an end."""
        for name, process in self.running.items():
            if not name.startswith("request") and process.poll() is not None:
                self.keep_rest(name)
                raise Broken(f"{name} has ended with status {process.returncode}\n{last_of(name)}")

    def stop(self, name):
        process = self.running.pop(name)
        process.send_signal(signal.SIGTERM)
        try:
            status = process.wait(LONGEST_TO_END)
            self.keep_rest(name)
            return status
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
            self.keep_rest(name)
            raise TooSlow(f"{name} has not ended {LONGEST_TO_END:g} s after SIGTERM\n{last_of(name)}") from None

    def keep_rest(self, name):
        """What a program that has ended has said at last."""
        if name == "console":
            self.console.join(10.0)

    def stop_all(self):
        for process in self.running.values():
            process.kill()
            process.wait()


def keep_with_times(pipe, name):
    """What comes, in a file, and when each line of it has, in another."""
    with pipe, open(OUT / name, "wb") as lines, open(OUT / f"{name}.times", "w") as times:
        for line in pipe:
            times.write(f"{time.time()}\n")
            times.flush()
            lines.write(line)
            lines.flush()


def register(address, memory=MEMORY):
    with open(memory, "rb", buffering=0) as file:  # in one access
        file.seek(address)
        return int.from_bytes(file.read(8), "little")


def start_of(now, count):
    """When the scenario has begun, or would have, by the clock.

    @param count  of the unit, now
    """
    return now - (count / TICKS - UPTIME)


def start_of_scenario():
    """By the unit's own count, which tells it however late it was seen here that the scenario has begun."""
    starts = []
    for _ in range(10):  # since the count may be written late, too
        count = register(SYSTEM_COUNT)
        starts.append(start_of(time.time(), count))
        time.sleep(0.01)
    return min(starts)


def last_of(name, lines=20):
    """The end of what a program said."""
    texts = [(OUT / file).read_text(errors="replace").splitlines()[-lines:] for file in (name, f"{name}.errors")]
    return "".join(f"    {line[:200]}\n" for line in sum(texts, []))


def said(name, *texts):
    content = (OUT / name).read_text(errors="replace")
    return all(text in content for text in texts)


def is_listening(path, sockets="/proc/net/unix"):
    """Whether a client would not be refused; the file of the socket is there a moment before."""
    listening = "00010000"
    fields = [line.split() for line in pathlib.Path(sockets).read_text().splitlines()]
    return any(len(each) == 8 and each[3] == listening and each[7] == path for each in fields)


def epochs_until(output):
    """The time of the last epoch that unit-sim has told; -1 before the first."""
    return max((float(time) for time in re.findall(r"^unit-sim: (\d+\.\d) s: ", output, re.MULTILINE)), default=-1.0)


def has_played(seconds):
    return epochs_until((OUT / "unit-sim").read_text(errors="replace")) >= seconds


def wait_for(programs, what, condition, longest):
    """@param longest  in seconds of the unit"""
    end = time.time() + longest
    while not condition():
        programs.expect_running()
        if time.time() > end:
            raise TooSlow(f"{what} was not there after {longest:.1f} s of the unit\n")
        time.sleep(0.02)


def wait_until(programs, end):
    while (left := end - time.time()) > 0.0:
        programs.expect_running()
        programs.sleep(min(left, 1.0))


def set_rate(programs, rate):
    clock = programs.build / "lab/clock/lab-clock"
    # By the machine's own time: by that of the clock a new rate would hold from another moment on, and time would jump.
    environment = {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}
    subprocess.run([clock, "rate", os.environ["ORVANE_LAB_CLOCK"], str(rate)], env=environment, check=True)


def play(programs, scenario, seconds, rate, utc, requests, options):
    """@return the service's status"""
    played = ("--verbose", "--repeatable", "--utc", str(utc), "--scenario", scenario, *options)
    programs.start("unit-sim", "lab/unit/unit-sim", *played)
    wait_for(programs, "the first epoch", lambda: has_played(0.0), LONGEST_TO_BEGIN)
    started = start_of_scenario()
    (OUT / "started").write_text(f"{started}\n")
    programs.start("events", "lab/ctl/orvanectl", "echo", "EventLog", "MaintenanceEvent", "--backfill", "--json")
    programs.start(
        "console", "VICTORY/OrvaneServer/OrvaneServer", "/opt/halvex/config/OrvaneServer.xml",
        LD_LIBRARY_PATH=str(programs.build / "lab/libvictory"),
    )  # fmt: skip
    ready = lambda what, condition: wait_for(programs, what, condition, started + READY_BY - time.time())  # noqa: E731
    ready("the bus", lambda: is_listening(os.environ["ORVANE_LAB_BUS"]))
    programs.start("bus", "lab/ctl/orvanectl", "bus", "watch", "--json")
    ready("the first record of Blended Navigation", lambda: said("bus", '"timeOfValidity":{'))
    ready("the event of the start", lambda: said("events", "started successfully"))
    if time.time() - started > READY_BY:
        raise TooSlow(f"the service was ready {time.time() - started:.1f} s of the unit after its start only\n")
    set_rate(programs, rate)
    programs.measure(rate)
    asked = Requests(programs, requests)
    asked.make(started)
    wait_until(programs, started + seconds)
    # What belongs to the last second is on its way for a moment.
    wait_for(programs, "the last epoch", lambda: has_played(seconds + 1.0), LONGEST_TO_BEGIN)
    asked.finish()
    set_rate(programs, 1)
    time.sleep(0.5)
    # What it says when it ends depends on who is still there to hear it.
    for name in ("console", "console.times", "events", "bus", "events.errors", "bus.errors"):
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
    except TooSlow as reason:
        print(reason, end="")
        return TOO_SLOW
    except Broken as reason:
        print(reason, end="")
        return 1
    finally:
        programs.stop_all()
    (OUT / "status").write_text(f"{status}\n")
    (OUT / "late").write_text(f"{programs.late}\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())

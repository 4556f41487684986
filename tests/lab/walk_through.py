"""Runs a page of the lab's manual: its commands are typed, and what is shown is compared with what the page shows.

usage: walk_through.py --build DIR [--section HEADING] PAGE

A section is what stands below a heading of the second or third rank; what stands below the heading "A walk-through" is
the beginning of each. In blocks between ``` a line that begins with "$ " is a command, with the lines that its quotes
need behind it, and what follows is what it shows:

- a command that runs a desk without end, or the service, is started at a terminal of its own and ended by Ctrl-C when
  another is started, or at the end; where a section runs no desk at all, that of the beginning is started;
- `orvanectl bus watch` is ended once all lines have come, in their order, with any others between;
- what only looks (`bus last`, `bus bit-results`, `bus faults`) is typed again until it shows the lines, for a minute;
- anything else is typed once, has to show these lines and no others, and to end with status 0.

A block without a command, behind a paragraph with "were typed", is what the terminal of the service shows: the keys of
the paragraph are typed, each when what is shown for the one before has come. A table with the heading "line | request"
is worked through row by row; each request has to show what the first one of its name shows in the section.

Lines are compared as they are, but for numbers of publications, times, process ids, sizes of recordings and reports and
the errors that the navigation happens to have, for which only the form is compared, and the sums of a desk, of which only
is compared whether they are 0. "..." at the end of a line stands for any rest, and alone for any lines. A list of several threats may come as several
lists that follow each other, as the page says.
"""

import argparse
import os
import pathlib
import pty
import re
import select
import shlex
import signal
import socket
import subprocess
import sys
import tempfile
import time

DEADLINE = 60  # s
PROJECT = pathlib.Path(__file__).resolve().parents[2]


class Failure(Exception):
    """What is shown is not what the page shows."""


# The page.


class Command:
    def __init__(self, text, line):
        self.text, self.line, self.shown = text, line, []


class Screen:
    """What the service's terminal shows for keys."""

    def __init__(self, keys, shown, line):
        self.keys, self.shown, self.line = keys, shown, line


class Row:
    """A row of the table of requests: a line for the unit, a request with what it shows, and the warning that follows."""

    def __init__(self, order, request, shown, warning, line):
        self.order, self.warning, self.line = order, warning, line
        self.request = Command("orvanectl bus " + request, line)
        self.request.shown = shown


def shown_for(request, steps, line):
    """What the first request of that name shows."""
    name = f"orvanectl bus {request.split()[0]}"
    for step in steps:
        if isinstance(step, Command) and step.text.split() == name.split():
            return step.shown
    raise Failure(f"line {line}: the page does not show what {name} shows")


def is_whole(command):
    try:
        shlex.split(command)
    except ValueError:
        return False
    return not command.endswith("\\")


def commands_of(block, first_line):
    """The commands of a block with what they show; lines before the first command are returned, too."""
    commands, before = [], []
    for number, line in enumerate(block, first_line):
        if line.startswith("$ "):
            commands.append(Command(line[2:], number))
        elif commands and not is_whole(commands[-1].text):
            commands[-1].text += "\n" + line
        elif commands:
            commands[-1].shown.append(line)
        else:
            before.append(line)
    return commands, before


def quoted(text):
    return re.findall(r"`([^`]+)`", text)


def sections(page):
    """Pairs of a heading and what is to be done below it; the first has an empty heading and is the beginning."""
    found, block, begin, paragraph, in_table = [("", [])], None, 0, "", False
    steps = []  # above the first heading that counts there is nothing to do
    for number, line in enumerate(page.splitlines(), 1):
        if block is not None:
            if not line.startswith("```"):
                block.append(line)
                continue
            commands, before = commands_of(block, begin)
            steps.extend(commands)
            if before and "were typed" in paragraph:
                keys = [key for key in quoted(paragraph.split("were typed")[0].split(".")[-1]) if len(key) == 1]
                steps.append(Screen(keys, before, begin))
            block, paragraph = None, ""
        elif line.startswith("```"):
            block, begin = [], number + 1
        elif line.startswith("#"):
            rank, heading = line.split(" ", 1)
            if heading == "A walk-through":
                steps = found[0][1]
            elif rank in ("##", "###"):
                steps = []
                found.append((heading, steps))
            paragraph = ""
        elif line.startswith("|"):
            cells = [cell.strip() for cell in line.strip("|").split("|")]
            if cells[:2] == ["line", "request"]:
                in_table = True
            elif in_table and not set(line) <= set("|- "):
                order = quoted(cells[0])
                request = quoted(cells[1])[0]
                shown = shown_for(request, steps, number)
                steps.append(Row(order[0] if order else "", request, shown, quoted(cells[2])[0], number))
        else:
            in_table = False
            paragraph = paragraph + " " + line if line else paragraph
    return found


# What is compared.

FORMS = [
    (r"^\d+ (?=[a-z-]+\b)", "<number> "),
    (r"\b20\d\d-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}", "<time>"),
    (r"\bgps s \d+(\.\d+)?(e[+-]\d+)?", "gps s <seconds>"),
    (r'"orvanectl-\d+"', '"orvanectl-<process>"'),
    (r"\b(horizontal|vertical) (m|m/s) \d+(\.\d+)?", r"\1 \2 <error>"),
    (r", in \d+\.\d s$", ", in <seconds> s"),
    (r"\b[1-9]\d* messages in [1-9]\d*\.\d s", "<some> messages in <seconds> s"),
    (r"\b\d+ missed, ", "<number> missed, "),
    (r"\b[1-9]\d* bytes\b", "<some> bytes"),
    (r'"seconds":\d+\.\d+', '"seconds":<seconds>'),
    (r'\[\d+\.\d+,\d+\.\d+,"', '[<from>,<to>,"'),
]
SUM = r"^desk: (joined|the unit has sent) "


def form(line):
    if re.match(SUM, line):
        line = re.sub(r"(?<![\w.])[1-9]\d*(?= )", "<some>", line)
    for pattern, replacement in FORMS:
        line = re.sub(pattern, replacement, line)
    return line.rstrip()


def agrees(expected, seen):
    if expected.endswith("..."):
        return form(seen).startswith(form(expected[:-3]))
    return form(expected) == form(seen)


def all_agree(expected, seen):
    """Whether lines agree one by one; "..." stands for any lines."""
    if not expected:
        return not seen
    if expected[0] == "...":
        return any(all_agree(expected[1:], seen[skipped:]) for skipped in range(len(seen) + 1))
    return bool(seen) and agrees(expected[0], seen[0]) and all_agree(expected[1:], seen[1:])


THREATS = re.compile(r"^(\d+ navwar-sa  threats )(\d+) \[(.*)\]$")


def whole_lists(lines):
    """With the threats of lists that follow each other in the last of them, for who expects them in one list. All of a
    report are in one list, or one after the other in two where a publication falls between them.
    """
    joined, before = [], None
    for line in lines:
        one = THREATS.match(line)
        both = one and before and int(before[2]) + int(one[2])
        joined.append(f"{one[1]}{both} [{before[3]}; {one[3]}]" if both else line)
        before = THREATS.match(joined[-1]) if one else None if " navwar-sa " in line else before
    return joined


def first_missing(expected, seen):
    """The first expected line that isn't there in its order, with any others between; None if all are."""
    rest = iter(zip(seen, whole_lists(seen)))
    for line in expected:
        if line != "..." and not any(agrees(line, one) or agrees(line, joined) for one, joined in rest):
            return line
    return None


def difference(command, expected, seen):
    lines = [f"line {command.line}: $ {command.text}", "the page shows:"]
    lines += ["    " + line for line in expected] + ["what came:"] + ["    " + line for line in seen[-20:]]
    return "\n".join(lines)


# What is run.


class Background:
    """A command at a terminal of its own."""

    def __init__(self, text, environment):
        self.screen = ""
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.chdir(PROJECT)
            os.execvpe("bash", ["bash", "-c", "exec " + text], environment)
        self.position = 0

    def read(self):
        while select.select([self.terminal], [], [], 0)[0]:
            try:
                piece = os.read(self.terminal, 65536)
            except OSError:
                return
            if not piece:
                return
            self.screen += piece.decode("ascii", "replace").replace("\r\n", "\n")

    def type(self, key):
        os.write(self.terminal, key.encode())

    def await_line(self, expected):
        """Waits for a whole line behind the one that was found last."""
        end = time.monotonic() + DEADLINE
        while time.monotonic() < end:
            self.read()
            lines = self.screen[self.position :].split("\n")
            for index, line in enumerate(lines[:-1]):
                if agrees(expected, line):
                    self.position += len("\n".join(lines[: index + 1])) + 1
                    return
            time.sleep(0.05)
        raise Failure(f"the terminal does not show: {expected}\nit shows:\n{self.screen[self.position:]}")

    def end(self):
        """By Ctrl-C; the status."""
        end = time.monotonic() + DEADLINE
        asked = False
        while time.monotonic() < end:
            self.read()
            process, status = os.waitpid(self.process, os.WNOHANG)
            if process:
                os.close(self.terminal)
                return os.waitstatus_to_exitcode(status)
            if not asked:
                os.killpg(self.process, signal.SIGINT)
                asked = True
            time.sleep(0.05)
        os.killpg(self.process, signal.SIGKILL)
        os.waitpid(self.process, 0)
        raise Failure("what was started does not end on Ctrl-C; its last lines:\n" + self.screen[-1000:])


class Walk:
    def __init__(self, build, unit):
        self.build, self.unit = build, unit
        self.background = None
        self.prelude = []
        # Nothing of a terminal's size or colour, and no bus but the page's.
        self.environment = {**os.environ, "LC_ALL": "C"}
        self.environment.pop("ORVANE_LAB_BUS", None)

    def placed(self, text):
        """A command where this unit and this build are."""
        text = text.replace("/tmp/unit", self.unit).replace("build/release", self.build)
        text = text.replace("$PWD/" + self.build, self.build).replace("lab/sandbox", f"lab/sandbox --bind {self.build}")
        return text.replace("lab/desk", f"lab/desk --build {self.build}")

    def run(self, steps, beginning):
        self.prelude = [step.text for step in beginning if isinstance(step, Command) and step.text.startswith("export ")]
        is_started = any(isinstance(step, Command) and runs_a_unit(step.text) for step in steps)
        if not is_started:
            steps = [step for step in beginning if isinstance(step, Command) and is_background(step.text)] + steps
        try:
            for step in steps:
                self.perform(step)
            if self.background:
                status, self.background = self.background.end(), None
                if status not in (0, 130):
                    raise Failure(f"what was started has ended with status {status}")
        finally:
            if self.background:
                self.background.end()

    def perform(self, step):
        if isinstance(step, Screen):
            self.watch_screen(step)
        elif isinstance(step, Row):
            self.work_through(step)
        elif is_background(step.text):
            self.start(step)
        elif " bus watch" in step.text:
            self.watch(step)
        else:
            self.type(step)

    def start(self, command):
        if self.background:
            self.background.end()
        self.background = Background(self.placed(command.text), self.environment)
        bus = pathlib.Path(self.unit, "tmp", "bus")
        end = time.monotonic() + DEADLINE
        while not is_served(bus):
            self.background.read()
            if time.monotonic() > end:
                raise Failure(f"line {command.line}: there is no bus; the terminal shows:\n{self.background.screen}")
            time.sleep(0.1)

    def process(self, text):
        script = "\n".join(self.placed(line) for line in self.prelude + [text])
        return subprocess.Popen(
            ["bash", "-c", script], cwd=PROJECT, env=self.environment, text=True, start_new_session=True,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
        )  # fmt: skip

    def output(self, text):
        """The lines that are shown, and the status."""
        process = self.process(text)
        try:
            seen = process.communicate(timeout=2 * DEADLINE)[0].replace(self.unit, "/tmp/unit").splitlines()
            return seen, process.returncode
        finally:
            kill(process)

    def type(self, command):
        end = time.monotonic() + DEADLINE
        while True:
            seen, status = self.output(command.text)
            if all_agree(command.shown, seen) and status == 0:
                return
            seen.append(f"(status {status})")
            if not only_looks(command.text) or time.monotonic() > end:
                raise Failure(difference(command, command.shown, seen))
            time.sleep(0.3)

    def watch(self, command):
        process, seen = self.process(command.text), []
        end = time.monotonic() + DEADLINE
        rest = ""
        try:
            while first_missing(command.shown, seen) is not None:
                piece = b""
                if select.select([process.stdout], [], [], 0.2)[0]:
                    piece = os.read(process.stdout.fileno(), 65536)
                elif time.monotonic() < end:
                    continue
                if not piece:
                    raise Failure(difference(command, [first_missing(command.shown, seen)], seen))
                rest += piece.decode("ascii", "replace")
                *lines, rest = rest.split("\n")
                seen += lines
        finally:
            kill(process)

    def watch_screen(self, screen):
        keys = list(screen.keys)
        try:
            for line in screen.shown:
                if keys and line.startswith(keys[0]):
                    self.background.type(keys.pop(0))
                self.background.await_line(line)
        except Failure as failure:
            raise Failure(f"line {screen.line}: {failure}") from None
        if keys:
            raise Failure(f"line {screen.line}: nothing is shown for the keys {keys}")

    def work_through(self, row):
        if row.order:
            control = shlex.quote(f"{self.unit}/tmp/desk/control")
            order = Command(f"echo {shlex.quote(row.order)} | orvanectl seq --control {control} -", row.line)
            order.shown = [f"-:1: ok: {row.order}", "orvanectl: 1 step: 1 passed, 0 failed, 0 not run, in 0.0 s"]
            self.type(order)
        self.type(row.request)
        warning = row.warning
        end = time.monotonic() + DEADLINE
        while True:
            seen, _ = self.output("orvanectl bus last warning-messages")
            if any(line.endswith(warning + "]") for line in seen):
                return
            if time.monotonic() > end:
                raise Failure(f"line {row.line}: the last warning is not {warning}\n" + "\n".join(seen))
            time.sleep(0.3)


def runs_a_unit(text):
    return "lab/desk" in text or "OrvaneServer /opt" in text


def is_background(text):
    """Whether it runs until it is ended."""
    return runs_a_unit(text) and re.search(r"--seconds \d|--play ", text) is None


def only_looks(text):
    return re.search(r"orvanectl bus (last|bit-results|faults)\b", text) is not None


def is_served(path):
    with socket.socket(socket.AF_UNIX) as client:
        try:
            client.connect(str(path))
        except OSError:
            return False
    return True


def kill(process):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def walk(build, steps, beginning):
    """Walks through a section on a unit of its own."""
    with tempfile.TemporaryDirectory() as unit:
        Walk(str(pathlib.Path(build).resolve()), unit).run(steps, beginning)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", required=True)
    parser.add_argument("--section")
    parser.add_argument("page")
    options = parser.parse_args()
    found = sections(pathlib.Path(options.page).read_text())
    chosen = [(heading, steps) for heading, steps in found[1:] if options.section in (None, heading)]
    if not chosen:
        sys.exit(f"{options.page} has no section {options.section}")
    if subprocess.run([PROJECT / "lab/sandbox", "true"], check=False).returncode == 125:
        sys.exit(125)
    for heading, steps in chosen:
        try:
            walk(options.build, steps, found[0][1])
        except Failure as failure:
            sys.exit(f"{options.page}: {heading}: {failure}")
        print(f"{heading}: as on the page")


if __name__ == "__main__":
    main()

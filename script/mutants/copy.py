"""A copy of the tree with a build folder of its own, in which one file at a time is changed, and its test programs."""

import concurrent.futures
import json
import os
import pathlib
import re
import resource
import signal
import subprocess
import sys
import tempfile
import threading
import time

PRESET = "dev"
# Of what changed code may do: nothing is written but in memory, no device and no network of the machine is there.
_SANDBOX = (
    "bwrap --ro-bind / / --dev /dev --proc /proc --size 1073741824 --tmpfs /tmp --tmpfs /dev/shm "
    "--unshare-net --unshare-pid --unshare-ipc --die-with-parent --"
).split()
_MEMORY = 4 << 30
_SECONDS_OF_A_BUILD = 900
_SECONDS_OF_A_TEST = 90


class Program:
    """A program of tests as tests/CMakeLists.txt declares it."""

    def __init__(self, folder, name, declaration):
        self.folder = folder  # of the product, which tests/ mirrors
        self.target = f"tests/{folder}/{name}"
        self.runs_on_a_unit = re.search(r"\bUNIT\b", declaration) is not None
        self.sources = re.findall(r"(\S+\.cpp)", declaration)
        self.lock = threading.Lock()
        self.tests = None  # names, filled when it was built from the unchanged tree
        self.alone = set()  # of them those that fail behind others in one process

    def suites_of(self, stem, tree):
        """The suites in the source that has the name of a unit."""
        suites = set()
        for source in self.sources:
            if pathlib.Path(source).stem == f"{stem}Test":
                text = (tree / "tests" / self.folder / source).read_text()
                suites |= set(re.findall(r"^TEST(?:_[FP])?\(\s*(\w+)", text, re.MULTILINE))
        return suites


def programs(tree):
    found = []
    for file in sorted((tree / "tests").rglob("CMakeLists.txt")):
        folder = str(file.parent.relative_to(tree / "tests"))
        for name, declaration in re.findall(r"^ *orvane_add_tests\((\w+)([^)]*)\)", file.read_text(), re.MULTILINE):
            found.append(Program(folder, name, declaration))
    return found


class Refused(Exception):
    """The compiler, or the linker, does not take the tree as it is."""


class Copy:
    def __init__(self, original, path, workers):
        self.original, self.path, self.workers = original, path, workers
        self.build = path / "build" / PRESET
        self._inputs = {}

    def bring_up_to_date(self):
        """Files are written only where they differ, so that little is built anew."""
        listed = subprocess.run(
            ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
            cwd=self.original, check=True, capture_output=True, text=True,
        ).stdout  # fmt: skip
        wanted = {name for name in listed.split("\0") if name and (self.original / name).is_file()}
        for name in wanted:
            source, target = self.original / name, self.path / name
            content = source.read_bytes()
            if target.is_file() and target.read_bytes() == content:
                continue
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(content)
            target.chmod(source.stat().st_mode)
        for folder, folders, files in os.walk(self.path):
            folders[:] = [name for name in folders if pathlib.Path(folder, name) != self.path / "build"]
            for name in files:
                file = pathlib.Path(folder, name)
                if str(file.relative_to(self.path)) not in wanted:
                    file.unlink()
        self._run(["cmake", "--preset", PRESET, "--log-level=NOTICE"])

    def make(self, targets, is_changed=False):
        """Builds programs. The compiler's cache keeps nothing of a changed tree."""
        environment = {"CCACHE_READONLY": "1"} if is_changed else {}
        self._run(["ninja", "-C", str(self.build), "-j2", *targets], environment)

    def _run(self, command, environment=None):
        environment = dict(os.environ, **(environment or {}))
        done = subprocess.run(
            command, cwd=self.path, env=environment, capture_output=True, text=True, timeout=_SECONDS_OF_A_BUILD
        )
        if done.returncode != 0:
            text = done.stdout + done.stderr
            raise Refused(text) if "error:" in text else RuntimeError(f"{command[0]} did not end well: {text}")

    def affected(self, all_programs, file):
        """Those programs that have a file among what they, or what they start, are made of."""
        concerned = {str(self.path / file)}
        if file.endswith(".h"):  # what includes it is known of what was compiled
            self.make([program.target for program in all_programs])
            concerned |= self._objects_of_headers().get(file, set())
        return [program for program in all_programs if not concerned.isdisjoint(self._inputs_of(program))]

    def _inputs_of(self, program):
        if program.target not in self._inputs:
            listed = subprocess.run(
                ["ninja", "-C", str(self.build), "-t", "inputs", program.target],
                check=True, capture_output=True, text=True,
            ).stdout.splitlines()  # fmt: skip
            self._inputs[program.target] = set(listed)
        return self._inputs[program.target]

    def _objects_of_headers(self):
        listed = subprocess.run(
            ["ninja", "-C", str(self.build), "-t", "deps"], check=True, capture_output=True, text=True
        ).stdout
        objects, current = {}, None
        for line in listed.splitlines():
            if line.startswith("    "):
                name = os.path.normpath(self.build / line.strip())
                if name.startswith(f"{self.path}/"):
                    objects.setdefault(name[len(str(self.path)) + 1 :], set()).add(current)
            elif ": #deps" in line:
                current = line.split(": #deps")[0]
        return objects

    def learn(self, program):
        """What tests a program of the unchanged tree has, and which of them want a process of their own."""
        with program.lock:
            if program.tests is not None:
                return
            self.make([program.target])
            listed = subprocess.run(
                [*_SANDBOX, str(self.build / program.target), "--gtest_list_tests"],
                check=True, capture_output=True, text=True,
            ).stdout  # fmt: skip
            tests, suite = [], ""
            for line in listed.splitlines():
                name = line.split("#")[0].rstrip()
                if name.endswith(".") and not name.startswith(" "):
                    suite = name
                elif name.startswith("  ") and suite and "DISABLED_" not in suite + name:
                    tests.append(suite + name.strip())
            notes = self.path.parent / "tests" / f"{program.target.replace('/', '.')}.json"
            if notes.exists() and (known := json.loads(notes.read_text()))["listed"] == tests:
                program.alone, program.tests = set(known["alone"]), known["fit"]
                return
            if program.runs_on_a_unit:
                program.alone = set(tests)
            else:
                program.alone = set(self._failing_together(program, tests))
            unfit = set(self.failing(program, sorted(program.alone), every=True))
            program.alone -= unfit
            program.tests = [test for test in tests if test not in unfit]
            for test in sorted(unfit):
                print(f"{test}: fails on the unchanged tree, and is left out", file=sys.stderr)
            notes.parent.mkdir(exist_ok=True)
            notes.write_text(json.dumps({"listed": tests, "fit": program.tests, "alone": sorted(program.alone)}))

    def _failing_together(self, program, tests):
        shares = [tests[worker :: self.workers] for worker in range(self.workers)]
        with concurrent.futures.ThreadPoolExecutor(self.workers) as pool:
            ends = pool.map(lambda share: self._end(program, share) if share else (True, []), shares)
            return [test for share, (good, failed) in zip(shares, ends) if not good for test in failed or share]

    def failing(self, program, tests, every=False):
        """The first test that fails, and fails once more, of those named; all of them if `every`."""
        together = [test for test in tests if test not in program.alone]
        alone = [test for test in tests if test in program.alone]
        shares = [share for share in (together[worker :: self.workers] for worker in range(self.workers)) if share]
        failed, stop = [], threading.Event()

        def look(share):
            if stop.is_set():
                return
            good, names = self._end(program, share, ["--gtest_fail_fast"], stop)
            if good or stop.is_set():
                return
            # Behind others a test may fail for what they left; and a machine may be busy.
            for name in [*names, *(test for test in share if test not in names)]:
                if stop.is_set():
                    return
                if not self._end(program, [name], [], stop)[0] and not stop.is_set():
                    failed.append(name)
                    if not every:
                        stop.set()
                    return

        with concurrent.futures.ThreadPoolExecutor(self.workers) as pool:
            list(pool.map(look, shares + [[test] for test in alone]))
        return failed

    def _end(self, program, tests, options=(), stop=None):
        """Whether tests end well in one process, and those that don't."""
        command = [str(self.build / program.target), f"--gtest_filter={':'.join(tests)}", *options]
        if program.runs_on_a_unit:
            command = [str(self.path / "tests/support/unit"), *command]
        else:
            command = [*_SANDBOX, *command]
        limit = _SECONDS_OF_A_TEST + len(tests)

        def bounded():
            resource.setrlimit(resource.RLIMIT_DATA, (_MEMORY, _MEMORY))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

        with tempfile.TemporaryFile() as output:
            process = subprocess.Popen(
                command, cwd=(self.build / program.target).parent, stdin=subprocess.DEVNULL, stdout=output,
                stderr=subprocess.STDOUT, start_new_session=True, preexec_fn=bounded,
            )  # fmt: skip
            begin = time.monotonic()
            while process.poll() is None:
                if time.monotonic() - begin > limit or (stop and stop.is_set()):
                    os.killpg(process.pid, signal.SIGKILL)
                    process.wait()
                    break
                time.sleep(0.02)
            output.seek(0)
            text = output.read().decode(errors="replace")
        if process.returncode == 125 and program.runs_on_a_unit:
            raise RuntimeError(f"no unit can be had here: {text}")
        failed = re.findall(r"^\[  FAILED  \] ([^\s,]+)", text, re.MULTILINE)
        if not failed and process.returncode != 0:
            failed = re.findall(r"^\[ RUN      \] (\S+)", text, re.MULTILINE)[-1:]
        return process.returncode == 0, sorted(set(failed))

#!/usr/bin/env python3
"""What the programs of a build have run: gcov_counts.py BUILD FOLDER...

Prints the counts that gcov has of the sources in the folders, which are named from the root of the tree, as JSON:
{"files": [{"file": ..., "lines": [{"line_number": ..., "count": ..., "branches": [{"count": ...}]}]}]}

A branch is a way that a decision of the source may go. That a call may throw is none, nor is what stands on a line of
braces alone. Instances of one template are one source: what one of them has run, has been run. Their branches are the
same ones wherever they are as many, in the same function. The same holds for what several objects have of an inline
function, of which the linker keeps one.
"""

import collections
import concurrent.futures
import functools
import json
import os
import pathlib
import re
import subprocess
import sys

NO_CODE = {"", "{", "}", "{}", "};", "else"}
COMMENT = re.compile(r"//.*|/\*.*?\*/")


def decisions_of(branches):
    """The counts of the ways that decisions went. Those of a call are a pair: that it came back, and that it threw."""
    counts = []
    for branch in branches:
        if not branch["throw"]:
            counts.append((branch["count"], branch["fallthrough"]))
        elif counts and counts[-1][1]:
            counts.pop()
    # A process that was killed while it counted may leave less than nothing.
    return [max(count, 0) for count, _ in counts]


def sums(some, others):
    return [one + other for one, other in zip(some, others)]


def folded(counts, instances):
    """Those of several instances as those of one; as they are if they can't be."""
    if instances < 2 or len(counts) % instances != 0:
        return counts
    size = len(counts) // instances
    parts = (counts[begin : begin + size] for begin in range(0, len(counts), size or 1))
    return functools.reduce(sums, parts, [0] * size)


class Counts:
    """Of all files, added up over objects and instances."""

    def __init__(self):
        self._lines = collections.defaultdict(int)  # by file and line
        self._branches = {}  # by file, line, place of the function, and number of branches

    def add(self, file, functions, lines):
        """What gcov tells of one file in one object."""
        places = {function["name"]: (function["start_line"], function["start_column"]) for function in functions}
        instances = collections.Counter(places.values())
        for line in lines:
            at = (file, line["line_number"])
            self._lines[at] += max(line["count"], 0)
            decisions = decisions_of(line.get("branches", []))
            place = places.get(line.get("function_name"))
            if place is None:
                # Within a lambda gcov tells those of all instances behind each other.
                place = max((begin for begin in instances if begin[0] <= line["line_number"]), default=None)
                decisions = folded(decisions, instances.get(place, 1))
            key = (*at, place, len(decisions))
            self._branches[key] = sums(self._branches.get(key, [0] * len(decisions)), decisions)

    def files(self, text_of):
        """Without the lines that are no code. `text_of` tells the text of a file's line."""
        branches = collections.defaultdict(list)
        for (file, number, *_), counts in self._branches.items():
            branches[file, number] += counts
        files = collections.defaultdict(list)
        for (file, number), count in sorted(self._lines.items()):
            if is_code(text_of(file, number)):
                ways = [{"count": way} for way in branches[file, number]]
                files[file].append({"line_number": number, "count": count, "branches": ways})
        return [{"file": file, "lines": lines} for file, lines in files.items()]


def is_code(text):
    return COMMENT.sub("", text).replace(" ", "").strip() not in NO_CODE


def told_by_gcov(notes):
    """What gcov tells of an object, by its file of notes; nothing if it tells nothing."""
    done = subprocess.run(
        ["gcov", "--json-format", "--stdout", "--branch-probabilities", notes], capture_output=True, text=True
    )
    if done.returncode != 0:
        sys.exit(f"gcov: {notes}: {done.stderr.strip()}")
    return [json.loads(line) for line in done.stdout.splitlines() if line.startswith("{")]


def main(arguments):
    root = pathlib.Path(__file__).resolve().parent.parent
    sources = tuple(f"{root}/{folder}/" for folder in arguments[2:])
    build, folders = pathlib.Path(arguments[1]).resolve(), tuple(f"{folder}/" for folder in arguments[2:])
    # Counts of the lab's programs are not read: each adds branches of its own to a header's templates.
    objects = [*folders, *(f"tests/{folder}" for folder in folders), "tests/system/", "tests/support/"]
    notes = sorted(note for place in objects for note in (build / place).rglob("*.gcno"))
    counts, texts = Counts(), {}

    def text_of(file, number):
        if file not in texts:
            texts[file] = (root / file).read_text(encoding="utf-8").splitlines()
        return texts[file][number - 1]

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for told in pool.map(told_by_gcov, notes):
            for file in (file for one in told for file in one["files"]):
                if file["file"].startswith(sources):
                    counts.add(str(pathlib.Path(file["file"]).relative_to(root)), file["functions"], file["lines"])
    json.dump({"files": counts.files(text_of)}, sys.stdout)


if __name__ == "__main__":
    main(sys.argv)

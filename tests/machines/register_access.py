#!/usr/bin/env python3
"""Looks into a program for 32-bit ARM at how it reaches registers of 64 bits: `HX_Devmem::Read` is to load one by a single
exclusive doubleword load, `HX_Devmem::Write` to store one by a single doubleword store, and neither by a loop.

register_access.py [--objdump PROGRAM] [--vectorised] FILE

With --vectorised, for a build with NEON, the checksum of frames is to add words in vectors, too. What is not so is told,
and ends this with status 1."""

import argparse
import re
import subprocess
import sys


def functions_of(disassembly):
    """The instructions of each function by its name, as (operation, operands)."""
    functions, current = {}, None
    for line in disassembly.splitlines():
        if start := re.match(r"[0-9a-f]+ <(.*)>:$", line):
            current = functions.setdefault(start[1], [])
        elif current is not None and (step := re.match(r"\s*[0-9a-f]+:\t(\S+)(?:\t(.*))?$", line)):
            current.append((step[1], step[2] or ""))
    return functions


def reached(instructions, operation):
    """The instructions of this operation, under whatever condition, that reach memory other than the stack."""
    return [
        f"{name} {operands}"
        for name, operands in instructions
        if re.fullmatch(operation + r"(eq|ne|cs|cc|mi|pl|hi|ls|ge|lt|gt|le)?(\.w|\.n)?", name)
        and not re.search(r"\[(sp|r13)\b", operands)
    ]


def complaints_about(functions, vectorised):
    """What is not as it has to be, a line each."""
    complaints = []

    def instructions_of(part):
        found = [steps for name, steps in functions.items() if name.startswith(part + "(")]
        if len(found) != 1:
            complaints.append(f"{part}: {len(found)} functions of this name")
        return found[0] if len(found) == 1 else None

    read = instructions_of("FACE::IOSS::HX_Devmem::Read")
    if read is not None:
        loads = reached(read, "ldrexd")
        if len(loads) != 1:
            complaints.append(f"HX_Devmem::Read: not one exclusive doubleword load but {loads}")
    write = instructions_of("FACE::IOSS::HX_Devmem::Write")
    if write is not None:
        stores = reached(write, "strd")
        if len(stores) != 1:
            complaints.append(f"HX_Devmem::Write: not one doubleword store but {stores}")
        loop = reached(write, "ldrexd") + reached(write, "strexd")
        if loop:
            complaints.append(f"HX_Devmem::Write: exclusive accesses: {loop}")
    # The sum may stand in the function that calls it, or apart.
    sums = [step for name, steps in functions.items() if re.search(r"\b(CalculateChecksum|sumOf)\b", name) for step in steps]
    if vectorised and not any(name == "vadd.i16" for name, _ in sums):
        complaints.append("the checksum of frames: no addition of vectors")
    return complaints


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--objdump", default="arm-linux-gnueabihf-objdump")
    parser.add_argument("--vectorised", action="store_true")
    parser.add_argument("file")
    arguments = parser.parse_args()
    command = [arguments.objdump, "--disassemble", "--demangle", "--no-show-raw-insn", arguments.file]
    disassembly = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    complaints = complaints_about(functions_of(disassembly), arguments.vectorised)
    for complaint in complaints:
        print(f"register_access: {complaint}", file=sys.stderr)
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())

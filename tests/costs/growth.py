#!/usr/bin/env python3
"""Compares how the instructions of each measured operation grow with what the reference says.

  growth.py PROGRAM docs/costs.md
PROGRAM is run under callgrind for inputs of N, 2N and 4N. Unlike seconds, instructions are the same on every machine."""

import glob
import math
import os
import re
import subprocess
import sys
import tempfile

SIZES = (2000, 4000, 8000)
# The largest exponent that a count may appear to have between 2N and 4N, for each order of growth on the
# page.
BOUNDS = {"1": 0.15, "log n": 0.3, "n": 1.15, "n log n": 1.3, "n²": 2.1}


def counts(program, size, folder):
    out = os.path.join(folder, f"callgrind.{size}")
    ran = subprocess.run(["valgrind", "--tool=callgrind", "--collect-atstart=no", f"--callgrind-out-file={out}",
                          program, str(size)], capture_output=True, text=True)
    if ran.returncode != 0:
        sys.exit(f"growth: {program} {size} ended with {ran.returncode}\n{ran.stderr}")
    found = {}
    for path in glob.glob(out + ".*"):
        with open(path) as file:
            text = file.read()
        name = re.search(r"^desc: Trigger: Client Request: (.+)$", text, re.M)
        if name:
            found[name[1]] = int(re.search(r"^totals: (\d+)", text, re.M)[1])
    return found


def orders(page):
    """Returns the rows of the page's table of measured operations."""
    with open(page) as file:
        text = file.read().split("## Measured growth", 1)[1]
    return dict(re.findall(r"^\| ([^|]+?) \| ([^|]+?) \|", text, re.M))


def main():
    program, page = sys.argv[1:]
    said = {name: order for name, order in orders(page).items() if order in BOUNDS}
    with tempfile.TemporaryDirectory() as folder:
        measured = [counts(program, size, folder) for size in SIZES]
    wrong = 0
    for name in measured[0]:
        small, middle, large = (each[name] for each in measured)
        exponent = math.log2(large / middle)
        order = said.pop(name, None)
        fits = order is not None and exponent <= BOUNDS[order]
        wrong += not fits
        print(f"{'' if fits else 'WRONG: '}{name}: {small} {middle} {large}, exponent {exponent:.2f}, "
              f"{order or 'not in the table'}")
    for name in said:
        print(f"WRONG: {name} is in the table and not measured")
    sys.exit(1 if wrong or said else 0)


if __name__ == "__main__":
    main()

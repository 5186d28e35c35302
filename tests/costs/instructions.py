#!/usr/bin/env python3
"""Compares the library's instructions for operations on whole documents with those in a table.

  instructions.py PROGRAM TABLE [--update]
PROGRAM is run under callgrind. Only the library's own instructions count, because the C runtime chooses its functions by
the processor. A count of more than 3 per cent above the table is a failure. --update rewrites the table; commit it
together with the change, and give the reason."""

import glob
import os
import re
import subprocess
import sys
import tempfile

LIBRARY = "libke_utils"
TOLERANCE = 1.03
SLACK = 100  # instructions, for operations that take only hundreds


def own_instructions(text):
    """Returns the sum of the costs of all lines of the library's functions, without those of the calls they make."""
    names, total, ours, skip = {}, 0, False, False
    for line in text.splitlines():
        found = re.match(r"ob=\((\d+)\)(?: (.*))?$", line)
        if found:
            names.setdefault(found[1], found[2] or "")
            ours = LIBRARY in names[found[1]]
        elif line.startswith("cob="):
            found = re.match(r"cob=\((\d+)\)(?: (.*))?$", line)
            names.setdefault(found[1], found[2] or "")
        elif line.startswith("calls="):
            skip = True  # the next line is the cost of the call
        elif re.match(r"[+\-*\d]", line):
            if ours and not skip:
                total += int(line.split()[1])
            skip = False
    return total


def measured(program):
    with tempfile.TemporaryDirectory() as folder:
        out = os.path.join(folder, "callgrind")
        environment = {name: value for name, value in os.environ.items() if name != "KE_CORPORA"}
        ran = subprocess.run(["valgrind", "--tool=callgrind", "--collect-atstart=no", f"--callgrind-out-file={out}",
                              program], capture_output=True, text=True, env=environment)
        if ran.returncode != 0:
            sys.exit(f"instructions: {program} ended with {ran.returncode}\n{ran.stderr}")
        found = {}
        for path in glob.glob(out + ".*"):
            with open(path) as file:
                text = file.read()
            name = re.search(r"^desc: Trigger: Client Request: (.+)$", text, re.M)
            if name and not name[1].endswith(" first"):
                found[name[1]] = own_instructions(text)
        return found


def main():
    program, table = sys.argv[1:3]
    counts = measured(program)
    if sys.argv[3:] == ["--update"]:
        with open(table, "w") as file:
            file.write("# Instructions that the library executes, by operation and document; see instructions.py.\n")
            file.writelines(f"{name}: {count}\n" for name, count in sorted(counts.items()))
        return
    with open(table) as file:
        stored = {name: int(count) for name, count in re.findall(r"^(\w.*): (\d+)$", file.read(), re.M)}
    wrong = 0
    for name in sorted(counts.keys() | stored.keys()):
        count, before = counts.get(name), stored.get(name)
        fits = count is not None and before is not None and count <= before * TOLERANCE + SLACK
        wrong += not fits
        change = f"{count / before - 1:+.1%}" if count is not None and before else "not in both"
        print(f"{'' if fits else 'WRONG: '}{name}: {before} -> {count}, {change}")
    sys.exit(1 if wrong or not counts else 0)


if __name__ == "__main__":
    main()

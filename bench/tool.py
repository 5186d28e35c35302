#!/usr/bin/env python3
"""Compares ke with jq on a large document: CPU seconds and peak memory of a whole run.

    bench/tool.py KE [MEGABYTES [RUNS]]        default: 200 MB, the best of 3 runs

Prints a table.
"""
import os
import random
import shutil
import subprocess
import sys
import tempfile


def make_document(path, size):
    """Writes an array of drive reports in the layout of a pretty printer."""
    rng = random.Random(1)
    with open(path, "w") as out:
        out.write("[\n")
        number = 0
        while out.tell() < size:
            number += 1
            out.write(
                '  {\n    "serial": "SN%08d",\n    "model": "EXAMPLE %d",\n    "state": "%s",\n'
                '    "temperature": %d,\n    "wear": %.4f,\n    "written": %d,\n'
                '    "attributes": [%s],\n    "tags": {"site": "lab %d", "checked": %s, "by": null}\n  },\n'
                % (number, rng.randrange(9), rng.choice(["ok", "failed", "aging"]), rng.randrange(20, 70),
                   rng.random(), rng.randrange(1 << 60), ", ".join(str(rng.randrange(1000)) for _ in range(8)),
                   rng.randrange(50), rng.choice(["true", "false"])))
        out.write("  null\n]\n")
    return number


def run(command, stdout):
    """Returns the CPU seconds and the peak memory in MB of a command, which must succeed."""
    process = subprocess.Popen(command, stdout=stdout)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise SystemExit(f"{command} ended with {process.returncode}")
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def best(command, runs):
    with open(os.devnull, "wb") as nowhere:
        results = [run(command, nowhere) for _ in range(runs)]
    return min(seconds for seconds, _ in results), min(memory for _, memory in results)


def main():
    ke = sys.argv[1]
    megabytes = int(sys.argv[2]) if len(sys.argv) > 2 else 200
    runs = int(sys.argv[3]) if len(sys.argv) > 3 else 3
    folder = tempfile.mkdtemp()
    try:
        file = os.path.join(folder, "reports.json")
        middle = make_document(file, megabytes * 1000000) // 2
        rows = [
            ("compact", [ke, "json", "format", "--compact", file], ["jq", "-c", ".", file]),
            ("pretty", [ke, "json", "format", file], ["jq", ".", file]),
            ("sorted keys", [ke, "json", "format", "--sort-keys", file], ["jq", "-S", ".", file]),
            ("one value", [ke, "json", "get", f"/{middle}/wear", file], ["jq", f".[{middle}].wear", file]),
            ("all paths", [ke, "json", "paths", file],
             ["jq", "-r", 'paths(scalars) as $p | "\\($p | join("/"))\\t\\(getpath($p))"', file]),
            ("set one value", [ke, "json", "set", f"/{middle}/wear", "0.5", file],
             ["jq", f".[{middle}].wear = 0.5", file]),
        ]
        print(f"A document of {os.path.getsize(file) / 1e6:.0f} MB; CPU seconds, peak memory in MB, best of {runs}.\n")
        print("| operation | ke s | jq s | ke / jq | ke MB | jq MB | ke / jq |\n|---|---|---|---|---|---|---|")
        for name, ours, theirs in rows:
            (a, b), (c, d) = best(ours, runs), best(theirs, runs)
            print(f"| {name} | {a:.2f} | {c:.2f} | {a / c:.2f} | {b:.0f} | {d:.0f} | {b / d:.3f} |", flush=True)
    finally:
        shutil.rmtree(folder)


main()

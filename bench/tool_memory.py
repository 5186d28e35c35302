#!/usr/bin/env python3
"""Measures the peak memory of ke with large documents, and fails if a limit is exceeded.

    bench/tool_memory.py KE [MEGABYTES]        default 200; of the documents for commands that pass on what they read

A command that streams stays below 64 MB, whatever the size. A command that needs the whole document takes at most
4 times the text of its inputs (plus 8 MB for the program). The documents are those with the most values per byte:
arrays of small numbers and of small objects, one object of many members, and INI files of short lines.
"""
import os
import shutil
import subprocess
import sys
import tempfile


def write_repeated(path, size, piece, last):
    """Writes an array that repeats one element, followed by a last one."""
    block = piece * (1000000 // len(piece))
    with open(path, "w") as out:
        out.write("[")
        while out.tell() < size:
            out.write(block)
        out.write(last + "]")


def write_members(path, size):
    """Writes one object with a different key for each member."""
    with open(path, "w") as out:
        out.write('{"k":0')
        number = 0
        while out.tell() < size:
            out.write("".join(f',"{number + i}":1' for i in range(10000)))
            number += 10000
        out.write("}")


def write_ini(path, size, line):
    """Writes a section of lines from a pattern, in which each line's number is inserted."""
    with open(path, "w") as out:
        out.write("[a]\nk=0\n")
        number = 0
        while out.tell() < size:
            out.write("".join(line % (number + i) if "%" in line else line for i in range(10000)))
            number += 10000


def peak(command):
    """Returns the peak memory in MB of a command, which must exit with 0 or, for a comparison, with 1."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode not in (0, 1):
        raise SystemExit(f"{command} ended with {process.returncode}")
    return usage.ru_maxrss * 1024 / 1e6


def main():
    ke = sys.argv[1]
    megabytes = int(sys.argv[2]) if len(sys.argv) > 2 else 200
    folder = tempfile.mkdtemp()
    bad = 0

    def measure(name, limit, *args):
        nonlocal bad
        memory = peak([ke, *args])
        bad += memory > limit
        print(f"| {name} | {memory:.0f} | {limit:.0f} |{' TOO MUCH' if memory > limit else ''}", flush=True)

    try:
        print("| command | peak MB | limit MB |\n|---|---|---|")
        file = os.path.join(folder, "large.json")
        write_repeated(file, megabytes * 1000000, '{"key": [1.50, "text", null]},\n', "7")
        size = f"{os.path.getsize(file) / 1e6:.0f} MB"
        measure(f"json format, {size}", 64, "json", "format", file)
        measure(f"json format --compact, {size}", 64, "json", "format", "--compact", file)
        measure(f"json get /5/key, {size}", 64, "json", "get", "/5/key", file)
        measure(f"json types, {size}", 64, "json", "types", file)
        measure(f"dump, {size}", 64, "dump", "--length", "100000000", file)
        measure(f"base64 encode, {size}", 64, "base64", "encode", file)
        small = {"numbers": "1,", "objects": '{"a":1},'}
        patch = os.path.join(folder, "patch.json")
        merge = os.path.join(folder, "merge.json")
        with open(patch, "w") as out:
            out.write('[{"op":"replace","path":"/0","value":5},{"op":"remove","path":"/1"}]')
        with open(merge, "w") as out:
            out.write("[1]")
        for shape, piece in small.items():
            write_repeated(file, 50000000, piece, "7")
            text = os.path.getsize(file) / 1e6
            for command in (["format", "--sort-keys"], ["set", "/0", "5", "--also", "/1", "6"], ["remove", "/1"],
                            ["patch", patch], ["merge", merge], ["expand"], ["get", "--glob", "/*"]):
                name = " ".join(os.path.basename(word) for word in command)
                measure(f"json {name}, {text:.0f} MB of {shape}", 4 * text + 8, "json", *command, file)
            for command in ("equal", "diff"):
                measure(f"json {command}, twice {text:.0f} MB of {shape}", 8 * text + 8, "json", command, file, file)
        write_members(file, 50000000)
        text = os.path.getsize(file) / 1e6
        for command in ("equal", "diff", "merge"):
            measure(f"json {command}, twice {text:.0f} MB of members", 8 * text + 8, "json", command, file, file)
        for command in (["format", "--sort-keys"], ["get", "", "--keys"]):
            measure(f"json {' '.join(command)}, {text:.0f} MB of members", 4 * text + 8, "json", *command, file)
        for name, line in {"keys": "k%d=v\n", "one key": "k=v\n", "sections": "[s%d]\n", "usual lines": "key_%08d = value\n"}.items():
            write_ini(file, 50000000, line)
            text = os.path.getsize(file) / 1e6
            for command in (["to-json"], ["to-json", "--sort-keys"], ["get", "a", "k"], ["keys", "a"], ["sections"],
                            ["set", "a", "k", "1"], ["remove", "a", "k"]):
                measure(f"ini {' '.join(command)}, {text:.0f} MB of {name}", 4 * text + 8, "ini", *command, file)
    finally:
        shutil.rmtree(folder)
    raise SystemExit(1 if bad else 0)


main()

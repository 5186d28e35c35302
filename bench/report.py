#!/usr/bin/env python3
"""Compares the results of the benchmarks, arranged by the questions that a user asks.

Benchmarks are named OPERATION/INPUT/LIBRARY. A ratio is the peer's time (or memory) divided by that of ke_utils, so
above 1 ke_utils is better. With --write FOLDER, updates the figures, tables and pictures of BENCHMARKS.md there.
"""

import argparse
import json
import math
import platform
import re
import statistics
import subprocess

OURS = "ke_utils"
# The order of columns.
PEERS = ["RapidJSON pool", "RapidJSON", "Boost.JSON", "cJSON", "json-c", "nlohmann"]
PACKAGES = ["rapidjson-dev", "libboost-json1.81-dev", "libcjson-dev", "libjson-c-dev", "nlohmann-json3-dev",
            "libglib2.0-dev", "libabsl-dev", "libssl-dev", "libinih-dev", "libc6", "g++-12"]

# (title, words, operations, what the first column of figures shows)
QUESTIONS = [
    ("How fast do I read a document?",
     "Parsing a text in memory and releasing the document.", ["parse+release"], "rate"),
    ("How fast do I write one?", "Into a new string, in one line.", ["dump compact"], "rate"),
    ("How fast do I write one for people to read?", "Into a new string, indented.", ["dump pretty"], "rate"),
    ("How fast do I copy one?", "A copy of the whole document, and its release.", ["copy+release"], "time"),
    ("How fast do I compare two?", "Two documents from the same text, which are equal.", ["equal"], "time"),
    ("How fast do I find a member?", "Each key of the document once, in the order of the text.", ["look-up"], "time"),
    ("How fast do I build one?", "A thousand records of five members, by the typed builders.", ["build"], "time"),
    ("How much memory does it take?", "Bytes of heap for the parsed document.", ["heap"], "size"),
]

# (operations, inputs, library, the minimum ratio, the goal in words)
GOALS = [
    ("parse\\+release", ".*", "cJSON", 1.3, "reading: 1.3 times cJSON"),
    ("parse\\+release", ".*", "json-c", 3.0, "reading: 3 times json-c"),
    ("parse\\+release", ".*", "RapidJSON", 1.0, "reading: RapidJSON with its plain allocator"),
    ("parse\\+release", ".*", "Boost.JSON", 1.0, "reading: Boost.JSON"),
    ("parse\\+release", ".*", "RapidJSON pool", 1.0, "reading: RapidJSON with its pool"),
    ("parse\\+release", ".*", "floor", 1 / 1.3, "reading: within 1.3 times of the floor"),
    ("dump compact|dump pretty", "(?!reals|canada|syn_numbers).*", "json-c", 2.0, "writing: 2 times json-c (except reals)"),
    ("dump compact|dump pretty", ".*", "RapidJSON", 1.0, "writing: RapidJSON"),
    ("copy\\+release", ".*", "json-c", 2.0, "copying: 2 times json-c"),
    ("copy\\+release", ".*", "cJSON", 2.0, "copying: 2 times cJSON"),
    ("equal", ".*", "json-c", 3.0, "comparing: 3 times json-c"),
    ("equal", ".*", "RapidJSON", 1.0, "comparing: RapidJSON"),
    ("look-up", ".*", "json-c", 2.0, "finding a member: 2 times json-c"),
    ("build", ".*", "json-c", 1.5, "building: 1.5 times json-c"),
    ("heap", ".*", "json-c", 1.0, "memory: less than json-c"),
    ("heap", ".*", "cJSON", 1.0, "memory: less than cJSON"),
    ("strbuf printf", ".*", "GString", 1.0, "formatting: GString's time"),
    ("asprintf", ".*", "C library", 1.0, "formatting: the time of the C library's asprintf"),
    ("map .*", ".*", "std::unordered_map", 1.0, "map: std::unordered_map"),
    ("base64 (encode|decode)", ".*", "OpenSSL", 1.0, "base64: OpenSSL"),
    ("ini", ".*", "inih", 1.5, "INI: 1.5 times inih"),
]


def quartile(values, which):
    """Returns the lower (1) or upper (3) quartile."""
    if len(values) == 1:
        return values[0]
    return statistics.quantiles(values, n=4, method="inclusive")[which - 1]


class Results:
    """Returns the times in nanoseconds, or the bytes, of each round: by operation, input, library."""

    def __init__(self, paths):
        self.samples = {}
        self.rates = {}
        for path in sorted(paths, key=lambda name: int(re.search(r"(\d+)\.json$", name).group(1))):
            with open(path, encoding="utf-8") as file:
                for row in json.load(file)["benchmarks"]:
                    self.add(row)

    def add(self, row):
        parts = row["run_name"].split("/")
        if row["run_type"] != "iteration" or row.get("error_occurred") or len(parts) != 3:
            return
        unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[row["time_unit"]]
        value = row["bytes"] if parts[0] == "heap" else row["cpu_time"] * unit
        self.samples.setdefault(tuple(parts[:2]), {}).setdefault(parts[2], []).append(value)
        if "bytes_per_second" in row:
            self.rates.setdefault(tuple(parts), []).append(row["bytes_per_second"])

    def inputs(self, operation):
        return [name for (each, name) in self.samples if each == operation]

    def value(self, operation, name, library=OURS):
        values = self.samples.get((operation, name), {}).get(library)
        return None if values is None else quartile(values, 1)

    def rate(self, operation, name):
        values = self.rates.get((operation, name, OURS))
        return None if values is None else quartile(values, 3)

    def ratio(self, operation, name, peer):
        """Returns the peer's lower quartile divided by ours, and half the interquartile range of the ratios."""
        libraries = self.samples.get((operation, name), {})
        if peer not in libraries or OURS not in libraries:
            return None
        ratio = quartile(libraries[peer], 1) / quartile(libraries[OURS], 1)
        rounds = [theirs / ours for theirs, ours in zip(libraries[peer], libraries[OURS])]
        return ratio, (quartile(rounds, 3) - quartile(rounds, 1)) / 2

    def peers(self, operations):
        found = {library for (operation, _), libraries in self.samples.items() if operation in operations
                 for library in libraries} - {OURS, "floor"}
        return [peer for peer in PEERS if peer in found] + sorted(found - set(PEERS))


def told(ratio):
    return "" if ratio is None else "%.2f ±%.2f" % ratio


def time(value):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if value >= size:
            return "%.3g %s" % (value / size, unit)
    return "%.3g ns" % value


def ours(results, operation, name, what):
    if what == "rate" and results.rate(operation, name) is not None:
        return "%.0f MB/s" % (results.rate(operation, name) / 1e6)
    value = results.value(operation, name)
    return "%.0f kB" % (value / 1e3) if what == "size" else time(value)


def table(rows):
    return ["| " + " | ".join(row) + " |" for row in [rows[0], ["---"] * len(rows[0])] + rows[1:]]


def answers(results):
    lines = []
    for title, words, operations, what in QUESTIONS:
        peers = results.peers(operations)
        rows = [["document", OURS] + peers]
        for operation in operations:
            for name in results.inputs(operation):
                if results.value(operation, name) is not None:
                    rows.append([name, ours(results, operation, name, what)] +
                                [told(results.ratio(operation, name, peer)) for peer in peers])
        if len(rows) > 2:
            means = []
            for peer in peers:
                ratios = [results.ratio(operation, name, peer) for operation in operations
                          for name in results.inputs(operation)]
                ratios = [math.log(ratio[0]) for ratio in ratios if ratio is not None]
                means.append("**%.2f**" % math.exp(sum(ratios) / len(ratios)) if ratios else "")
            rows.append(["**geometric mean**", ""] + means)
        if len(rows) > 1:
            lines += ["", "### " + title, "", words, ""] + table(rows)
    return lines


def stream_times(results):
    """Returns (document, time from memory, time from a stream) for each document that was read both ways."""
    times = [(name, results.value("parse+release", name), results.value("parse stream", name))
             for name in results.inputs("parse stream")]
    return [row for row in times if None not in row]


def streams(results):
    rows = [["document", "from memory", "from a stream", "stream / memory"]]
    for name, memory, stream in stream_times(results):
        rows.append([name, time(memory), time(stream), "%.2f" % (stream / memory)])
    if len(rows) == 1:
        return []
    return ["", "### And from a file?", "", "Parsing from an open stream and releasing, only with ke_utils. The text"
            " of the stream is in memory, so no disk is measured.", ""] + table(rows)


def others(results):
    """Returns the table of operations that do not concern documents: one row each, all other libraries in one cell."""
    rows = [["operation", "input", OURS, "compared with"]]
    asked = {operation for question in QUESTIONS for operation in question[2]}
    for (operation, name), libraries in results.samples.items():
        peers = sorted(set(libraries) - {OURS, "floor"})
        if operation in asked or OURS not in libraries or not peers:
            continue
        rows.append([operation, name, time(results.value(operation, name)),
                     ", ".join("%s %s" % (peer, told(results.ratio(operation, name, peer))) for peer in peers)])
    if len(rows) == 1:
        return []
    return ["", "### How fast are containers, text and files?", "", "A ratio above 1 says that the peer takes longer.",
            ""] + table([rows[0]] + sorted(rows[1:]))


def goals(results):
    rows = [["goal", "reached", "not reached, and the ratio there"]]
    for operations, inputs, peer, least, words in GOALS:
        reached, missed = 0, []
        for operation, name in results.samples:
            ratio = results.ratio(operation, name, peer)
            if ratio is None or not re.fullmatch(operations, operation) or not re.fullmatch(inputs, name):
                continue
            # Judge the rounded figure, which is the one that is shown.
            if round(ratio[0], 2) >= round(least, 2):
                reached += 1
            else:
                missed.append("%s%s %.2f" % (operation + " of " if "|" in operations or "(" in operations else "", name,
                                             ratio[0]))
        if reached + len(missed) != 0:
            rows.append([words, "%d of %d" % (reached, reached + len(missed)), ", ".join(missed)])
    slower = [(name, stream / memory) for name, memory, stream in stream_times(results)]
    if slower:
        missed = ["%s %.2f" % (name, ratio) for name, ratio in slower if round(ratio, 2) > 1.3]
        rows.append(["reading a stream: at most 1.3 times the time of reading from memory",
                     "%d of %d" % (len(slower) - len(missed), len(slower)), ", ".join(missed)])
    return table(rows) if len(rows) > 1 else []


def growth(results):
    """Returns rows of nanoseconds per element, by operation and count."""
    found = {}
    for (operation, name), libraries in results.samples.items():
        if name.isdigit() and OURS in libraries and int(name) >= 1000 and operation[0].islower():
            found.setdefault(operation, {})[int(name)] = quartile(libraries[OURS], 1) / int(name)
    return {operation: row for operation, row in found.items() if len(row) > 2}


def growth_table(found):
    sizes = sorted({size for row in found.values() for size in row})
    rows = [["nanoseconds for an element"] + ["{:,}".format(size) for size in sizes]]
    for operation, row in found.items():
        rows.append([operation] + ["%.3g" % row[size] if size in row else "" for size in sizes])
    return table(rows)


def growth_chart(found):
    sizes = sorted({size for row in found.values() for size in row})
    values = [value for row in found.values() for value in row.values()]
    low, high = math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))
    colours = ["#1b6ca8", "#c1440e", "#3a7d44", "#7b3fa0", "#b58900", "#2aa198", "#d33682", "#586e75", "#6c71c4",
               "#859900", "#a0522d", "#000000"]

    def x(size):
        return 70 + 420 * (math.log10(size) - math.log10(sizes[0])) / (math.log10(sizes[-1]) - math.log10(sizes[0]))

    def y(value):
        return 320 - 280 * (math.log10(value) - low) / (high - low)

    out = ['<svg xmlns="http://www.w3.org/2000/svg" width="760" height="370" font-family="sans-serif" font-size="12">',
           '<rect width="760" height="370" fill="white"/>',
           '<text x="10" y="20" font-size="14">Nanoseconds for an element, by the number of elements</text>']
    for power in range(low, high + 1):
        out.append('<line x1="70" x2="490" y1="%.0f" y2="%.0f" stroke="#ddd"/><text x="62" y="%.0f" text-anchor="end">%g</text>' % (
            y(10 ** power), y(10 ** power), y(10 ** power) + 4, 10 ** power))
    for size in sizes:
        out.append('<text x="%.0f" y="342" text-anchor="middle">%s</text>' % (x(size), "{:,}".format(size)))
    for i, (operation, row) in enumerate(found.items()):
        points = " ".join("%.1f,%.1f" % (x(size), y(row[size])) for size in sorted(row))
        colour = colours[i % len(colours)]
        out.append('<polyline points="%s" fill="none" stroke="%s" stroke-width="2"/>' % (points, colour))
        out.append('<rect x="510" y="%d" width="12" height="4" fill="%s"/><text x="528" y="%d">%s</text>' % (
            46 + i * 20, colour, 52 + i * 20, operation))
    return "\n".join(out + ["</svg>"]) + "\n"


def chart(results):
    """Draws a bar for each document and library: how many times as long that library takes to read it."""
    colours = ["#1b6ca8", "#7a9cc6", "#7ac68f", "#9a7ac6", "#c6a27a", "#c67a7a"]
    peers = [peer for peer in PEERS if peer in results.peers(["parse+release"])]
    rows = [name for name in results.inputs("parse+release") if results.ratio("parse+release", name, peers[0])]
    height = 60 + len(rows) * (len(peers) * 12 + 14)
    out = ['<svg xmlns="http://www.w3.org/2000/svg" width="760" height="%d" font-family="sans-serif" font-size="12">' % height,
           '<rect width="760" height="%d" fill="white"/>' % height,
           '<text x="10" y="20" font-size="14">Time to read and release a document, as a multiple of ke_utils (the line)</text>']
    for i, peer in enumerate(peers):
        out.append('<rect x="%d" y="30" width="12" height="12" fill="%s"/><text x="%d" y="40">%s</text>' % (
            130 + i * 105, colours[i], 146 + i * 105, peer))
    top = 56
    for name in rows:
        out.append('<text x="120" y="%d" text-anchor="end">%s</text>' % (top + len(peers) * 6 + 4, name))
        for i, peer in enumerate(peers):
            ratio = results.ratio("parse+release", name, peer)
            if ratio is not None:
                width = min(ratio[0] * 80, 560)
                out.append('<rect x="130" y="%d" width="%.0f" height="10" fill="%s"/><text x="%.0f" y="%d">%.2f</text>' % (
                    top + i * 12, width, colours[i], 134 + width, top + 9 + i * 12, ratio[0]))
        top += len(peers) * 12 + 14
    out.append('<line x1="210" y1="50" x2="210" y2="%d" stroke="black" stroke-dasharray="3 3"/>' % (height - 6))
    return "\n".join(out + ["</svg>"]) + "\n"


def raw(results):
    lines = []
    for operation in dict.fromkeys(key[0] for key in results.samples):
        rows = [["input", "library", "lower quartile", "median", "upper quartile", "rounds"]]
        for name in results.inputs(operation):
            for library, values in results.samples[operation, name].items():
                show = (lambda value: "%d bytes" % value) if operation == "heap" else time
                rows.append([name, library, show(quartile(values, 1)), show(statistics.median(values)),
                             show(quartile(values, 3)), str(len(values))])
        lines += ["", "## " + operation, ""] + table([rows[0]] + sorted(rows[1:]))
    return lines


def machine():
    cpu = "unknown"
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        for line in file:
            if line.startswith("model name"):
                cpu = line.split(":", 1)[1].strip()
                break
    versions = subprocess.run(["dpkg-query", "-W", "-f=${Package} ${Version}\n"] + PACKAGES, check=False,
                              capture_output=True, text=True).stdout.split("\n")
    return "%s, Linux %s; %s." % (cpu, platform.release(), ", ".join(line for line in versions if line))


def replace_between(path, marks, lines):
    """Replaces the lines between the two lines that mark their place."""
    with open(path, encoding="utf-8") as file:
        text = file.read()
    begin, end = ("<!-- %s -->" % marks, "<!-- end of %s -->" % marks)
    before, rest = text.split(begin)
    with open(path, "w", encoding="utf-8") as file:
        file.write(before + begin + "\n" + "\n".join(lines) + "\n\n" + end + rest.split(end)[1])


def write(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--write", metavar="FOLDER")
    parser.add_argument("results", nargs="+")
    args = parser.parse_args()
    results = Results(args.results)
    found = growth(results)
    figures = answers(results) + streams(results) + others(results)
    grown = growth_table(found) if found else []
    if args.write is None:
        print("\n".join(figures + [""] + goals(results) + [""] + grown))
        return
    page = args.write + "/BENCHMARKS.md"
    replace_between(page, "figures", figures)
    replace_between(page, "growth", [""] + grown)
    replace_between(page, "goals", [""] + goals(results))
    replace_between(page, "machine", ["", machine()])
    write(args.write + "/benchmarks-tables.md",
          "# Every figure\n\nThe measurements that [BENCHMARKS.md](BENCHMARKS.md) summarises: CPU time of one run"
          " of each operation, or bytes of heap, over all rounds.\n" + "\n".join(raw(results)) + "\n")
    write(args.write + "/benchmarks.svg", chart(results))
    write(args.write + "/growth.svg", growth_chart(found))


main()

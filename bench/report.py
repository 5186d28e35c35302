"""Puts the results of the benchmarks side by side: medians, ratios to each peer, and the marks that the
project has set itself. With --write FOLDER also as BENCHMARKS.md and benchmarks.svg.

Benchmarks are named OPERATION/INPUT/LIBRARY; a ratio above 1 says that ke_utils is so many times faster (or
smaller) than the peer.
"""

import argparse
import json
import platform
import re
import statistics
import subprocess

OURS = "ke_utils"
PACKAGES = ["libjson-c-dev", "libcjson-dev", "rapidjson-dev", "nlohmann-json3-dev", "libglib2.0-dev",
            "libabsl-dev", "libssl-dev", "libinih-dev", "libc6", "g++-12"]

# (operations, inputs, peer, the least ratio, what the mark is); inputs and operations as expressions.
MARKS = [
    ("parse\\+release", "(?!text|reals|integers).*", "cJSON", 1.0, "parse + release no slower than cJSON"),
    ("parse\\+release", "text|reals|integers", "cJSON", 1.2, "1.2 times cJSON on text, reals and integers"),
    ("parse\\+release", ".*", "json-c", 2.0, "parse + release at least 2 times json-c"),
    ("parse\\+release", ".*", "floor", 1 / 1.3, "parse + release within 1.3 times the floor"),
    ("dump compact|dump pretty", "(?!reals|canada|syn_numbers).*", "json-c", 1.5, "dump at least 1.5 times json-c, reals apart"),
    ("dump compact", ".*", "floor", 1 / 1.2, "dump within 1.2 times the floor"),
    ("copy\\+release|build", ".*", "json-c", 1.5, "copy and build at least 1.5 times json-c"),
    ("equal", ".*", "json-c", 3.0, "equality at least 3 times json-c"),
    ("look-up", ".*", "json-c", 2.0, "look-up at most half of json-c's time"),
    ("heap", ".*", "json-c", 1.0, "heap below json-c"),
    ("heap", ".*", "cJSON", 1 / 1.2, "heap at most 1.2 times cJSON"),
    ("map (insert|hit|remove)", ".*", "chained", 1 / 1.2, "map within 1.2 times a bare chained table"),
    ("map (insert|hit|remove)", ".*", "std::unordered_map", 1.0, "map faster than std::unordered_map"),
    ("base64 .*", ".*", "OpenSSL", 1.0, "base64 at least OpenSSL's"),
    ("u128 to decimal", ".*", "compiler", 1.0, "128-bit to decimal at least the compiler's division"),
    ("ini", ".*", "inih", 1.5, "INI at least 1.5 times inih"),
    ("strbuf putc", ".*", "GString", 1.0, "putc at least GString"),
]
DUMP_MARK = 1e9  # bytes of hexadecimal text a second


def read(paths):
    """{(operation, input): {library: median}} in nanoseconds or bytes, and bytes a second."""
    samples, rates = {}, {}
    for path in paths:
        with open(path, encoding="utf-8") as file:
            for row in json.load(file)["benchmarks"]:
                if row["run_type"] != "iteration" or row.get("error_occurred"):
                    continue
                parts = row["run_name"].removesuffix("/manual_time").split("/")
                if len(parts) != 3:
                    continue  # a benchmark of ours alone
                unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[row["time_unit"]]
                value = row["bytes"] if parts[0] == "heap" else row["real_time"] * unit
                samples.setdefault((parts[0], parts[1]), {}).setdefault(parts[2], []).append(value)
                if "bytes_per_second" in row:
                    rates.setdefault(tuple(parts), []).append(row["bytes_per_second"])
    medians = {key: {library: statistics.median(values) for library, values in libraries.items()}
               for key, libraries in samples.items()}
    return medians, {key: statistics.median(values) for key, values in rates.items()}


def shown(operation, value):
    if operation == "heap":
        return "%.0f kB" % (value / 1e3)
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if value >= size:
            return "%.2f %s" % (value / size, unit)
    return "%.0f ns" % value


def table(medians):
    """Lines of a table for each operation: an input a row, a library a column."""
    lines = []
    for operation in dict.fromkeys(key[0] for key in medians):
        rows = {key[1]: libraries for key, libraries in medians.items() if key[0] == operation and OURS in libraries}
        if not rows:
            continue  # a benchmark of ours alone, with two arguments
        peers = list(dict.fromkeys(peer for libraries in rows.values() for peer in libraries if peer != OURS))
        lines += ["", "### " + operation, "", "| input | ke_utils | " + " | ".join(peers) + (" |" if peers else ""),
                  "|---|---|" + "---|" * len(peers)]
        for name, libraries in rows.items():
            ours = libraries[OURS]
            cells = ["%.2f" % (libraries[peer] / ours) if peer in libraries else "" for peer in peers]
            lines.append("| " + " | ".join([name, shown(operation, ours)] + cells) + " |")
    return lines


def marks(medians, rates):
    lines = ["| mark | met by | missed by |", "|---|---|---|"]
    for operations, inputs, peer, least, text in MARKS:
        met, missed = 0, []
        for (operation, name), libraries in medians.items():
            if not re.fullmatch(operations, operation) or not re.fullmatch(inputs, name):
                continue
            if peer not in libraries or OURS not in libraries:
                continue
            ratio = libraries[peer] / libraries[OURS]
            if ratio >= least:
                met += 1
            else:
                missed.append("%s %s (%.2f instead of %.2f)" % (operation, name, ratio, least))
        if met + len(missed) != 0:
            lines.append("| %s | %d of %d | %s |" % (text, met, met + len(missed), "; ".join(missed) or "-"))
    for (operation, name, library), rate in rates.items():
        if operation == "dump lines" and library == OURS:
            lines.append("| dump lines at least 1 GB/s of hex text | %s | %s |" % (
                "1 of 1" if rate >= DUMP_MARK else "0 of 1", "-" if rate >= DUMP_MARK else "%s: %.2f GB/s" % (name, rate / 1e9)))
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
    return cpu, platform.release(), [line for line in versions if line]


def chart(medians):
    """A bar for each corpus and peer: how many times as long the peer takes for parse + release."""
    peers = ["cJSON", "json-c", "RapidJSON", "nlohmann"]
    colours = ["#7a9cc6", "#c6a27a", "#9a7ac6", "#7ac68f"]
    rows = [(name, libraries) for (operation, name), libraries in medians.items()
            if operation == "parse+release" and OURS in libraries]
    height = 60 + len(rows) * (len(peers) * 14 + 14)
    out = ['<svg xmlns="http://www.w3.org/2000/svg" width="760" height="%d" font-family="sans-serif" font-size="12">' % height,
           '<rect width="760" height="%d" fill="white"/>' % height,
           '<text x="10" y="20" font-size="14">Time for parse + release, as a multiple of ke_utils (the line is ke_utils)</text>']
    for i, peer in enumerate(peers):
        out.append('<rect x="%d" y="30" width="12" height="12" fill="%s"/><text x="%d" y="40">%s</text>' % (
            160 + i * 110, colours[i], 176 + i * 110, peer))
    y = 56
    for name, libraries in rows:
        out.append('<text x="150" y="%d" text-anchor="end">%s</text>' % (y + 28, name))
        for i, peer in enumerate(peers):
            if peer in libraries:
                ratio = libraries[peer] / libraries[OURS]
                width = min(ratio * 70, 560)
                out.append('<rect x="160" y="%d" width="%.0f" height="12" fill="%s"/><text x="%.0f" y="%d">%.2f</text>' % (
                    y + i * 14, width, colours[i], 164 + width, y + 10 + i * 14, ratio))
        y += len(peers) * 14 + 14
    out.append('<line x1="230" y1="50" x2="230" y2="%d" stroke="black" stroke-dasharray="3 3"/>' % (height - 6))
    return "\n".join(out + ["</svg>"]) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--write", metavar="FOLDER")
    parser.add_argument("results", nargs="+")
    args = parser.parse_args()
    medians, rates = read(args.results)
    report = table(medians) + ["", "### Marks", ""] + marks(medians, rates)
    print("\n".join(report))
    if args.write is None:
        return
    cpu, kernel, versions = machine()
    with open(args.write + "/BENCHMARKS.md", encoding="utf-8") as file:
        words = file.read().split("<!-- figures -->")[0]
    with open(args.write + "/BENCHMARKS.md", "w", encoding="utf-8") as file:
        file.write(words + "<!-- figures -->\n\n## The machine\n\n%s, Linux %s; %s.\n\n## Marks\n\n" % (
            cpu, kernel, ", ".join(versions)))
        file.write("\n".join(marks(medians, rates)) + "\n\n## Figures\n" + "\n".join(table(medians)) + "\n")
    with open(args.write + "/benchmarks.svg", "w", encoding="utf-8") as file:
        file.write(chart(medians))


main()

"""Writes a copy of the source tree into which all the chosen mutants are built, each switched on by its
number (mutant schemata), and builds it. The copy refers to the real tree for everything but src/."""

import os
import re
import subprocess

FLAVOURS = {
    "plain": [],
    "asan": ["-DKE_SANITIZE=address"],
    "tsan": ["-DKE_SANITIZE=thread"],
}


def render(source, mutants):
    """The instrumented text of one file, and the position of each mutant's site in it: (start, end, number)."""
    sites = {}
    for number, mutant in mutants:
        sites.setdefault((mutant.start, mutant.end), []).append((number, mutant))
    order = sorted(sites, key=lambda site: (site[0], -site[1]))
    out, places = [], []

    def length():
        return sum(map(len, out))

    def write(start, end, inner):
        """Copies start..end, instrumenting the sites of `inner`, which lie within it."""
        at = start
        while inner:
            site = inner.pop(0)
            nested = []
            while inner and inner[0][1] <= site[1]:
                nested.append(inner.pop(0))
            out.append(source[at:site[0]])
            begin = length()
            write_site(site, nested)
            places.extend((begin, length(), number) for number, _ in sites[site])
            at = site[1]
        out.append(source[at:end])

    def write_site(site, nested):
        here = sites[site]
        forms = {mutant.form for _, mutant in here}
        if forms == {"lock"}:
            ((number, mutant),) = here
            out.append((mutant.text % number).encode())
            return
        if forms == {"statement"}:
            numbers = " || ".join(f"KE_MUTANT({number})" for number, _ in here)
            out.append(f"{{ if (!({numbers})) ".encode())
            write(*site, nested)
            out.append(b" }")
            return
        out.append(b"(")
        for number, mutant in here:
            text = f"static_cast<void>({mutant.text})" if "drop" in forms else f"({mutant.text})"
            out.append(f"KE_MUTANT({number}) ? {text} : ".encode())
        wrap = "static_cast<void>" if "drop" in forms else "static_cast<bool>" if "bool" in forms else ""
        out.append(f"{wrap}(".encode())
        write(*site, nested)
        out.append(b"))")

    write(0, len(source), order)
    return b'#include "ke_mutants.h"\n' + b"".join(out), places


def write_if_changed(path, data):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    if os.path.exists(path):
        with open(path, "rb") as file:
            if file.read() == data:
                return
    with open(path, "wb") as file:
        file.write(data)


class Tree:
    def __init__(self, root, folder):
        self.root = root
        self.folder = folder
        self.copy = os.path.join(folder, "tree")

    def write(self, numbered, sources):
        """numbered: (number, mutant) pairs; sources: path -> text of the files that were visited."""
        os.makedirs(self.copy, exist_ok=True)
        for name in os.listdir(self.root):
            link = os.path.join(self.copy, name)
            if name not in ("src", "build", ".git", ".deps") and not os.path.lexists(link):
                os.symlink(os.path.join(self.root, name), link)
        by_file = {}
        for number, mutant in numbered:
            by_file.setdefault(mutant.path, []).append((number, mutant))
        self.places, kept = {}, set()
        for path, _, files in os.walk(os.path.join(self.root, "src")):
            for name in files:
                real = os.path.join(path, name)
                relative = os.path.relpath(real, self.root)
                kept.add(relative)
                with open(real, "rb") as file:
                    data = file.read()
                if relative in by_file:
                    if data != sources[relative]:
                        raise SystemExit(f"mutate: {relative} has changed meanwhile; run again")
                    data, self.places[relative] = render(data, by_file[relative])
                elif relative == "src/CMakeLists.txt":
                    data += (b"target_sources(ke_utils_objects PRIVATE ke_mutants.cpp)\n"
                             b"target_compile_options(ke_utils_objects PRIVATE -w -fpermissive -Wno-narrowing)\n")
                write_if_changed(os.path.join(self.copy, relative), data)
        here = os.path.dirname(os.path.abspath(__file__))
        # A mutant keeps its number when others, which do not compile, are left out.
        highest = max((number for number, _ in numbered), default=0)
        for name in ("ke_mutants.h", "ke_mutants.cpp"):
            with open(os.path.join(here, name + ".in"), "rb") as file:
                data = file.read().replace(b"KE_MUTANT_COUNT", str(highest).encode())
            write_if_changed(os.path.join(self.copy, "src", name), data)
            kept.add("src/" + name)
        for path, _, files in os.walk(os.path.join(self.copy, "src")):
            for name in files:
                relative = os.path.relpath(os.path.join(path, name), self.copy)
                if relative not in kept:
                    os.remove(os.path.join(self.copy, relative))

    def build(self, flavour, targets, jobs):
        """Builds the targets; returns the numbers of the mutants that do not compile (none if all is well)."""
        build = os.path.join(self.folder, flavour)
        log = os.path.join(self.folder, flavour + ".log")
        with open(log, "w") as file:
            configure = ["cmake", "-S", self.copy, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=None",
                         "-DCMAKE_CXX_FLAGS=-O1 -g0 -w -fpermissive -Wno-narrowing", "-DCMAKE_C_FLAGS=-O1 -g0",
                         "-DKE_BUILD_EXAMPLES=OFF", *FLAVOURS[flavour]]
            failed = subprocess.run(configure, stdout=file, stderr=file).returncode
            if not failed:
                failed = subprocess.run(["cmake", "--build", build, "-j", str(jobs), "--", "-k", "0", *targets],
                                        stdout=file, stderr=file).returncode
        if not failed:
            return build, []
        with open(log, errors="replace") as file:
            text = file.read()
        bad = set()
        for name, line, column in re.findall(r"(\S+):(\d+):(\d+): error:", text):
            found = re.search(r"(?:^|/)(src/.*)", name)
            number = found and self.mutant_at(found[1], int(line), int(column))
            if number:
                bad.add(number)
        if not bad:
            raise SystemExit(f"mutate: the copy does not build, see {log}\n" + text[-3000:])
        return build, sorted(bad)

    def mutant_at(self, path, line, column):
        if path not in self.places:
            return None
        with open(os.path.join(self.copy, path), "rb") as file:
            data = file.read()
        header = data.index(b"\n") + 1
        offset = sum(len(each) for each in data.splitlines(keepends=True)[:line - 1]) + column - 1 - header
        inside = [(end - begin, number) for begin, end, number in self.places[path] if begin <= offset < end]
        return min(inside)[1] if inside else None

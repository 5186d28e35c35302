"""Mutation testing of src/: see scripts/mutate for how it is called."""

import argparse
import collections
import glob
import hashlib
import json
import multiprocessing
import os
import pickle
import random
import re
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import kept as kept_list  # noqa: E402
import sites  # noqa: E402
from runner import Runner, suites_of  # noqa: E402
from tree import Tree  # noqa: E402

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
FOLDER = os.path.join(ROOT, "build", "mutate")
KEPT = os.path.join(ROOT, "tests", "mutation", "survivors.txt")
VERDICTS = os.path.join(FOLDER, "verdicts.json")
# Test programs that only use the public interface do not change with the mutants; these builds contain them
# anyway.
PRESETS = {"plain": "linux-debug", "asan": "linux-asan", "tsan": "linux-tsan"}
FAMILIES = ["core", "containers", "text", "object", "json", "fs", "os"]


def say(text):
    print(text, flush=True)


def git(*arguments):
    return subprocess.run(["git", "-C", ROOT, *arguments], capture_output=True, text=True).stdout.split()


def source_files():
    names = git("ls-files", "--cached", "--others", "--exclude-standard", "src")
    return [n for n in names if n.endswith((".cpp", ".h")) and "/windows" not in n and
            os.path.exists(os.path.join(ROOT, n))]


def changed_files():
    """Returns the files of src/ that have changed since this branch left main (on main itself, since the parent
    of the last commit); all files if none has changed."""
    for base in git("merge-base", "HEAD", "origin/main") + git("merge-base", "HEAD", "main") + ["HEAD~1"]:
        names = set(git("diff", "--name-only", base, "--", "src")) & set(source_files())
        if names:
            return sorted(names)
    return source_files()


def find(wanted):
    """Returns the mutants of these files. Parsing is slow, so the last result is cached."""
    files = source_files()
    state = hashlib.sha256(repr(sorted(wanted)).encode())
    for name in files + git("ls-files", "include") + ["tools/mutate/sites.py"]:
        with open(os.path.join(ROOT, name), "rb") as file:
            state.update(file.read())
    cache = os.path.join(FOLDER, f"found-{hashlib.sha256(repr(sorted(wanted)).encode()).hexdigest()[:8]}")
    if os.path.exists(cache):
        with open(cache, "rb") as file:
            key, found = pickle.load(file)
        if key == state.hexdigest():
            return found
    units = [n for n in files if n.endswith(".cpp")]
    found = sites.find(ROOT, units, wanted)
    with open(cache, "wb") as file:
        pickle.dump((state.hexdigest(), found), file)
    return found


def programs():
    """Returns (family, kind) of every test program of the library."""
    found = []
    for path in sorted(glob.glob(os.path.join(ROOT, "tests", "*", "CMakeLists.txt"))):
        with open(path) as file:
            found += re.findall(r"^ke_add_test\((\w+) (SHARED|INTERNAL)", file.read(), re.M)
    return [p for p in dict.fromkeys(found) if p[0] != "tools"]


# A step of the work: a build, the kinds of test programs to run in it, and whether these are the ones of the
# mutants' own families ("own"), the others ("other") or all ("all").
Step = collections.namedtuple("Step", "flavour kinds which")
FULL = [Step(flavour, ("SHARED", "INTERNAL"), "all") for flavour in ("plain", "asan", "tsan")]
# Someone is waiting for the result of a sample, so build as little as possible.
QUICK = [Step("asan", ("SHARED",), "own"), Step("asan", ("INTERNAL",), "own"), Step("asan", ("SHARED",), "other")]


def targets_of(step, mutants):
    own = {mutant.path.split("/")[1] for mutant in mutants}
    if "os" in own:
        own |= {"fs", "text"}
    wanted = {"own": lambda family: family in own, "other": lambda family: family not in own,
              "all": lambda family: True}[step.which]
    found = {"SHARED": [], "INTERNAL": []}
    for family, kind in programs():
        if kind in step.kinds and wanted(family):
            found[kind].append(f"test_{family}" + ("_internal" if kind == "INTERNAL" else ""))
    return found["SHARED"], found["INTERNAL"]


def prepare(tree, numbered, sources, step, alive, jobs):
    """Builds the copy; returns the suites, and the mutants that compile."""
    shared, internal = targets_of(step, [mutant for _, mutant in alive])
    for _ in range(20):
        tree.write(numbered, sources)
        build, bad = tree.build(step.flavour, ["ke_utils", *internal], jobs)
        if not bad:
            break
        say(f"mutate: {len(bad)} mutants do not compile and are left out")
        numbered = [pair for pair in numbered if pair[0] not in bad]
    else:
        raise SystemExit("mutate: the copy does not build")
    preset = PRESETS[step.flavour]
    log = os.path.join(FOLDER, preset + ".log")
    with open(log, "w") as file:
        for command in (["cmake", "--preset", preset],
                        ["cmake", "--build", "--preset", preset, "-j", str(jobs), "--target", *shared]):
            if shared and subprocess.run(command, cwd=ROOT, stdout=file, stderr=file).returncode:
                raise SystemExit(f"mutate: the tests do not build, see {log}")
    suites = []
    for name in internal:
        suites += suites_of(os.path.join(build, "bin", name), None, step.flavour)
    for name in shared:
        suites += suites_of(os.path.join(ROOT, "build", preset, "bin", name), os.path.join(build, "lib"),
                            step.flavour)
    return suites, numbered


# -- workers: each process has its own copy of these

STATE = {}


def start_worker(suites, count, nice):
    os.nice(nice)
    STATE["suites"] = suites
    STATE["count"] = count
    STATE["runner"] = Runner()
    STATE["kills"] = {}
    multiprocessing.util.Finalize(None, STATE["runner"].close, exitpriority=10)


def baseline_of(index):
    return index, STATE["runner"].baseline(STATE["suites"][index], STATE["count"])


def order_for(number, mutant):
    """Returns the suites to try: first those that have killed neighbouring mutants, then the cheap ones."""
    kills = STATE["kills"]
    family = mutant.path.split("/")[1]

    def rank(suite):
        name = str(suite)
        near = kills.get((mutant.path, mutant.function, name), 0), kills.get((mutant.path, name), 0)
        own = suite.family == family
        return (-min(near[0], 3), -min(near[1], 5) if suite.cost < 0.5 else 0, not own, suite.cost)
    return sorted((s for s in STATE["suites"] if s.reached is None or s.reached[number]), key=rank)


def judge(task):
    """Returns (name, verdict, suite) of each mutant of the task. A suite that fails without a mutant is ignored."""
    answers = []
    for name, number, mutant in task:
        killer = None
        for suite in order_for(number, mutant):
            if STATE["runner"].run(suite, number):
                continue
            if suite.passes is None:
                suite.passes = STATE["runner"].run(suite, 0)
            if suite.passes:
                killer = str(suite)
                for key in ((mutant.path, mutant.function, killer), (mutant.path, killer)):
                    STATE["kills"][key] = STATE["kills"].get(key, 0) + 1
                break
        answers.append((name, killer))
    return answers


def look_at_all(suites, count, arguments):
    """Runs every suite without a mutant, to find out what it costs and which mutants it reaches."""
    with multiprocessing.Pool(arguments.jobs, start_worker, (suites, count, arguments.nice)) as pool:
        for index, suite in pool.imap_unordered(baseline_of, range(len(suites))):
            suites[index] = suite
            if not suite.passes:
                raise SystemExit(f"mutate: {suite} fails without a mutant\n{suite.log}")
    slow = [s for s in suites if s.cost > arguments.slow]
    say(f"mutate: {len(suites)} suites looked at, {sum(s.cost for s in suites):.0f} s of processor time; left out "
        f"for taking long: " + (", ".join(f"{s} ({s.cost:.1f} s)" for s in slow) or "none"))


def judge_all(suites, numbered, names, arguments):
    """Returns a dict of name -> the suite that killed the mutant, or None."""
    if not numbered:
        return {}
    tasks = {}
    for number, mutant in numbered:
        tasks.setdefault((mutant.path, mutant.function), []).append((names[number], number, mutant))
    parts = []
    for task in tasks.values():
        parts += [task[i:i + 25] for i in range(0, len(task), 25)]
    killers, started = {}, time.time()
    with multiprocessing.Pool(arguments.jobs, start_worker, (suites, 0, arguments.nice)) as pool:
        for answers in pool.imap_unordered(judge, parts):
            killers.update(answers)
            with open(os.path.join(FOLDER, "progress.txt"), "a") as file:
                file.writelines(f"{name} {killer or 'alive'}\n" for name, killer in answers)
            done = len(killers)
            if sys.stdout.isatty() or done % 100 < len(answers):
                say(f"mutate: {done} of {len(numbered)}, {sum(k is None for k in killers.values())} alive, "
                    f"{time.time() - started:.0f} s")
    return killers


# -- reporting and options

def is_shared(mutant, sources):
    """Returns whether several threads can run the code, so that ThreadSanitizer may find what others do not."""
    return mutant.operator == "lock" or re.search(rb"mutex|atomic|lock_stream", sources[mutant.path])


def judge_in_turn(numbered, sources, names, arguments, steps):
    """Runs the steps; each gets the mutants that the previous ones left alive. ThreadSanitizer runs only the suites
    that start threads."""
    tree = Tree(ROOT, FOLDER)
    alive, verdicts, reached, slow = numbered, {}, {}, set()
    for step in steps:
        if not alive:
            break
        started = time.time()
        suites, left = prepare(tree, numbered, sources, step, alive, arguments.jobs)
        gone = {n for n, _ in numbered} - {n for n, _ in left}
        verdicts.update((names[number], "does not compile") for number in gone)
        numbered = left
        alive = [pair for pair in alive if pair[0] not in gone]
        say(f"mutate: {step.flavour} built in {time.time() - started:.0f} s")
        started = time.time()
        if step.flavour == "tsan":
            suites = [s for s in suites if "Threads" in s.name]
        if step is steps[0]:
            look_at_all(suites, len(names), arguments)
            reached = {str(s): (s.cost, s.reached) for s in suites}
            slow = {str(s) for s in suites if s.cost > arguments.slow}
        elif step.which == "all":
            for suite in suites:
                suite.cost, suite.reached = reached.get(str(suite), (1.0, None))
        suites = [s for s in suites if str(s) not in slow]
        tried = alive
        if step.flavour == "tsan" and len(steps) > 1:
            tried = [pair for pair in alive if is_shared(pair[1], sources)]
        killers = judge_all(suites, tried, names, arguments)
        for number, _ in tried:
            name = names[number]
            if killers[name]:
                verdicts[name] = f"killed by {killers[name]} ({step.flavour})"
            elif step.which == "all" and not any(places[number] for _, places in reached.values()):
                verdicts[name] = "alive, reached by no test"
            else:
                verdicts[name] = "alive"
        alive = [pair for pair in alive if not killers.get(names[pair[0]])]
        say(f"mutate: {step.flavour}: {len(alive)} alive after {time.time() - started:.0f} s")
    return verdicts


def table(names, verdicts, kept):
    """Returns the score by family, in Markdown."""
    rows = [["family", "mutants", "killed", "not to be seen", "observable and alive", "killed of the observable"]]
    total = [0] * 4
    for family in FAMILIES + ["all"]:
        mine = [n for n, m in names.items() if m.path.split("/")[1] == family and n in verdicts and
                verdicts[n] != "does not compile"]
        counts = [len(mine), sum(verdicts[n].startswith("killed") for n in mine),
                  sum(verdicts[n].startswith("alive") and kept.get(n, ("",))[0] == "unseen" for n in mine)]
        counts.append(counts[0] - counts[1] - counts[2])
        if family == "all":
            counts = total
        else:
            total = [a + b for a, b in zip(total, counts)]
        if counts[0]:
            share = 100 * counts[1] / max(1, counts[0] - counts[2])
            rows.append([family, *map(str, counts), f"{share:.1f} %"])
    lines = ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join([lines[0], "|" + "---|" * len(rows[0]), *lines[1:]])


def seed_of_sources():
    """Returns a seed that depends only on the sources, so a failure occurs on every machine."""
    tree = git("rev-parse", "HEAD:src")
    return int(tree[0][:8], 16) % 10 ** 6 if tree else 0


def draw(arguments, names, kept):
    """Draws the sample. It leaves out mutants that are known to survive, since they would tell nothing new, and
    locks, which need builds that a sample has no time for."""
    seed = arguments.seed if arguments.seed is not None else seed_of_sources()
    pool = [n for n in sorted(names) if n not in kept and names[n].operator != "lock"]
    drawn = random.Random(seed).sample(pool, min(arguments.sample, len(pool)))
    # The verdicts in the list were reached with the slow suites, too.
    arguments.slow = max(arguments.slow, 10.0)
    say(f"mutate: {len(drawn)} of {len(pool)} mutants of {len(set(m.path for m in names.values()))} files, "
        f"seed {seed}")
    return {n: names[n] for n in drawn}


def report(names, every, verdicts, kept, arguments):
    """Prints the score and the open mutants; returns 1 if a mutant survives that the list does not name."""
    unknown = [n for n in names if verdicts.get(n, "").startswith("alive") and n not in kept]
    for name in sorted(unknown, key=lambda n: (names[n].path, names[n].line)):
        say(f"alive: {kept_list.described(name, names[name])}\n"
            f"       {names[name].path}:{names[name].line}"
            f"{' is reached by no test' if 'no test' in verdicts[name] else ''}")
    if arguments.sample:
        killed = sum(v.startswith("killed") for v in verdicts.values())
        say(f"mutate: {killed} of {len(names)} killed")
        if unknown:
            say("mutate: a test that fails with each of these is missing, or they belong into "
                "tests/mutation/survivors.txt with the reason; once more: scripts/mutate"
                + "".join(f" --only {n}" for n in unknown))
        return 1 if len(unknown) > arguments.tolerate else 0
    say(table(names, verdicts, kept))
    for name in names:
        if name in kept and verdicts.get(name, "").startswith("killed"):
            say(f"listed, but {verdicts[name]}: {kept_list.described(name, names[name])}")
    if not arguments.files and not arguments.only and not arguments.again:
        for name in sorted(set(kept) - set(every)):
            say(f"listed, but there is no such mutant any more: {name}")
    return 1 if unknown else 0


def main():
    parser = argparse.ArgumentParser(prog="scripts/mutate", description="Mutation testing of src/.")
    parser.add_argument("files", nargs="*", help="files or folders below src/ (default: all)")
    parser.add_argument("--sample", type=int, metavar="N", help="N random mutants of the changed files")
    parser.add_argument("--seed", type=int, help="the sample's seed (default: the same for the same sources)")
    parser.add_argument("--tolerate", type=int, default=0, metavar="N",
                        help="fail only if more than N of a sample are alive: sources change before the list does")
    parser.add_argument("--every", action="store_true", help="all mutants, not the settled tenth")
    parser.add_argument("--only", action="append", default=[], metavar="NAME", help="these mutants")
    parser.add_argument("--again", action="store_true", help="only those that were alive last time")
    parser.add_argument("--list", action="store_true", help="list the mutants and stop")
    parser.add_argument("--flavours", default="plain,asan,tsan", help="builds to use")
    parser.add_argument("--slow", type=float, default=1.0, metavar="SECONDS",
                        help="leave out suites that take longer, of processor time (default: 1)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--nice", type=int, default=5)
    arguments = parser.parse_args()
    os.makedirs(FOLDER, exist_ok=True)

    files = source_files()
    wanted = [f for f in files if not arguments.files or any(f == a.rstrip("/") or f.startswith(a.rstrip("/") + "/")
                                                             for a in arguments.files)]
    if arguments.sample:
        wanted = changed_files()
    if not wanted:
        raise SystemExit("mutate: no such file")
    mutants, sources = find(wanted)
    every = kept_list.named(mutants)
    kept = kept_list.read(KEPT)
    # Take a tenth, selected by name: a mutant in the sample stays in it, and new code gets its share.
    names = {n: m for n, m in every.items() if arguments.every or int(n, 16) % 10 == 0}
    if arguments.only:
        names = {n: m for n, m in every.items() if n in arguments.only}
    last = {}
    if os.path.exists(VERDICTS):
        with open(VERDICTS) as file:
            last = json.load(file)
    if arguments.again:
        names = {n: m for n, m in names.items() if not last.get(n, "alive").startswith("killed")}
    if arguments.sample:
        names = draw(arguments, names, kept)
    if arguments.list:
        for name, mutant in names.items():
            say(f"{kept_list.described(name, mutant)} (line {mutant.line})")
        return 0
    if not names:
        say("mutate: no mutants")
        return 0
    say(f"mutate: {len(names)} mutants of {len(set(m.path for m in names.values()))} files")
    numbered = list(enumerate(names.values(), 1))
    steps = QUICK if arguments.sample else [s for s in FULL if s.flavour in arguments.flavours.split(",")]
    verdicts = judge_in_turn(numbered, sources, dict(enumerate(names, 1)), arguments, steps)
    if not arguments.sample:
        last.update(verdicts)
        with open(VERDICTS, "w") as file:
            json.dump(last, file, indent=0)
    return report(names, every, verdicts, kept, arguments)


if __name__ == "__main__":
    sys.exit(main())

"""Runs test suites with one mutant switched on. A suite is a process of its own, in an empty folder of its
own, with limits on time, memory and the size of files; one that hangs, crashes or fails has killed the
mutant."""

import glob
import os
import re
import resource
import shutil
import signal
import subprocess
import tempfile

MEMORY = 2 << 30
FILE_SIZE = 256 << 20


class Suite:
    """One suite of one test program. cost: seconds of processor time; reached: one byte per mutant, or None if
    not known yet; strict: whether the limits on memory and files apply."""

    def __init__(self, program, name, libraries, flavour):
        self.program = program
        self.name = name
        self.family = re.match(r"test_([a-z0-9]+?)(_internal)?$", os.path.basename(program))[1]
        self.libraries = libraries
        self.flavour = flavour
        self.cost = 1.0
        self.reached = None
        self.strict = flavour == "plain"
        self.passes = None

    def __str__(self):
        return os.path.basename(self.program) + "/" + self.name

    def command(self):
        return [self.program, f"--gtest_filter={self.name}.*", "--gtest_brief=1", "--gtest_fail_fast"]

    def environment(self, number):
        extra = {"KE_MUTANT": str(number)}
        if self.libraries:
            extra["LD_LIBRARY_PATH"] = self.libraries
        return extra


def suites_of(program, libraries, flavour):
    environment = dict(os.environ, **({"LD_LIBRARY_PATH": libraries} if libraries else {}))
    listing = subprocess.run([program, "--gtest_list_tests"], env=environment, capture_output=True, text=True,
                             check=True, timeout=60).stdout
    return [Suite(program, name, libraries, flavour) for name in re.findall(r"^(\S+)\.", listing, re.M)]


class Runner:
    """The state of one worker process; cheap to make."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="ke_mutate.")

    def close(self):
        shutil.rmtree(self.folder, ignore_errors=True)

    def limits(self, suite):
        seconds = int(2 + 4 * suite.cost) if suite.flavour == "plain" else int(10 + 10 * suite.cost)

        def set_limits():
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds + 1))
            if suite.strict:
                resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
                resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_SIZE, FILE_SIZE))
        return seconds, set_limits

    def run(self, suite, number, output=subprocess.DEVNULL, reached=None):
        """Returns whether the suite passes."""
        room = os.path.join(self.folder, "room")
        shutil.rmtree(room, ignore_errors=True)
        os.mkdir(room)
        seconds, set_limits = self.limits(suite)
        environment = dict(os.environ, TMPDIR=room, **suite.environment(number))
        if suite.flavour == "asan":
            environment["ASAN_OPTIONS"] = "hard_rss_limit_mb=3000:quarantine_size_mb=16"
        if reached:
            environment["KE_MUTANT_REACHED"] = reached
        process = subprocess.Popen(suite.command(), cwd=room, env=environment, stdin=subprocess.DEVNULL,
                                   stdout=output, stderr=output, start_new_session=True, preexec_fn=set_limits)
        try:
            # A deadlock uses no processor time, so time is measured in seconds of the clock. Other programs
            # can slow down a healthy suite, so the limit is generous.
            return process.wait(timeout=15 + 10 * seconds) == 0
        except subprocess.TimeoutExpired:
            return False
        finally:
            try:
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            process.wait()

    def baseline(self, suite, count):
        """Runs the suite without a mutant: does it pass, what does it cost, which mutants does it reach?"""
        suite.cost = 60.0
        for _ in range(2):
            folder = tempfile.mkdtemp(dir=self.folder)
            before = resource.getrusage(resource.RUSAGE_CHILDREN)
            log_path = os.path.join(self.folder, "log")
            with open(log_path, "w+") as log:
                suite.passes = self.run(suite, 0, log, folder)
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            if suite.passes or not suite.strict:
                break
            suite.strict = False  # it needs more memory, or larger files
        cost = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
        suite.cost = max(cost, 0.001)
        reached = bytearray(count + 1)
        for name in glob.glob(os.path.join(folder, "*")):
            with open(name, "rb") as file:
                for number, byte in enumerate(file.read()):
                    if byte and number <= count:
                        reached[number] = 1
        suite.reached = bytes(reached)
        with open(log_path, errors="replace") as log:
            suite.log = "" if suite.passes else log.read()[-3000:]
        return suite

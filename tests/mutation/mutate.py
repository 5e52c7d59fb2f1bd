#!/usr/bin/env python3
"""Puts small faults into the library, one at a time, and reports which of them no test notices.

Works on a copy of the committed sources below build/mutation, so that the work tree is never touched. What has a fault
in it runs only in a sandbox that can write nothing but its own /tmp: some of the code under test removes whole folders.
A fault that does not compile is not counted and the next one takes its place. One that makes a test go on without end
is noticed when the test's time is over, and said to be: on a busy machine look at those again. Ends with 1 when fewer
than the wanted share was noticed.
"""

import argparse
import json
import os
import random
import subprocess
import sys
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from pathlib import Path

from faults import Fault, faults_of, put_in

ROOT = Path(__file__).resolve().parents[2]
PLACES = ROOT / "build" / "mutation"
RESULT = PLACES / "result.json"

# Unit tests that take seconds each: asked after the other six hundred.
SLOW_TESTS = "CallDuration.*:ReplyPacket.TenMeg*:FieldNumbering.Agrees*:LinkAck.Junk*:*Random.*:Base64.Ten*:HostilePlace.Sixty*"

# What is to notice a fault, and the target that it is built from; the quickest first. Each is built and asked only about
# what those before it let through. The unit tests and the simulation stand on a machine of their own, so they have
# nothing to say about the real one. No target: everything. {build} is the folder that was built in.
OWN_MACHINE = [
    ("zantir_unit_tests", ["{build}/zantir_unit_tests", "--gtest_brief=1", "--gtest_fail_fast", "--gtest_filter=-" + SLOW_TESTS]),
    ("zantir_unit_tests", ["{build}/zantir_unit_tests", "--gtest_brief=1", "--gtest_fail_fast", "--gtest_filter=" + SLOW_TESTS]),
    ("simulate", ["{build}/simulate", "--exchanges", "20000", "--seed", "1"]),
]
REAL_MACHINE = [("zantir_platform_tests", ["{build}/zantir_platform_tests", "--gtest_brief=1", "--gtest_fail_fast"])]
OVER_A_LINE = [(None, ["ctest", "--test-dir", "{build}", "-L", "line", "--stop-on-failure", "-j", "1"])]
WATCHER_SECONDS = 60
TIME_OUT = "time-out"


def sandbox(writable):
    """The front of a command line whose process sees the whole machine, but can change only `writable` and a /tmp."""
    front = ["bwrap", "--die-with-parent", "--unshare-pid", "--cap-drop", "ALL", "--ro-bind", "/", "/", "--dev", "/dev", "--proc", "/proc",
             "--perms", "1777", "--tmpfs", "/tmp", "--perms", "1777", "--tmpfs", "/run/lock", "--ro-bind", str(ROOT), str(ROOT)]
    for folder in writable:
        front += ["--bind", str(folder), str(folder)]
    return front + ["--chdir", "/tmp", "--"]


def run(command, seconds):
    """The exit status, or a text when there is none, and what was printed."""
    try:
        done = subprocess.run(command, timeout=seconds, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
                              text=True, errors="replace")
        return done.returncode, done.stdout
    except subprocess.TimeoutExpired:
        return TIME_OUT, ""


def watchers_of(path, quick):
    return (REAL_MACHINE if "platform/" in path else OWN_MACHINE) + ([] if quick else OVER_A_LINE)


class Place:
    """A copy of the sources and its build folder, for one fault at a time."""

    def __init__(self, number):
        self.copy = PLACES / f"source-{number}"
        self._build = PLACES / f"build-{number}"

    def prepare(self, head, watchers):
        """Builds the copy of commit `head` and sees to it that nothing is noticed without a fault."""
        self.copy.parent.mkdir(parents=True, exist_ok=True)
        if not (self.copy / ".git").exists():
            subprocess.run(["git", "clone", "--quiet", "--no-checkout", str(ROOT), str(self.copy)], check=True)
        for command in (["git", "fetch", "--quiet", "origin"], ["git", "checkout", "--quiet", "--force", head]):
            subprocess.run(command, cwd=self.copy, check=True)
        # What a fault costs is a compilation, the linking and the tests: a little optimisation, no debug information.
        subprocess.run(["cmake", "-G", "Ninja", "-S", str(self.copy), "-B", str(self._build), "-DCMAKE_BUILD_TYPE=None",
                        "-DCMAKE_CXX_FLAGS=-O1"],
                       check=True, stdout=subprocess.DEVNULL)
        (self._build / "Testing").mkdir(exist_ok=True)
        for target, command in watchers:
            built, output = self._make(target)
            if not built:
                sys.exit("the sources do not build:\n" + output)
            status, output = self._ask(command, 10 * WATCHER_SECONDS)
            if status != 0:
                sys.exit(f"without any fault, {' '.join(command)} fails ({status}):\n" + output[-4000:])

    def try_fault(self, fault, quick):
        """None when it does not compile, else (noticed by, seconds)."""
        path = self.copy / fault.path
        original = path.read_text(encoding="utf-8")
        begun = time.monotonic()
        path.write_text(put_in(original, fault), encoding="utf-8")
        try:
            watcher = self._noticed_by(watchers_of(fault.path, quick))
            return None if watcher is None else (watcher, time.monotonic() - begun)
        finally:
            path.write_text(original, encoding="utf-8")

    def _noticed_by(self, watchers):
        """The target and the number of the watcher that noticed, "" when none did. None when it does not compile."""
        for number, (target, command) in enumerate(watchers, start=1):
            # The build, too: it asks the new test programs for the names of their tests.
            built, _ = self._make(target, sandbox([self._build]))
            if not built:
                return None
            status, _ = self._ask(command, WATCHER_SECONDS)
            if status != 0:
                return f"{number} {target or 'line'}" + (" time-out" if status == TIME_OUT else "")
        return ""

    def _make(self, target, front=()):
        named = ["--target", target] if target else []
        status, output = run([*front, "cmake", "--build", str(self._build), "--parallel", str(os.cpu_count()), *named], 1800)
        return status == 0, output

    def _ask(self, command, seconds):
        placed = [word.format(build=self._build) for word in command]
        return run(sandbox([self._build / "Testing"]) + placed, seconds)


@dataclass(frozen=True)
class Result:
    """What became of one fault. `noticed_by` is "" when nothing noticed it."""

    index: int  # of the fault among those that were chosen
    fault: Fault
    noticed_by: str

    def as_json(self):
        return {"fault": str(self.fault), "key": self.fault.without_line(), "noticed_by": self.noticed_by}


class Run:
    """The faults of a run, which the places take one by one until enough of them have compiled."""

    def __init__(self, faults, count, quick):
        self._faults = enumerate(faults)
        self._count = count
        self._quick = quick
        self._guard = threading.Lock()
        self._results = []

    def results(self, places):
        with ThreadPoolExecutor(len(places)) as pool:
            list(pool.map(self._work, places))  # raises what a place raised
        # Places that were still at work when the last one was found may have added more: the same ones always count.
        return sorted(self._results, key=lambda result: result.index)[:self._count]

    def _next(self):
        with self._guard:
            return next(self._faults, None) if len(self._results) < self._count else None

    def _work(self, place):
        while (numbered := self._next()) is not None:
            index, fault = numbered
            outcome = place.try_fault(fault, self._quick)
            if outcome is None:
                continue
            watcher, seconds = outcome
            with self._guard:
                self._results.append(Result(index, fault, watcher))
                print(f"{len(self._results):4} {watcher or 'SURVIVED':31} {seconds:5.1f} s  {fault}", flush=True)


def choose(copy, seed, folders):
    found = []
    for folder in folders:
        for path in sorted((copy / "src" / folder).rglob("*.cpp")):
            found += faults_of(str(path.relative_to(copy)), path.read_text(encoding="utf-8"))
    random.Random(seed).shuffle(found)
    return found


def survivors_of_last_run():
    results = json.loads(RESULT.read_text(encoding="utf-8"))["results"]
    return {result["key"] for result in results if not result["noticed_by"]}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--count", type=int, default=200, help="faults that compile (default 200)")
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 30), help="chooses the faults; printed")
    parser.add_argument("--share", type=float, default=0.95, help="wanted share of noticed faults")
    parser.add_argument("--folders", nargs="+", default=["api", "vko_sat_utils", "vko_utils", "platform/posix"])
    parser.add_argument("--again", action="store_true", help="only what survived the last run, where the line still stands")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="faults at a time (default: one a processor)")
    parser.add_argument("--quick", action="store_true", help="without the tests over a line")
    options = parser.parse_args()

    survivors = survivors_of_last_run() if options.again else None
    head = subprocess.run(["git", "rev-parse", "HEAD"], cwd=ROOT, check=True, capture_output=True, text=True).stdout.strip()
    places = [Place(number) for number in range(options.jobs)]
    for place in places:
        place.prepare(head, OWN_MACHINE + REAL_MACHINE + ([] if options.quick else OVER_A_LINE))
    print(f"seed {options.seed}, commit {head[:10]}", flush=True)
    faults = [fault for fault in choose(places[0].copy, options.seed, options.folders)
              if survivors is None or fault.without_line() in survivors]
    results = Run(faults, options.count, options.quick).results(places)

    survived = [str(result.fault) for result in results if not result.noticed_by]
    share = 1 - len(survived) / max(1, len(results))
    RESULT.write_text(json.dumps({"seed": options.seed, "results": [result.as_json() for result in results]}, indent=1),
                      encoding="utf-8")
    print(f"\n{len(results)} faults, {len(results) - len(survived)} noticed ({share:.1%}), survived:")
    print("\n".join(survived) or "none")
    return 0 if share >= options.share else 1


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Puts small faults into the library, one at a time, and reports which of them no test notices.

Works on a copy of the committed sources below build/mutation, so that the work tree is never touched. What has a fault
in it runs only in a sandbox that can write nothing but its own /tmp: some of the code under test removes whole folders.
A fault that does not compile is not counted and the next one takes its place. Ends with 1 when fewer than the wanted
share was noticed.
"""

import argparse
import json
import os
import random
import subprocess
import sys
import time
from pathlib import Path

from faults import faults_of, put_in

ROOT = Path(__file__).resolve().parents[2]
COPY = ROOT / "build" / "mutation" / "source"
BUILD = ROOT / "build" / "mutation" / "build"
RESULT = ROOT / "build" / "mutation" / "result.json"

# Unit tests that take seconds each: asked after the other six hundred.
SLOW_TESTS = "CallDuration.*:ReplyPacket.TenMeg*:FieldNumbering.Agrees*:LinkAck.Junk*:*Random.*:Base64.Ten*:HostilePlace.Sixty*"

# What is to notice a fault, and the target that it is built from; the quickest first. Each is built and asked only about
# what those before it let through. The unit tests and the simulation stand on a machine of their own, so they have
# nothing to say about the real one. No target: everything.
OWN_MACHINE = [
    ("zantir_unit_tests", [f"{BUILD}/zantir_unit_tests", "--gtest_brief=1", "--gtest_fail_fast", "--gtest_filter=-" + SLOW_TESTS]),
    ("zantir_unit_tests", [f"{BUILD}/zantir_unit_tests", "--gtest_brief=1", "--gtest_fail_fast", "--gtest_filter=" + SLOW_TESTS]),
    ("simulate", [f"{BUILD}/simulate", "--exchanges", "20000", "--seed", "1"]),
]
REAL_MACHINE = [("zantir_platform_tests", [f"{BUILD}/zantir_platform_tests", "--gtest_brief=1", "--gtest_fail_fast"])]
OVER_A_LINE = [(None, ["ctest", "--test-dir", str(BUILD), "-L", "line", "--stop-on-failure", "-j", "1"])]
WATCHER_SECONDS = 120


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
        return "time-out", ""


def build(target, front=()):
    named = ["--target", target] if target else []
    status, output = run([*front, "cmake", "--build", str(BUILD), "--parallel", str(os.cpu_count()), *named], 1800)
    return status == 0, output


def watchers_of(path, quick):
    return (REAL_MACHINE if "platform/" in path else OWN_MACHINE) + ([] if quick else OVER_A_LINE)


def prepare(watchers):
    COPY.parent.mkdir(parents=True, exist_ok=True)
    if not (COPY / ".git").exists():
        subprocess.run(["git", "clone", "--quiet", "--no-checkout", str(ROOT), str(COPY)], check=True)
    head = subprocess.run(["git", "rev-parse", "HEAD"], cwd=ROOT, check=True, capture_output=True, text=True).stdout.strip()
    for command in (["git", "fetch", "--quiet", "origin"], ["git", "checkout", "--quiet", "--force", head]):
        subprocess.run(command, cwd=COPY, check=True)
    # What a fault costs is its compilation and the linking: no optimisation, no debug information.
    subprocess.run(["cmake", "-G", "Ninja", "-S", str(COPY), "-B", str(BUILD), "-DCMAKE_BUILD_TYPE=None"], check=True,
                   stdout=subprocess.DEVNULL)
    (BUILD / "Testing").mkdir(exist_ok=True)
    for target, command in watchers:
        built, output = build(target)
        if not built:
            sys.exit("the sources do not build:\n" + output)
        status, output = run(sandbox([BUILD / "Testing"]) + command, 10 * WATCHER_SECONDS)
        if status != 0:
            sys.exit(f"without any fault, {' '.join(command)} fails ({status}):\n" + output[-4000:])
    return head


def noticed_by(watchers):
    """The target and the number of the watcher that noticed the fault, "" when none did. None when it does not compile."""
    for number, (target, command) in enumerate(watchers, start=1):
        # The build, too: it asks the new test programs for the names of their tests.
        built, _ = build(target, sandbox([BUILD]))
        if not built:
            return None
        status, _ = run(sandbox([BUILD / "Testing"]) + command, WATCHER_SECONDS)
        if status != 0:
            return f"{number} {target or 'line'}"
    return ""


def choose(seed, folders):
    found = []
    for folder in folders:
        for path in sorted((COPY / "src" / folder).rglob("*.cpp")):
            found += faults_of(str(path.relative_to(COPY)), path.read_text(encoding="utf-8"))
    random.Random(seed).shuffle(found)
    return found


def survivors_of_last_run():
    results = json.loads(RESULT.read_text(encoding="utf-8"))["results"]
    return {result["key"] for result in results if not result["noticed_by"]}


def try_fault(fault, quick):
    """None when it does not compile, else (noticed by, seconds)."""
    path = COPY / fault.path
    original = path.read_text(encoding="utf-8")
    begun = time.monotonic()
    path.write_text(put_in(original, fault), encoding="utf-8")
    try:
        watcher = noticed_by(watchers_of(fault.path, quick))
        return None if watcher is None else (watcher, time.monotonic() - begun)
    finally:
        path.write_text(original, encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--count", type=int, default=200, help="faults that compile (default 200)")
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 30), help="chooses the faults; printed")
    parser.add_argument("--share", type=float, default=0.95, help="wanted share of noticed faults")
    parser.add_argument("--folders", nargs="+", default=["api", "vko_sat_utils", "vko_utils", "platform/posix"])
    parser.add_argument("--again", action="store_true", help="only what survived the last run, where the line still stands")
    parser.add_argument("--quick", action="store_true", help="without the tests over a line")
    options = parser.parse_args()

    survivors = survivors_of_last_run() if options.again else None
    head = prepare(OWN_MACHINE + REAL_MACHINE + ([] if options.quick else OVER_A_LINE))
    print(f"seed {options.seed}, commit {head[:10]}", flush=True)
    results = []
    for fault in choose(options.seed, options.folders):
        if len(results) == options.count:
            break
        if survivors is not None and fault.without_line() not in survivors:
            continue
        outcome = try_fault(fault, options.quick)
        if outcome is None:
            continue
        watcher, seconds = outcome
        results.append({"fault": str(fault), "key": fault.without_line(), "noticed_by": watcher})
        print(f"{len(results):4} {watcher or 'SURVIVED':24} {seconds:5.1f} s  {fault}", flush=True)

    survived = [result["fault"] for result in results if not result["noticed_by"]]
    share = 1 - len(survived) / max(1, len(results))
    RESULT.write_text(json.dumps({"seed": options.seed, "results": results}, indent=1),
                                                             encoding="utf-8")
    print(f"\n{len(results)} faults, {len(results) - len(survived)} noticed ({share:.1%}), survived:")
    print("\n".join(survived) or "none")
    return 0 if share >= options.share else 1


if __name__ == "__main__":
    sys.exit(main())

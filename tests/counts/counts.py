#!/usr/bin/env python3
"""counts.py PROGRAM [--record]: counts what zantir-counts has counted, and compares it with counts.json.

Counted are the instructions of the library's own sources, with those of the plain memory and text routines that
they call, and how often they call out: into the platform and into the C library. Both are the same on every machine;
what the system and the C library do inside is not. A figure that has grown by more than 10 % fails.

--record writes counts.json anew, for a change that is worth its price.
"""
import collections
import json
import os
import re
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
RECORD = os.path.join(HERE, "counts.json")
SOURCES = re.compile(r"(^|/)src/(api|vko_sat_utils|vko_utils)/[^/]*$")
PLAIN = re.compile(r"(^|/)plain_memory\.c$")
ALLOWED = 1.10

Count = collections.namedtuple("Count", "instructions calls")


def read_profile(lines):
    """Sums up one of callgrind's profiles."""
    place = {}  # the file of each function
    called_out = []
    where = callee = called = None
    instructions = 0
    for line in lines:
        key, _, value = line.rstrip("\n").partition("=")
        if key == "fl":
            where = value
        elif key == "fn":
            place[value] = where
        elif key == "cfn":
            callee = value
        elif key == "calls":
            called = int(value.split()[0])
        elif re.match(r"\d+ \d+$", line) and SOURCES.search(where or ""):
            cost = int(line.split()[1])
            if called is None:
                instructions += cost
            else:
                called_out.append((callee, called, cost))
            called = None
        elif re.match(r"\d+ \d+$", line):
            called = None
    # Only now the files of all functions are known.
    plain = sum(cost for name, _, cost in called_out if PLAIN.search(place.get(name, "")))
    calls = sum(times for name, times, _ in called_out
                if not PLAIN.search(place.get(name, "")) and not SOURCES.search(place.get(name, "")))
    return Count(instructions + plain, calls)


def name_of(lines):
    for line in lines:
        match = re.match(r"desc: Trigger: Client Request: (.*)", line)
        if match:
            return match[1]
    return None


def measure(program):
    """Runs the program under callgrind; the counts of each piece of work by its name."""
    counts = {}
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["valgrind", "--tool=callgrind", "--instr-atstart=no", "--compress-pos=no",
                        "--compress-strings=no", f"--callgrind-out-file={folder}/out", program], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                       # The loader would work in between otherwise, at the first call of each routine.
                       env={**os.environ, "LD_BIND_NOW": "1"})
        for file in os.listdir(folder):
            with open(os.path.join(folder, file), encoding="utf-8") as profile:
                lines = profile.readlines()
            if name_of(lines) is not None:
                counts[name_of(lines)] = read_profile(lines)
    return counts


def judge(recorded, measured):
    """What is wrong with the measured counts, a line each."""
    wrong = [f"{name}: counted, but not recorded" for name in measured if name not in recorded]
    for name, limit in recorded.items():
        if name not in measured:
            wrong.append(f"{name}: recorded, but not counted")
            continue
        for unit, before, now in zip(Count._fields, limit, measured[name]):
            if now > before * ALLOWED:
                wrong.append(f"{name}: {now} {unit}, recorded {before}, {(now / before - 1) * 100:.0f} % more"
                             if before else f"{name}: {now} {unit}, recorded none")
    return wrong


def main(program, record):
    measured = measure(program)
    if record:
        with open(RECORD, "w", encoding="ascii") as file:
            file.write(json.dumps(measured, indent=1, sort_keys=True) + "\n")
        return 0
    with open(RECORD, encoding="ascii") as file:
        recorded = {name: Count(*counts) for name, counts in json.load(file).items()}
    for name in sorted(measured):
        before = recorded.get(name, Count(0, 0))
        print(f"{name:45} {measured[name].instructions:11} instructions, recorded {before.instructions:11};"
              f" {measured[name].calls:6} calls out, recorded {before.calls:6}")
    wrong = judge(recorded, measured)
    for line in wrong:
        print("GROWN:", line)
    return 1 if wrong or not measured else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2:] == ["--record"]))

"""A reader's terminal: the commands of a page, one block after the other, in a folder of their own.

The folder holds what a copy of the project does after scripts/build: examples, include, and the products in build.
What a block prints is compared with the ```text block behind it. In that, "..." stands for any characters, and alone on
a line for any lines; times, numbers of processes and the like need not be the same (VOLATILE).
"""
import os
import re
import select
import shutil
import signal
import subprocess
import sys

import pages

sys.path.insert(0, os.path.join(pages.TOP, "tests", "device"))

import pair  # noqa: E402
import targets  # noqa: E402
import waiting  # noqa: E402

LINUX = os.environ.get("ZANTIR_TEST_BUILD", os.path.join(pages.TOP, "build", "linux"))
WINDOWS = os.path.join(pages.TOP, "build", "windows")
PRODUCTS = {"linux": ("libzantir64.so", "zantir", "sat-emulator"),
            "windows": ("ZANTIR64.dll", "libZANTIR64.dll.a", "zantir.exe", "sat-emulator.exe")}
# A block may build a program, or wait for a time-out of the link.
BLOCK_SECONDS = 120
# Where the pages place the reader's folder.
HOME = "/home/loja/zantir"

VOLATILE = [
    (r"\d{44}", "KEY"),
    (r"(?<!\d)20\d{12}(?!\d)", "MOMENT"),
    (r"\b20\d{6}_", "DAY_"),
    (r"\d{2}/\d{2}/\d{4}", "DATE"),
    (r"\d{4}-\d{2}-\d{2}", "DATE"),
    (r"\d{2}:\d{2}:\d{2}(?:[.,]\d+)?", "TIME"),
    (r"/dev/pts/\d+", "PTS"),
    (r"(?<!\w)COM1\d{3}\b", "COMPTS"),
    (r"\d+(?:[.,]\d+)? (ms|KB|s)\b", r"N \1"),
    (r'("duration_ms"): *\d+', r"\1:N"),
    (r" \(\d+\)", " (PID)"),
]


def settled(text):
    for shape, name in VOLATILE:
        text = re.sub(shape, name, text)
    return [line.rstrip() for line in text.replace("\r\n", "\n").strip("\n").split("\n")]


def pattern(expected):
    """The expression that an output has to match."""
    lines = []
    for line in settled(expected):
        if line == "...":
            lines.append(r"(?:.*\n)*?")
        else:
            lines.append(r"[^\n]*".join(map(re.escape, line.split("..."))) + r"\n")
    return re.compile("".join(lines))


def matches(expected, printed):
    return pattern(expected).fullmatch("\n".join(settled(printed)) + "\n") is not None


class Folder:
    """A copy of what the reader has."""

    def __init__(self, path):
        self.path = path
        for name in ("examples", "include"):
            shutil.copytree(os.path.join(pages.TOP, name), self.inside(name))
        for system, build in (("linux", LINUX), ("windows", WINDOWS)):
            os.makedirs(self.inside("build", system))
            for name in PRODUCTS[system]:
                if os.path.exists(os.path.join(build, name)):
                    shutil.copy(os.path.join(build, name), self.inside("build", system, name))

    def inside(self, *names):
        return os.path.join(self.path, *names)

    def shown(self, text):
        """With the folder where the pages place it, on either system."""
        return text.replace(self.path.replace("/", "\\"), HOME.replace("/", "\\")).replace(self.path, HOME)


class Shell:
    """One bash for a page, so that what a block sets or starts is there for the next."""

    def __init__(self, folder):
        self.folder = folder
        self.count = 0
        environment = {key: value for key, value in os.environ.items() if not key.startswith("ZANTIR_")}
        # The products are not on the path: a page that does not say how they get there sends the reader nowhere.
        environment.update(LC_ALL="C.UTF-8", PYTHONDONTWRITEBYTECODE="1")
        # Not a session of its own: its leader would take the first pseudo terminal that it opens for its terminal, and
        # end with it.
        self.process = subprocess.Popen(["/bin/bash", "--noprofile", "--norc"], cwd=folder.path, env=environment,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, process_group=0)
        # The first command that fails decides; the shell itself lives on.
        self.say("set -E; trap 'failed=$?' ERR")

    def say(self, line):
        self.process.stdin.write(line.encode() + b"\n")
        self.process.stdin.flush()

    def run(self, block):
        """The block's status, and the file that it prints to."""
        self.count += 1
        script, output = (self.folder.inside(f".block{self.count}.{kind}") for kind in ("sh", "out"))
        with open(script, "w", encoding="utf-8") as file:
            file.write(block.text)
        self.say(f"failed=0; . {script} >{output} 2>&1 </dev/null; echo $failed")
        if not select.select([self.process.stdout], [], [], BLOCK_SECONDS * waiting.SCALE)[0]:
            return None, output
        return int(self.process.stdout.readline() or "-1"), output

    def close(self):
        # With everything that it started.
        os.killpg(self.process.pid, signal.SIGTERM)
        try:
            self.process.communicate(timeout=waiting.SOON)
        except subprocess.TimeoutExpired:
            os.killpg(self.process.pid, signal.SIGKILL)
            self.process.communicate()


class CommandPrompt:
    """Windows' own, under Wine, on a machine with COM12 and COM13, a pair of virtual ports, and no device."""

    def __init__(self, folder):
        self.folder = folder
        self.count = 0
        self.wine = targets.Wine()
        self.wine.prepare()
        self.wine.remove_devices()
        self.ports = pair.Pair()
        self.wine.link("COM12", self.ports.far)
        self.wine.link("COM13", self.ports.near)

    def run(self, block):
        self.count += 1
        script, output = (self.folder.inside("build", "windows", f"block{self.count}.{kind}") for kind in ("bat", "out"))
        with open(script, "w", encoding="utf-8", newline="\r\n") as file:
            file.write("@echo off\n" + block.text)
        with open(output, "wb") as printed:
            done = subprocess.run([os.path.join(pages.TOP, "scripts", "wine"), "cmd", "/c", os.path.basename(script)],
                                  cwd=os.path.dirname(script), env=self.wine.environment, stdin=subprocess.DEVNULL,
                                  stdout=printed, stderr=subprocess.STDOUT, timeout=BLOCK_SECONDS, check=False)
        return done.returncode, output

    def close(self):
        # What was started in the background ends with the line.
        self.wine.script("wine", "taskkill", "/f", "/im", "sat-emulator.exe", check=False)
        self.wine.link("COM12", None)
        self.wine.link("COM13", None)

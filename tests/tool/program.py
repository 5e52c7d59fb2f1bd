"""The technician's tool as a program, on Linux and under Wine."""
import json
import os
import subprocess
import sys

from targets import TARGET, TOP

LINUX = TARGET.name == "linux"


def command():
    """What starts the tool."""
    program = os.path.join(TARGET.build, "zantir" if LINUX else "zantir.exe")
    return [program] if LINUX else [os.path.join(TOP, "scripts", "wine"), program]


def environment():
    return {**os.environ, **getattr(TARGET, "environment", {}), "TZ": "UTC"}


def start(folder, *arguments, **streams):
    return subprocess.Popen([*command(), *arguments], cwd=folder, env=environment(), stdin=subprocess.DEVNULL, **streams)


def run(folder, *arguments, given=None):
    """A whole run; its output as bytes."""
    return subprocess.run([*command(), *arguments], cwd=folder, env=environment(), input=given if given is not None else b"",
                          capture_output=True, timeout=120)


def run_json(folder, *arguments, given=None):
    """A whole run with --json; the document and the exit code."""
    result = run(folder, *arguments, "--json", given=given)
    try:
        return json.loads(result.stdout.decode("utf-8")), result.returncode
    except ValueError:
        sys.stderr.write(f"{result.stdout!r} {result.stderr!r}\n")
        raise

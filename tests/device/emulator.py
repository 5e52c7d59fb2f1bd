"""sat-emulator as a process at the device's end of the line."""
import json
import os
import select
import subprocess

import waiting


class EmulatorError(AssertionError):
    """The emulator did not do what it was asked to."""


class Emulator:
    """Everything that it prints is an object a line; `arm` and `clear` are what one types."""

    def __init__(self, command, environment=None, options=("--json",), stdin=subprocess.PIPE):
        self._unread = b""
        self.process = subprocess.Popen([*command, *options], env=environment, stdin=stdin,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def line(self, within=waiting.SOON):
        """The next line of its output; None at the end."""
        deadline = waiting.Deadline(within)
        output = self.process.stdout.fileno()
        while b"\n" not in self._unread:
            if not select.select([output], [], [], deadline.left())[0]:
                raise EmulatorError(f"the emulator says nothing for {within} s")
            data = os.read(output, 65536)
            if not data:
                return None
            self._unread += data
        line, self._unread = self._unread.split(b"\n", 1)
        return line.decode("utf-8").rstrip("\r")

    def event(self, kind, within=waiting.SOON):
        """The next object, which must be of this kind."""
        line = self.line(within)
        if line is None:
            raise EmulatorError(f"the emulator ended: {self.process.wait()}, {self.process.stderr.read()!r}")
        event = json.loads(line)
        if event["event"] != kind:
            raise EmulatorError(f"expected {kind}, the emulator says {line}")
        return event

    def exchange(self):
        """What it says about the exchange that is over."""
        return self.event("exchange")

    def type(self, text):
        self.process.stdin.write(text.encode("utf-8") + b"\n")
        self.process.stdin.flush()

    def arm(self, faults):
        self.type("fault " + faults)
        self.event("answer")

    def finish(self, within=waiting.SOON):
        """Its exit code and what it wrote to its error output, once it ended by itself."""
        self.process.wait(within * waiting.SCALE)
        return self.process.returncode, self.process.stderr.read().decode("utf-8", "replace")

    def close(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(waiting.SOON)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        for stream in (self.process.stdin, self.process.stdout, self.process.stderr):
            if stream is not None:
                stream.close()

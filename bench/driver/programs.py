"""The programs that a comparison runs: the device on the line, and the sides that make exchanges with it."""
import contextlib
import os
import select
import subprocess
import time

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
LINUX = os.environ.get("ZANTIR_BENCH_BUILD", os.path.join(TOP, "build", "linux"))
WINDOWS = os.path.join(TOP, "build", "windows")


class ProgramError(RuntimeError):
    """A program did not do what it was asked to."""


class Program:
    """A process that answers each line with a line. Only answers begin with `mark`; of what else it prints there, the
    last line is told when it ends instead of answering."""

    def __init__(self, command, folder=None, environment=None, answers="stdout", mark=b""):
        pipe = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, answers: subprocess.PIPE}
        self._name = os.path.basename(command[0])
        self._mark = mark
        self._unread = b""
        self._last_line = b""
        self.process = subprocess.Popen(command, cwd=folder, env=environment, stdin=subprocess.PIPE, **pipe)
        self._answers = getattr(self.process, answers)

    def answer(self, within):
        """The fields of the next answer."""
        end = time.monotonic() + within
        while True:
            while b"\n" not in self._unread:
                if not select.select([self._answers], [], [], max(0, end - time.monotonic()))[0]:
                    raise ProgramError(f"{self._name} says nothing for {within} s")
                data = os.read(self._answers.fileno(), 65536)
                if not data:
                    last = (self._unread or self._last_line).decode("latin-1").strip()
                    raise ProgramError(f"{self._name} ended: {self.process.wait()} {last}".rstrip())
                self._unread += data
            line, self._unread = self._unread.split(b"\n", 1)
            if line.startswith(self._mark):
                return line[len(self._mark):].decode("latin-1").split()
            self._last_line = line

    def ask(self, line, within=60):
        # Of a program that ended, what it said stands in front of the end of its answers.
        with contextlib.suppress(BrokenPipeError):
            self.process.stdin.write(line.encode("ascii") + b"\n")
            self.process.stdin.flush()
        return self.answer(within)

    def close(self):
        """The end of its input ends each of these programs."""
        # A question that it never took may be left there.
        with contextlib.suppress(BrokenPipeError):
            self.process.stdin.close()
        try:
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self._answers.close()


class Device(Program):
    """bench_responder."""

    def __init__(self):
        super().__init__([os.path.join(LINUX, "bench_responder")])
        self.place = self.answer(10)[1]

    def set(self, what, value):
        """`reply`, the bytes of a reply's frame, or `baud`; 0 for the short reply and for an endlessly fast line."""
        if self.ask(f"{what} {value}") != ["ok"]:
            raise ProgramError(f"the device does not take {what} {value}")

    def counts(self):
        """The bytes on the wire since it was last asked, to the device and from it."""
        return tuple(map(int, self.ask("counts")))


class Side(Program):
    """One side of a comparison. `ready_ns` is what its preparation took."""

    def __init__(self, command, folder, environment=None):
        super().__init__(command, folder, environment, answers="stderr", mark=b"= ")
        answer = self.answer(60)
        if answer[0] != "ready":
            raise ProgramError(" ".join(answer))
        self.ready_ns = int(answer[1])

    def exchange(self, command, size=0, count=1, within=60):
        """Nanoseconds and processor nanoseconds of `count` exchanges, and the length of the last reply's text."""
        answer = self.ask(f"{command} {size} {count}", within)
        if len(answer) != 3 or answer[0] == "failed":
            raise ProgramError(" ".join(answer))
        return tuple(map(int, answer))

    def resident_bytes(self, kind="VmRSS"):
        """Memory that is resident: all of it, or with RssAnon what is no file's."""
        with open(f"/proc/{self.process.pid}/status", encoding="ascii") as status:
            for line in status:
                if line.startswith(kind + ":"):
                    return int(line.split()[1]) * 1024
        raise ProgramError("the system does not say how much memory is resident")

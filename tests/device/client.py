"""zantir-call, the program that loads the library, as an object."""
import collections
import contextlib
import os
import select
import signal
import subprocess

import waiting

Reply = collections.namedtuple("Reply", "text milliseconds pointer")

# An argument that is longer goes through a file.
LONGEST_FIELD = 8192


class ClientError(AssertionError):
    """The client did not do what it was asked to."""


class Client:
    """One process with one copy of the library's state. `folder` is its current directory."""

    def __init__(self, command, folder, environment=None, user=None):
        self.folder = folder
        self.printed = []  # what the library itself wrote to standard output
        self.busy = False  # in a call that was begun and not finished
        self._files = 0
        self._unread = b""
        self._errors = open(os.path.join(folder, "client-errors.txt"), "ab")
        self.process = subprocess.Popen(command, cwd=folder, env=environment, stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=self._errors, user=user)
        self._expect("ready", 60)

    def _line(self, within):
        deadline = waiting.Deadline(within)
        output = self.process.stdout.fileno()
        while b"\n" not in self._unread:
            if not select.select([output], [], [], deadline.left())[0]:
                raise ClientError(f"the client says nothing for {within} s")
            data = os.read(output, 65536)
            if not data:
                raise ClientError(f"the client ended: {self.process.wait()}, saying {self._said()!r}")
            self._unread += data
        line, self._unread = self._unread.split(b"\n", 1)
        return line.decode("latin-1").rstrip("\r")

    def _said(self):
        """The end of what went to standard error in this folder."""
        with open(self._errors.name, "rb") as file:
            return file.read()[-2000:].decode("latin-1")

    def _answer(self, within):
        """The next line of the client's own: those of the library begin with a bracket."""
        while True:
            line = self._line(within)
            if not line.startswith("["):
                return line
            self.printed.append(line)

    def _expect(self, wanted, within=waiting.SOON):
        answer = self._answer(within)
        if answer != wanted:
            raise ClientError(f"expected {wanted!r}, the client says {answer!r}")

    def _ask(self, line):
        self.process.stdin.write(line.encode("ascii") + b"\n")
        self.process.stdin.flush()

    def _field(self, argument):
        if argument is None:
            return "NULL"
        if isinstance(argument, int):
            return str(argument)
        if len(argument) <= LONGEST_FIELD:
            return "x" + argument.hex()
        self._files += 1
        name = f"argument-{self._files}.bin"
        with open(os.path.join(self.folder, name), "wb") as file:
            file.write(argument)
        return "@" + name

    def start(self, name, *arguments):
        """Begins a call of an export, which runs while the test plays the device."""
        self._ask("\t".join([name, *map(self._field, arguments)]))
        self.busy = True

    def finish(self, within=waiting.SOON):
        """The end of the call."""
        fields = self._answer(within).split("\t")
        self.busy = False
        if len(fields) != 3:
            raise ClientError(" ".join(fields))
        text = None if fields[1] == "NULL" else b"" if fields[1] == "." else bytes.fromhex(fields[1])
        return Reply(text, float(fields[0]), fields[2])

    def call(self, name, *arguments, within=waiting.SOON):
        """A call in which the device has no part."""
        self.start(name, *arguments)
        return self.finish(within)

    def start_threads(self, count, calls):
        """Begins calls of ConsultarSAT from threads under the caller's own lock, with sessions from 1 on."""
        self._ask(f"threads\t{count}\t{calls}")
        self.busy = True

    def finish_threads(self, within=60):
        """How many of the calls got the reply with their own session number."""
        answer = self._answer(within)
        self.busy = False
        return int(answer)

    def reload(self):
        """The program gives the library back and loads it anew."""
        self._ask("reload")
        self._expect("ok")

    def keep(self, name):
        """Opens a file so that no other program can until this one ends."""
        self._ask(f"keep\t{name}")
        self._expect("kept")

    def queue(self, lines):
        """Hands the program lines that it works through by itself; nobody reads what it answers."""
        self.process.stdin.write("".join(line + "\n" for line in lines).encode("ascii"))
        self.process.stdin.flush()

    def handles(self):
        """How many handles, or descriptors, the process has open."""
        self._ask("handles")
        return int(self._answer(waiting.SOON))

    def everything_printed(self):
        """What the library itself printed, once the client is closed: before that it may stand in a buffer."""
        return "\n".join(self.printed)

    def kill(self):
        """The process ends in the middle of whatever it does."""
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()
        self.close()

    def close(self):
        if self._errors.closed:
            return
        with contextlib.suppress(BrokenPipeError):  # what a process that was killed has not read
            self.process.stdin.close()
        try:
            self.process.wait(timeout=waiting.SOON * waiting.SCALE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self._drain()
        self.process.stdout.close()
        self._errors.close()

    def _drain(self):
        """Takes what is left in the pipe. Not up to its end: under Wine others may hold it open too."""
        output = self.process.stdout.fileno()
        rest = self._unread
        while select.select([output], [], [], 0)[0]:
            data = os.read(output, 65536)
            if not data:
                break
            rest += data
        self.printed += rest.decode("latin-1").splitlines()

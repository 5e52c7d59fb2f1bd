"""A device that answers every command by itself, while the test does something else."""
import os
import select
import threading

from frames import ACK, ETX, frame


class Responder:
    """Answers a command with its own session number: "NNNNNN|08000|ok". Stops at the end of a `with`."""

    # A reply whose checksum is neither ACK nor NAK, so that what is left of it after a killed process means nothing.
    TEXT = b"%s|08000|ok||"

    def __init__(self, line):
        self.answered = 0
        self._line = line
        self._wake_read, self._wake_write = os.pipe()
        self._thread = threading.Thread(target=self._run, daemon=True)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        os.close(self._wake_write)
        self._thread.join()
        os.close(self._wake_read)

    def _run(self):
        command = b""
        while True:
            ready = select.select([self._line.master, self._wake_read], [], [])[0]
            if self._wake_read in ready:
                return
            try:
                command += os.read(self._line.master, 65536)
            except OSError:
                return
            # What a killed process has left of its command is not followed by the rest of it.
            command = command[command.rfind(b"\x02"):] if b"\x02" in command else b""
            if command.endswith(ETX):
                session = command[1:-2].split(b"|")[1]
                os.write(self._line.master, ACK + frame(self.TEXT % session))
                self.answered += 1
                command = b""

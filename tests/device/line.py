"""The device's end of a serial line: a pseudo terminal whose other end the library opens as its port."""
import fcntl
import os
import select
import struct
import termios
import tty

import waiting


class LineError(AssertionError):
    """The line did not bring what was expected."""


class Line:
    """Every byte that arrives is recorded with its time."""

    def __init__(self):
        self.master, self.slave = os.openpty()
        tty.setraw(self.slave)
        os.set_blocking(self.master, False)
        self.name = os.ttyname(self.slave)
        self.record = []
        self._unread = bytearray()

    def _fetch(self, seconds):
        """Waits at most `seconds` for bytes; false when none came."""
        if not select.select([self.master], [], [], seconds)[0]:
            return False
        data = os.read(self.master, 65536)
        self.record.append((waiting.now(), data))
        self._unread += data
        return bool(data)

    def read(self, size, within=waiting.SOON):
        """Exactly `size` bytes."""
        deadline = waiting.Deadline(within)
        while len(self._unread) < size:
            if not self._fetch(deadline.left()) and deadline.passed():
                raise LineError(f"{len(self._unread)} of {size} bytes arrived: {bytes(self._unread[-80:])!r}")
        data = bytes(self._unread[:size])
        del self._unread[:size]
        return data

    def read_until(self, end, within=waiting.SOON):
        """Everything up to the byte `end`, which must be the last one that was sent."""
        deadline = waiting.Deadline(within)
        while end not in self._unread:
            if not self._fetch(deadline.left()) and deadline.passed():
                raise LineError(f"no {end!r} after {bytes(self._unread[-80:])!r}")
        data = bytes(self._unread)
        if data.index(end) != len(data) - 1:
            raise LineError(f"more than a frame: {data[-80:]!r}")
        self._unread.clear()
        return data

    def stays_quiet(self, seconds=waiting.QUIET):
        """Fails when anything arrives within `seconds`."""
        if not self._unread:
            self._fetch(seconds)
        if self._unread:
            raise LineError(f"unexpected on the line: {bytes(self._unread[:80])!r}")

    def write(self, data, within=waiting.SOON):
        """Sends all of `data`, as fast as the other end takes it."""
        deadline = waiting.Deadline(within)
        view = memoryview(data)
        while view:
            if not select.select([], [self.master], [], deadline.left())[1]:
                raise LineError(f"{len(view)} of {len(data)} bytes were not taken")
            view = view[os.write(self.master, view):]

    def wait_until_taken(self, within=waiting.SOON):
        """Waits until the other end has read all that was written and asks for more."""
        deadline = waiting.Deadline(within)
        waits = 0
        # What was written may still be on its way into the other end's queue, so one empty look is not enough.
        while waits < 20:
            waits = waits + 1 if self._queued() == 0 else 0
            if deadline.passed():
                raise LineError(f"{self._queued()} bytes were not taken")
            select.select([], [], [], 0.005)

    def _queued(self):
        """How many bytes the other end has not read yet."""
        return struct.unpack("i", fcntl.ioctl(self.slave, termios.FIONREAD, b"\0" * 4))[0]

    def discard(self):
        """Drops what was written and not read."""
        termios.tcflush(self.slave, termios.TCIFLUSH)

    def received(self):
        """All that ever arrived."""
        return b"".join(data for _, data in self.record)

    def unplug(self):
        """The device goes; the other end sees the line hang up."""
        if self.master >= 0:
            os.close(self.master)
            self.master = -1

    def close(self):
        self.unplug()
        if self.slave >= 0:
            os.close(self.slave)
            self.slave = -1

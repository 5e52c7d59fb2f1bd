"""A device that answers on a line of its own accord and does something wrong now and then, and remembers what it sent.

It runs in a thread. Each command carries a session number that no other command has, and each reply a text that no
other reply has, so that whoever got a reply can be held against whoever asked.
"""
import collections
import math
import select
import threading
import time

from frames import ACK, BLOCK, ETX, NAK, STX, blocks, checksum, filler, frame, spoilt
from line import LineError

# What the device did with one command, under its session number. `acknowledged` says that the caller must have got the
# reply: it acknowledged it in the first transmission that was not spoiled. In a later one, bytes of the one before may
# still be on their way, and an acknowledgement may belong to those.
Served = collections.namedtuple("Served", "fault reply acknowledged")

# Faults and how often each is drawn. Those that cost the caller seconds are rare, so that a run stays short.
FAULTS = {
    "none": 600,
    "junk before ACK": 60,
    "ACK twice": 60,
    "late ACK": 30,
    "wrong checksum": 60,
    "corrupted byte": 60,
    "first byte lost": 20,
    "drip": 30,
    "NAK": 40,
    "no ACK": 4,
    "silence": 4,
    "stall": 6,
    "three wrong checksums": 20,
}

# How much goes out between two moments at which a caller may be ended, in bytes.
PIECE = 512


class Gone(Exception):
    """The caller is no longer there, or has begun anew."""


class FaultyDevice(threading.Thread):
    def __init__(self, line, rng):
        super().__init__(daemon=True)
        self.line = line
        self.rng = rng
        self.served = {}  # session: Served
        self.faults = collections.Counter()
        self.error = None
        self.session = None  # being served
        self._begun = False  # the last exchange was ended by the STX of a new command
        self._over = threading.Event()  # the caller that is served has ended
        self._writing = threading.Lock()  # no caller ends while bytes go out
        self._ended_at = [-1, -1]  # the last session of the ended callers with even and with odd sessions
        self._ended = threading.Event()

    def run(self):
        try:
            while not self._ended.is_set():
                self._serve()
        except Exception as error:  # noqa: BLE001: whatever it is, the run must end with it
            self.error = error

    def stop(self):
        self._ended.set()
        self._over.set()
        self.join()

    def end_caller(self, parity, kill):
        """Ends the caller whose sessions are odd or even by `kill`. What is under way to it is lost, as it is behind a
        driver that was closed, before another caller can open the port: it would be taken for that one's reply."""
        with self._writing:
            served = self.session is not None and self.session % 2 == parity
            if served:
                self.line.discard()
                self._over.set()
            self._ended_at[parity] = math.inf
            kill()
            if served:
                self.line.discard()  # what was still on its way into the queue

    def caller_is_back(self, last, begin):
        """The caller that ended in the session `last` goes on behind it: `begin` puts the new one in its place."""
        with self._writing:
            begin()
            self._ended_at[last % 2] = last

    # -- one exchange

    def _serve(self):
        if not self._begun and not self._await(STX):
            return
        self._begun = False
        # A closed port keeps nothing for the next caller.
        self.line.discard()
        self._over.clear()
        try:
            self.session, command = self._command()
            self._answer(self.session, command)
        except Gone:
            self.line.discard()
        finally:
            self.session = None

    def _await(self, byte):
        """Whether the byte came; anything else on an idle line is dropped."""
        got = self._byte(0.2)
        while got is not None and got != byte:
            got = self._byte(0)
        return got == byte

    def _write(self, data):
        """Sends to the caller that is served, as long as it is there."""
        for at in range(0, len(data), PIECE):
            with self._writing:
                if self.session is not None and self.session <= self._ended_at[self.session % 2]:
                    raise Gone
                self.line.write(data[at:at + PIECE])

    def _byte(self, within):
        """The next byte, or None when none comes or the caller is gone."""
        end = time.monotonic() + within
        while True:
            try:
                return self.line.read(1, 0)
            except LineError:
                if time.monotonic() >= end or self._over.is_set() and within > 0.2:
                    return None
                select.select([self.line.master], [], [], 0.05)

    def _command(self):
        """The command's session and text; every full block acknowledged."""
        body = bytearray()
        while True:
            byte = self._byte(5)
            if byte is None:
                raise Gone
            if byte == ETX:
                break
            body += byte
            if (len(body) + 1) % BLOCK == 0:
                self._write(ACK)
        text = bytes(body[:-1])
        if not body or body[-1] != checksum(text):
            # A caller that was killed in the middle of its command leaves one that the next caller's joins.
            if STX in text:
                self._write(NAK)
                raise Gone
            raise AssertionError(f"the library sent a bad frame: {text[:80]!r}")
        fields = text.split(b"|")
        return int(fields[1]), text

    def _answer(self, session, command):
        fault = self.rng.choices(list(FAULTS), list(FAULTS.values()))[0]
        self.faults[fault] += 1
        size = self.rng.choice([40, 60, 200, 2000, 9000, BLOCK - 3, BLOCK - 2, 20000, 2 * BLOCK - 3, 40000])
        reply = filler(size, b"%06d|06000|%s|%d|" % (session, command.split(b"|")[0], self.rng.getrandbits(60)))
        self.served[session] = Served(fault, reply, False)
        if fault == "no ACK":
            raise Gone
        if fault == "NAK":
            self._write(NAK)
            raise Gone
        if fault == "junk before ACK":
            self._write(bytes(self.rng.choices([0, 1, 2, 3, 0x41, 0xFF], k=self.rng.randrange(1, 300))))
        if fault == "late ACK":
            self._pause(self.rng.uniform(0.05, 1.5))
        self._write(ACK * (2 if fault == "ACK twice" else 1))
        if fault == "silence":
            raise Gone
        if self._send(fault, frame(reply)):
            self.served[session] = Served(fault, reply, True)

    def _pause(self, seconds):
        if self._over.wait(seconds):
            raise Gone

    # -- the reply

    def _send(self, fault, good):
        """Whether the caller acknowledged the first good transmission of the reply to its end."""
        # The second of two ACKs is taken for the reply's first byte, which spoils the first transmission; when that fills
        # its blocks to the last byte, the caller acknowledges it before it sees so.
        spoiled = {"wrong checksum": 1, "corrupted byte": 1, "first byte lost": 1, "stall": 1, "ACK twice": 1,
                   "three wrong checksums": 3}.get(fault, 0)
        for attempt in range(3):
            if self._send_once(self._spoil(fault, good) if attempt < spoiled else good, fault):
                return attempt == spoiled
        return False

    def _spoil(self, fault, good):
        if fault == "corrupted byte":
            at = self.rng.randrange(1, len(good) - 2)
            # Two more: one more would turn a sum of 3, which goes out as 4, into 4. Nothing in a reply becomes ETX so.
            return good[:at] + bytes([good[at] + 2]) + good[at + 1:]
        if fault == "first byte lost":
            return good[1:]
        if fault == "stall":
            return good[:self.rng.randrange(1, len(good))]
        return good if fault == "ACK twice" else spoilt(good)

    def _send_once(self, data, fault):
        for block in blocks(data):
            if fault == "drip" and len(block) < 100:
                for at in range(len(block)):
                    self._write(block[at:at + 1])
                    self._pause(0.002)
            else:
                self._write(block)
            # A block that stalls is answered when the caller's read of it runs out, at 1 ms a byte.
            answer = self._byte(25)
            while answer not in (ACK, NAK, None):
                if answer == STX:
                    self._begun = True
                    raise Gone
                answer = self._byte(1)
            if answer is None:
                raise Gone
            if answer == NAK:
                return False
        return True

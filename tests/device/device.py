"""A device that does what a test says, byte by byte."""
import waiting
from frames import ACK, BLOCK, ETX, NAK, blocks, frame
from line import LineError

# So much of a block waits while the line is watched for an early acknowledgement. The library's read of it takes a
# millisecond a byte, far longer than the line is watched, so that it sees no stall.
HELD_BACK = 1000


class Device:
    def __init__(self, line):
        self.line = line

    def receive_short(self, within=waiting.SOON):
        """A command of one block, not yet acknowledged."""
        return self.line.read_until(ETX, within)

    def receive(self, size):
        """A command frame of `size` bytes, each block acknowledged once it is whole and nothing came behind it."""
        received = b""
        while len(received) < size:
            received += self.line.read(min(BLOCK, size - len(received)))
            # The first and the last block are watched for a while, those between only as they come.
            first_or_last = len(received) == BLOCK or len(received) == size
            self.line.stays_quiet(waiting.QUIET if first_or_last else 0)
            self.ack()
        return received

    def ack(self):
        self.line.write(ACK)

    def nak(self):
        self.line.write(NAK)

    def send(self, data):
        self.line.write(data)

    def expect(self, byte, within=waiting.SOON):
        """The next byte from the library."""
        got = self.line.read(1, within)
        if got != byte:
            raise LineError(f"expected {byte!r}, got {got!r}")

    def expect_ack(self, within=waiting.SOON):
        self.expect(ACK, within)

    def expect_nak(self, within=waiting.SOON):
        self.expect(NAK, within)

    def send_frame(self, data):
        """A reply frame, the next block only after the acknowledgement of the last."""
        sent = blocks(data)
        for number, block in enumerate(sent):
            if number in (0, len(sent) - 1) and len(block) > 2 * HELD_BACK:
                self.line.write(block[:-HELD_BACK])
                self.line.stays_quiet()
                self.line.write(block[-HELD_BACK:])
            else:
                self.line.write(block)
            self.expect_ack()

    def reply(self, text):
        self.send_frame(frame(text))

    def answer(self, text):
        """A whole exchange from the device's side: a command of one block and its reply."""
        command = self.receive_short()
        self.ack()
        self.reply(text)
        return command

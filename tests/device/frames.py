"""Frames as they stand on the wire: STX, text, checksum, ETX."""

STX = b"\x02"
ETX = b"\x03"
ACK = b"\x06"
NAK = b"\x15"

BLOCK = 16384


def checksum(text):
    """The sum of the text's bytes modulo 256; 4 stands for 3, which would end the frame."""
    total = sum(text) & 0xFF
    return 4 if total == 3 else total


def frame(text):
    return STX + text + bytes([checksum(text)]) + ETX


def spoilt(good):
    """The same frame with another checksum, which is not ETX either."""
    wrong = (good[-2] + 1) & 0xFF
    return good[:-2] + bytes([5 if wrong == 3 else wrong]) + ETX


def blocks(data):
    return [data[at:at + BLOCK] for at in range(0, len(data), BLOCK)]


def filler(size, front=b""):
    """`size` bytes of text that begin with `front`. The pattern has a prime length, so that a block that is lost,
    sent twice or out of place shows."""
    pattern = bytes(byte for byte in range(0x20, 0xFF) if byte not in b"|%")
    pattern = pattern[:211]
    return (front + pattern * (size // len(pattern) + 1))[:size]


def reply_of_size(size, session=1):
    """A reply text whose frame is `size` bytes long."""
    return filler(size - 3, b"%06d|06000|" % session)

"""Limits of waiting.

Every wait here ends as soon as what it waits for is there; a limit only says when to give up. On a slow host
ZANTIR_TEST_SCALE stretches the limits, and nothing else.
"""
import os
import time

SCALE = float(os.environ.get("ZANTIR_TEST_SCALE", "1"))

# Nothing that a test waits for takes longer unless a rule of the protocol says so.
SOON = 10.0

# How long a line is watched to say that nothing is sent on it.
QUIET = 0.03

# What a loaded host may add to a span that the protocol fixes, in seconds.
SLACK = 1.0


def now():
    return time.monotonic()


class Deadline:
    """The end of a wait of at most `seconds`, stretched on slow hosts."""

    def __init__(self, seconds):
        self._end = now() + seconds * SCALE

    def left(self):
        return max(0.0, self._end - now())

    def passed(self):
        return now() >= self._end


def upper(seconds):
    """The longest time that something which takes `seconds` by rule may take here."""
    return (seconds + SLACK) * SCALE

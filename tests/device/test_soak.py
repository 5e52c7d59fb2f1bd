"""Two processes that sell at the same time on a bad line, one of them killed now and then.

ZANTIR_SOAK_EXCHANGES says how many exchanges (each run of the tests makes a few), ZANTIR_SOAK_SEED which.
"""
import collections
import fcntl
import os
import random
import re
import termios
import threading
import unittest

from cases import DeviceCase, setUpModule  # noqa: F401
from client import ClientError
from faulty_device import FaultyDevice
from frames import ETX, checksum, filler, frame
from line import Line
from targets import TARGET
from test_resources import HANDLES_AN_EXCHANGE

EXCHANGES = int(os.environ.get("ZANTIR_SOAK_EXCHANGES", "150" if TARGET.name == "linux" else "60"))
SEED = int(os.environ.get("ZANTIR_SOAK_SEED", "0")) or random.SystemRandom().randrange(1, 1 << 30)

ERROR = re.compile(rb"SAT Erro\[-\d{5}\]Win .* L\[(\d{4})\] F\[Communicate\] \Z")
# Faults behind which the caller may, and must not, have got the reply.
ALWAYS_RECEIVED = {"none", "junk before ACK", "late ACK", "drip", "wrong checksum", "corrupted byte"}
NEVER_RECEIVED = {"NAK", "no ACK", "silence", "three wrong checksums"}
BUSY = b"1986"
# A process that was killed may leave the port or the lock to the system for a moment, half a command to the device, and
# an acknowledgement on the line that the next one takes for its own.
AFTER_A_KILL = {b"1986", b"2075", b"2114", b"2127"}


class Caller(threading.Thread):
    """One process that makes exchanges one behind the other, each with a session number of its own."""

    def __init__(self, soak, number, rng):
        super().__init__(daemon=True)
        self.soak, self.number, self.rng = soak, number, rng
        self.client = soak.start_client()
        self.killed = False
        self.results = {}  # session: text
        self.lost = set()  # sessions whose process was killed in the call, or before it
        self.error = None

    def run(self):
        try:
            for session in range(self.number, EXCHANGES + self.number, 2):
                self.exchange(session)
        except Exception as error:  # noqa: BLE001: whatever it is, the run must end with it
            self.error = error

    def exchange(self, session):
        size = self.rng.choice([0, 0, 0, 300, 5000, 16384, 40000])
        try:
            if size:
                self.client.start("EnviarDadosVenda", session, b"12345678", filler(size))
            else:
                self.client.start("ConsultarSAT", session)
            self.results[session] = self.client.finish(120).text
        except (ClientError, OSError):
            if not self.killed:
                raise
            self.lost.add(session)
            self.start_again(session)

    def kill(self):
        """Ends the process wherever it is. Its caller notices, and starts another one."""

        def end():
            self.killed = True
            self.client.process.kill()

        self.soak.device.end_caller(self.number % 2, end)

    def start_again(self, lost):
        # Killed twice or once, it ends here; only its own thread touches its pipes.
        self.client.kill()
        # As behind a real driver, the port of a process that ended is free.
        fcntl.ioctl(self.soak.line.slave, termios.TIOCNXCL)
        client = self.soak.start_client()

        def begin():
            self.client, self.killed = client, False

        self.soak.device.caller_is_back(lost, begin)


class FaultyDeviceTest(unittest.TestCase):
    def test_reply_that_was_spoiled_on_purpose_can_be_told_from_a_good_one(self):
        device = FaultyDevice(None, random.Random(SEED))
        for last in range(0x20, 0xF4):
            good = frame(b"|" + bytes([last]))
            for fault in ("wrong checksum", "corrupted byte", "three wrong checksums"):
                wrong = device._spoil(fault, good)
                self.assertEqual((len(good), len(good) - 1), (len(wrong), wrong.index(ETX)), f"{fault} {good}")
                self.assertNotEqual(checksum(wrong[1:-2]), wrong[-2], f"{fault} {good}")


class SoakTest(DeviceCase):
    ini = {"timeouts": {"ConsultarSAT": 2, "EnviarDadosVenda": 2}}

    @classmethod
    def begin(cls):
        cls.line = Line()
        cls.addClassCleanup(cls.line.close)
        cls.port, cls.connection = TARGET.connect(cls.line)
        cls.configure()

    def setUp(self):
        print(f"seed {SEED}, {EXCHANGES} exchanges", flush=True)
        self.device = FaultyDevice(self.line, random.Random(SEED))
        self.device.start()
        self.addCleanup(self.device.stop)

    def judge(self, session, text, may_be_killed):
        """What the caller of a session got, against what the device did with it."""
        served = self.device.served.get(session)
        error = ERROR.match(text)
        if error is None:
            self.assertIsNotNone(served, f"session {session} got a reply that no device sent: {text[:80]!r}")
            self.assertEqual(served.reply, text, f"session {session}, fault {served.fault}")
            self.assertNotIn(served.fault, NEVER_RECEIVED)
            return "reply"
        if served is None:
            # The command never reached the device: only a busy lock, or a killed neighbour, explains that.
            allowed = AFTER_A_KILL if may_be_killed else {BUSY}
            self.assertIn(error.group(1), allowed, f"session {session}: {text!r}")
        else:
            self.assertFalse(served.acknowledged, f"session {session} lost a reply of {len(served.reply)} bytes, fault {served.fault}: {text!r}")
            if not may_be_killed:
                self.assertNotIn(served.fault, ALWAYS_RECEIVED, f"session {session}: {text!r}")
        return "L" + error.group(1).decode()

    def test_no_reply_is_lost_or_goes_to_another(self):
        rng = random.Random(SEED + 1)
        callers = [Caller(self, number, random.Random(SEED + 10 + number)) for number in (1, 2)]
        for caller in callers:
            caller.client.call("VersaoDllZantir")
        handles = callers[0].client.handles()
        for caller in callers:
            caller.start()
        kills = 0
        while callers[1].is_alive():
            callers[1].join(rng.uniform(0.2, 6))
            if callers[1].is_alive() and kills < EXCHANGES / 20:
                callers[1].kill()
                kills += 1
        callers[0].join()
        for caller in callers:
            self.assertIsNone(caller.error, caller.error)
        self.assertIsNone(self.device.error, self.device.error)

        outcomes = collections.Counter()
        for caller in callers:
            for session, text in caller.results.items():
                outcomes[self.judge(session, text, kills > 0)] += 1
        done = sum(len(caller.results) + len(caller.lost) for caller in callers)
        self.assertEqual(EXCHANGES, done)
        grown = callers[0].client.handles() - handles
        calls = len(callers[0].results)
        print(f"{done} exchanges, {kills} kills, {sum(len(c.lost) for c in callers)} calls killed, "
              f"outcomes {dict(outcomes)}, faults {dict(self.device.faults)}, handles +{grown}")
        # Once, not with each call: the protocol log, what the system opens at the first discovery, and the
        # three with which the devices are watched.
        self.assertLessEqual(grown, calls * HANDLES_AN_EXCHANGE + 5)
        self.assertGreater(outcomes["reply"], done / 2)


if __name__ == "__main__":
    unittest.main()

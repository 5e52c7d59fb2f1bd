"""The emulator's faults, each once through the real library: what the caller gets."""
import time
import unittest

import waiting
from cases import FolderCase, error_text, setUpModule  # noqa: F401
import settings
from frames import BLOCK
from targets import TARGET

NOT_RECEIVED = error_text(-1, b"Falha ao receber resposta do  SAT", 2127)

# A read that lacks so many bytes of its block ends after as many milliseconds.
MISSING = 40

PATTERN = b"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxy"


def padded(reply, size):
    """What the emulator makes of a reply that is to have `size` bytes."""
    filler = PATTERN * (size // len(PATTERN) + 1)
    return (reply + b"|" + filler)[:size]


class FaultCase(FolderCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.begin()

    @classmethod
    def begin(cls):
        cls.emulator, cls.port, connection = TARGET.emulator()
        cls.addClassCleanup(cls.emulator.close)
        cls.write_ini(settings.compose(**connection, timeouts={"ConsultarSAT": 1}))
        cls.client = cls.start_client()
        # The link's clock starts with its first write.
        cls.clock_origin = waiting.now()
        cls.good = cls.client.call("ConsultarSAT", 1).text
        if not cls.good.startswith(b"000001|08000|"):
            raise AssertionError(f"without a fault: {cls.good!r}")
        cls.emulator.exchange()
        cls.unsettled = False

    def setUp(self):
        # A test that failed in the middle of a call must not spoil those behind it.
        if self.unsettled:
            self.client.kill()
            self.emulator.close()
            self.begin()

    def call(self, faults, name="ConsultarSAT", *arguments, within=30):
        """A call with faults, and what the emulator says about it. Not begun late in a second of the link's clock: the
        first byte of a resent frame must come before the seconds change."""
        type(self).unsettled = True
        self.emulator.arm(faults)
        phase = (waiting.now() - self.clock_origin) % 1.0
        if not 0.15 < phase < 0.6:
            time.sleep((0.15 - phase) % 1.0)
        reply = self.client.call(name, 1, *arguments, within=within)
        exchange = self.emulator.exchange()
        type(self).unsettled = False
        return reply, exchange

    def assert_works(self):
        self.assertEqual(self.good, self.client.call("ConsultarSAT", 1).text)
        self.assertEqual("answered", self.emulator.exchange()["outcome"])

    def assert_retried(self, faults, transmissions, text=None):
        """The caller has the reply all the same, byte for byte."""
        reply, exchange = self.call(faults)
        expected = self.good if text is None else text
        self.assertTrue(reply.text == expected, f"{len(reply.text)} bytes, {reply.text[:200]!r}")
        self.assertEqual(("answered", transmissions), (exchange["outcome"], exchange["transmissions"]))
        self.assertEqual(faults.split("+"), exchange["faults"])
        return reply

    def assert_fails(self, faults, text, outcome):
        reply, exchange = self.call(faults)
        self.assertEqual(text, reply.text)
        self.assertEqual((outcome, faults.split("+")), (exchange["outcome"], exchange["faults"]))
        self.assert_works()
        return reply

    def not_sent(self, code):
        return error_text(code, b"Falha ao enviar Comando ao SAT[\\\\?\\%s]" % self.port.encode(), 2114)


class CommandFaultTest(FaultCase):
    def test_no_ack(self):
        self.assert_fails("no-ack", self.not_sent(-1), "command-ignored")

    def test_nak(self):
        self.assert_fails("nak", self.not_sent(-1005), "command-refused")

    def test_nak_of_the_second_block(self):
        reply, exchange = self.call("nak:block=2", "EnviarDadosVenda", b"12345678", b"x" * 20000)
        self.assertEqual(self.not_sent(-1005), reply.text)
        self.assertEqual(["nak:block=2"], exchange["faults"])
        self.assert_works()

    def test_junk_before_the_ack(self):
        self.assert_retried("junk:bytes=300", 1)

    def test_double_ack_stands_where_the_reply_begins(self):
        self.assert_retried("double-ack", 2)

    def test_delayed_ack(self):
        self.assertGreaterEqual(self.assert_retried("ack-delay:ms=400", 1).milliseconds, 400)

    def test_faults_of_one_exchange_come_together(self):
        self.assert_retried("junk+checksum", 2)


class ReplyFaultTest(FaultCase):
    def test_silence(self):
        self.assert_fails("silence", NOT_RECEIVED, "no-reply")

    def test_lost_first_byte(self):
        self.assert_retried("lost-first", 2)

    def test_corrupted_byte(self):
        self.assert_retried("corrupt:byte=12", 2)

    def test_wrong_checksum_twice(self):
        self.assert_retried("checksum:times=2", 3)

    def test_wrong_checksum_three_times(self):
        self.assert_fails("checksum:times=3", NOT_RECEIVED, "reply-refused")

    def test_stall(self):
        self.assert_retried(f"size:bytes={BLOCK + 100}+stall:byte={BLOCK - MISSING}", 2,
                            padded(self.good, BLOCK + 100))

    def test_stall_that_is_over_in_time(self):
        self.assert_retried("stall:ms=200", 1)

    def test_truncated_frame(self):
        self.assert_retried(f"size:bytes={BLOCK + 100}+truncate:byte={BLOCK - MISSING}", 2,
                            padded(self.good, BLOCK + 100))

    def test_drip(self):
        # Longer than the gap that ends a read, so that each byte is a read of its own.
        reply = self.assert_retried("drip:ms=15", 1)
        self.assertGreaterEqual(reply.milliseconds, 15 * len(self.good))

    def test_size(self):
        self.assert_retried("size:bytes=1500000", 1, padded(self.good, 1500000))

    @unittest.skipIf(TARGET.name == "wine", "three times 640 blocks take most of a minute here")
    def test_size_that_no_caller_can_hold(self):
        self.assert_fails("size:bytes=12000000", NOT_RECEIVED, "reply-refused")

    def test_other_session(self):
        reply, _ = self.call("other-session")
        self.assertEqual(b"000002" + self.good[6:], reply.text)
        reply, _ = self.call("other-session:number=777")
        self.assertEqual(b"000777" + self.good[6:], reply.text)

    def test_busy(self):
        reply, _ = self.call("busy")
        self.assertEqual(b"000001|08098|SAT em processamento, tente novamente.||", reply.text)
        reply, _ = self.call("busy", "EnviarDadosVenda", b"12345678", b"<CFe/>")
        self.assertEqual(b"000001|06098|0000|SAT em processamento, tente novamente.||", reply.text)


class UnplugTest(FaultCase):
    def test_in_mid_reply_and_back_under_another_name(self):
        faults = f"size:bytes={BLOCK + 100}+unplug:byte={BLOCK - MISSING},ms=100,as={self.new_name()}"
        reply, exchange = self.call(faults)
        self.assertEqual(NOT_RECEIVED, reply.text)
        self.assertEqual("unplugged", exchange["outcome"])
        _, connection = TARGET.where(self.emulator.event("ready"))
        self.write_ini(settings.compose(**connection))
        self.assert_works()

    def new_name(self):
        return self.path("other") if TARGET.name == "linux" else "COM13"


if __name__ == "__main__":
    unittest.main()

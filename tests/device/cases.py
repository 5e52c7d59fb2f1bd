"""What the tests over a line have in common."""
import os
import shutil
import tempfile
import time
import unittest

import settings
import waiting
from device import Device
from line import Line
from targets import TARGET


def setUpModule():
    """To be imported by every module of tests."""
    TARGET.prepare()


def error_text(code, message, number, routine="Communicate"):
    """What the library puts into the reply buffer when an exchange fails."""
    return b"SAT Erro[%06d]Win %s L[%04d] F[%s] " % (code, message, number, routine.encode())


class FolderCase(unittest.TestCase):
    """Tests with a folder of their own for each class."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp(prefix="zantir-")
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        cls._modified = int(time.time())

    @classmethod
    def path(cls, *names):
        return os.path.join(cls.folder, *names)

    @classmethod
    def write_ini(cls, text):
        """Writes SAT.ini with a time that no SAT.ini of the class had before: the library looks at whole
        seconds."""
        with open(cls.path("SAT.ini"), "w", encoding="latin-1", newline="") as file:
            file.write(text)
        cls._modified += 10
        os.utime(cls.path("SAT.ini"), (cls._modified, cls._modified))

    @classmethod
    def start_client(cls):
        client = TARGET.client(cls.folder)
        cls.addClassCleanup(client.close)
        return client


class DeviceCase(FolderCase):
    """Tests with a line, a device on it, and one client for the class that has made an exchange already."""

    ini = {}

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.begin()

    @classmethod
    def begin(cls):
        cls.plug_in()
        cls.configure()
        cls.client = cls.start_client()
        cls.warm_up()

    def setUp(self):
        # A test that failed in the middle of a call must not spoil those behind it.
        if self.client.busy or self.line.master < 0:
            self.client.kill()
            self.begin()

    @classmethod
    def plug_in(cls):
        """A line with a new device on it."""
        cls.line = Line()
        cls.addClassCleanup(cls.line.close)
        cls.device = Device(cls.line)
        cls.port, cls.connection = TARGET.connect(cls.line)

    @classmethod
    def configure(cls, **changes):
        cls.write_ini(settings.compose(**{**cls.connection, **cls.ini, **changes}))

    @classmethod
    def warm_up(cls):
        """The first exchange. The link's clock starts with its first write, so from here on the test knows when
        the clock's seconds change."""
        cls.client.start("ConsultarSAT", 1)
        cls.device.receive_short()
        cls.clock_origin = cls.line.record[0][0]
        cls.device.ack()
        cls.device.reply(b"000001|08000|SAT em operacao||")
        cls.client.finish()

    def at_phase(self, phase):
        """Waits until so much of the link clock's current second has passed. All time-outs of the link move in its
        whole seconds."""
        time.sleep((phase - (waiting.now() - self.clock_origin)) % 1.0)

    def exchange(self, name, *arguments, reply=b"000001|00000|OK||"):
        """A command of one block, answered: its frame and the client's answer."""
        self.client.start(name, *arguments)
        command = self.device.answer(reply)
        return command, self.client.finish()

    def assert_reply(self, text, within=waiting.SOON):
        """The end of a call with exactly this text."""
        reply = self.client.finish(within)
        self.assertEqual(text, reply.text)
        return reply

    def assert_works(self):
        """The next exchange goes through as if nothing had been."""
        command, reply = self.exchange("ConsultarSAT", 7, reply=b"000007|08000|SAT em operacao||")
        self.assertEqual(b"\x02ConsultarSAT|000007", command[:-2])
        self.assertEqual(b"000007|08000|SAT em operacao||", reply.text)

    def assert_between(self, low, high, value):
        """A measured span in seconds: the rule's lower bound is hard, the upper one has slack."""
        self.assertGreaterEqual(value, low)
        self.assertLessEqual(value, waiting.upper(high))

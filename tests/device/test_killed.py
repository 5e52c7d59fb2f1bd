"""A process killed at any moment, over and over: what it leaves is whole, and the next process works."""
import glob
import os
import random
import re
import shutil
import time
import unittest

import settings
from cases import DeviceCase, setUpModule  # noqa: F401
from responder import Responder
from targets import TARGET

ROUNDS = 60 if TARGET.name == "linux" else 25

# A round is repeatable as far as chance allows: the moments come from this.
SEED = int(os.environ.get("ZANTIR_TEST_SEED", "20261120"))

GOLDEN = os.path.join(os.path.dirname(os.path.abspath(__file__)), "golden", "SAT.ini")

# The front of a line. It must stand at the beginning of one, or the line before was torn.
DIAGNOSTIC = re.compile(rb"\[\d\d:\d\d:\d\d\.\d{3}\](?:[A-Z]{3}|Unk) \[\d{4}\]")
PROTOCOL = re.compile(rb"\d{14} (?:PC->SAT >>|SAT->PC <<) \[<02>")


def torn_lines(data, front, newline):
    """How many lines but the last are not whole: those behind whose end no line ended."""
    return sum(match.start() > 0 and not data[:match.start()].endswith(newline) for match in front.finditer(data))


class KilledTest(DeviceCase):
    def kill_after(self, folder, seconds, calls):
        """A process that makes calls by itself is killed in the middle of them, or before the first one's end."""
        client = TARGET.client(folder)
        client.queue(calls)
        # No waiting for anything: the moment is what is tested.
        time.sleep(seconds)
        client.kill()

    def new_line(self):
        """What the device still had to say to the killed process goes with the line: the next one begins afresh."""
        self.line.close()
        self.plug_in()
        self.configure(log_mode=5)

    def assert_logs_whole(self, folder, front, name):
        for path in glob.glob(os.path.join(folder, "Log", name)):
            with open(path, "rb") as file:
                data = file.read()
            self.assertEqual(0, torn_lines(data, front, b"\n"), path)

    def next_process_works(self, number):
        client = TARGET.client(self.folder)
        try:
            reply = client.call("ConsultarSAT", number)
            self.assertEqual(b"%06d|08000|ok||" % number, reply.text)
            # Far less than the lock's three seconds.
            self.assertLess(reply.milliseconds, 2500)
        finally:
            client.close()

    def test_in_the_middle_of_exchanges(self):
        moments = random.Random(SEED)
        self.configure(log_mode=5)
        self.client.close()
        answered = 0
        for number in range(ROUNDS):
            seconds = moments.uniform(0, 0.25)
            with self.subTest(round=number, seconds=seconds):
                with Responder(self.line) as responder:
                    self.kill_after(self.folder, seconds, [f"ConsultarSAT\t{i}" for i in range(200)])
                answered += responder.answered
                self.assert_logs_whole(self.folder, DIAGNOSTIC, "*_SAT_api.log")
                self.assert_logs_whole(self.folder, PROTOCOL, "*_SAT_ProtocolLog.txt")
                # What the killed process has torn is its own last line: the next one begins with files of its own.
                shutil.rmtree(self.path("Log"), ignore_errors=True)
                self.new_line()
                with Responder(self.line):
                    self.next_process_works(number)
        # Many were under way: the moments were not all too early.
        self.assertGreater(answered, ROUNDS)

    def test_while_the_default_file_is_written(self):
        moments = random.Random(SEED + 1)
        with open(GOLDEN, "rb") as file:
            whole = file.read().replace(b"\n", TARGET.newline)
        written = 0
        for number in range(ROUNDS):
            folder = self.path(f"fresh-{number}")
            os.mkdir(folder)
            # From far too early to far too late on any host, and most of them early.
            seconds = 10 ** moments.uniform(-4, -0.5)
            self.kill_after(folder, seconds, ["VersaoDllZantir"])
            path = os.path.join(folder, "SAT.ini")
            if os.path.exists(path):
                with open(path, "rb") as file:
                    self.assertEqual(whole, file.read(), f"round {number}, after {seconds} s")
                written += 1
            shutil.rmtree(folder)
        # Some were killed before it was there and some behind it, or the moments were no test.
        self.assertGreater(written, 0)
        self.assertLess(written, ROUNDS)

    def test_settings_file_that_is_there_stays(self):
        """The library never touches a file that is there, whenever it is killed."""
        moments = random.Random(SEED + 2)
        folder = self.path("kept")
        os.mkdir(folder)
        text = settings.compose(log_mode=5, **self.connection).encode()
        with open(os.path.join(folder, "SAT.ini"), "wb") as file:
            file.write(text)
        for _ in range(ROUNDS // 4):
            self.kill_after(folder, moments.uniform(0, 0.02), ["ConsultarSAT\t1"])
            with open(os.path.join(folder, "SAT.ini"), "rb") as file:
                self.assertEqual(text, file.read())


if __name__ == "__main__":
    unittest.main()

"""The benchmark's programs: the same exchange on both sides, and a run of the rows that take no time."""
import json
import os
import subprocess
import sys
import tempfile
import unittest

import measures
from machines import Native
from programs import TOP, Program, ProgramError

EXCHANGES = {
    "a command and a reply of less than a block": ("ConsultarSAT", 0, 0),
    "a sale and its receipt": ("EnviarDadosVenda", 5120, 8192),
    "more blocks than one in both directions": ("EnviarDadosVenda", 20480, 40000),
    "frames that fill their last block": ("EnviarDadosVenda", 16384 - 36, 32768),
}


class Ending(unittest.TestCase):
    def test_what_a_program_said_last_is_told_when_it_ends(self):
        for said, told in (("one; echo two", "sh ended: 3 two"), ("one; printf half", "sh ended: 3 half"),
                           ("'= ready 5'", "sh ended: 3")):
            program = Program(["sh", "-c", f"exec >&2; echo {said}; exit 3"], answers="stderr", mark=b"= ")
            self.addCleanup(program.close)
            with self.assertRaisesRegex(ProgramError, f"^{told}$"):
                while True:
                    program.answer(60)

    def test_so_is_that_of_one_that_ended_before_it_was_asked(self):
        program = Program(["sh", "-c", "echo why >&2; exit 3"], answers="stderr", mark=b"= ")
        self.addCleanup(program.close)
        program.process.wait()
        with self.assertRaisesRegex(ProgramError, "^sh ended: 3 why$"):
            program.ask("a question")


class Sides(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.machine = cls.enterClassContext(Native())
        cls.device = cls.machine.device
        cls.sides = {"library": cls.machine.library(1), "minimal": cls.machine.minimal()}

    def on_the_wire(self, side, exchange):
        """Bytes to the device and from it, and the length of the reply's text."""
        command, size, reply = exchange
        self.device.set("reply", reply)
        self.device.counts()
        length = self.sides[side].exchange(command, size)[2]
        return (*self.device.counts(), length)

    def test_both_sides_put_the_same_bytes_on_the_wire(self):
        for name, exchange in EXCHANGES.items():
            with self.subTest(name):
                self.assertEqual(self.on_the_wire("minimal", exchange), self.on_the_wire("library", exchange))

    def test_a_reply_has_the_size_that_was_asked_for(self):
        received, sent, length = self.on_the_wire("minimal", ("EnviarDadosVenda", 20480, 40000))
        # A frame has three bytes around its text; each of the two blocks of the command is acknowledged with one.
        self.assertEqual((sent, length), (40000 + 2, 40000 - 3))
        # Name, session, activation code and their separators; and three blocks of the reply are acknowledged.
        self.assertEqual(received, len("EnviarDadosVenda|123456|12345678|") + 20480 + 3 + 3)

    def test_a_paced_line_takes_the_time_of_its_bytes(self):
        self.device.set("baud", 1_000_000)
        self.addCleanup(self.device.set, "baud", 0)
        self.device.set("reply", 20000)
        self.device.counts()
        elapsed_ns = self.sides["minimal"].exchange("ConsultarSAT")[0]
        # The caller does not wait for its own last acknowledgement.
        self.assertGreaterEqual(elapsed_ns, (sum(self.device.counts()) - 1) * 10_000)

    def test_many_exchanges_are_asked_for_at_once(self):
        self.device.set("reply", 0)
        one = self.on_the_wire("minimal", EXCHANGES["a command and a reply of less than a block"])
        self.device.counts()
        self.sides["minimal"].exchange("ConsultarSAT", count=5)
        self.assertEqual(self.device.counts(), (5 * one[0], 5 * one[1]))

    def test_a_side_without_a_line_says_so(self):
        side = self.machine.start([*self.machine.program("bench_minimal_side"), "/dev/no-such-port"], None)
        with self.assertRaisesRegex(ProgramError, "does not open"):
            side.exchange("ConsultarSAT")

    def test_a_library_that_does_not_load_says_so(self):
        with self.assertRaisesRegex(ProgramError, "failed to prepare"):
            self.machine.start([*self.machine.program("bench_library_side"), "/no/such/library.so"], None)


class Run(unittest.TestCase):
    def test_a_short_run_prints_its_rows_and_writes_them(self):
        wanted = ["consult-native-log1", "consult-native-log5", "processor-consult", "checksum", "configuration",
                  "encode", "decode"]
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "bench.json")
            done = subprocess.run([sys.executable, "-B", os.path.join(TOP, "bench", "driver", "bench.py"), "--pairs", "1",
                                   "--json", path, "consult-native", *wanted[2:]],
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
            # How fast this machine is just now is not the question: a missed goal is a good run too.
            self.assertIn(done.returncode, (0, 1), done.stderr)
            with open(path, encoding="utf-8") as file:
                written = json.load(file)
        lines = done.stdout.decode().splitlines()
        self.assertEqual([line.split()[0] for line in lines[2:-1]], wanted)
        self.assertEqual([row["row"] for row in written["rows"]], wanted)
        self.assertEqual(written["all_met"], done.returncode == 0)
        for row in written["rows"]:
            self.assertGreater(row["measured"], 0, row)
            self.assertGreater(row["limit"], 0, row)
        # What the protocol demands is in both sides.
        for row in written["rows"][:2]:
            self.assertGreaterEqual(row["limit"], measures.WAITS_MS, row)
            self.assertGreaterEqual(row["measured"], measures.WAITS_MS, row)

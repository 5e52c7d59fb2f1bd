"""sat-emulator as a program: its options, its standard input, its output, its port."""
import json
import os
import select
import subprocess
import tty
import unittest

import waiting
from cases import FolderCase, setUpModule  # noqa: F401
from emulator import Emulator
from frames import ACK, BLOCK, blocks, frame
from targets import TARGET


class Caller:
    """The library's end of the line, byte by byte."""

    def __init__(self, name):
        self.descriptor = os.open(name, os.O_RDWR | os.O_NOCTTY)
        tty.setraw(self.descriptor)

    def _some(self, size):
        """What comes next, up to `size` bytes."""
        if not select.select([self.descriptor], [], [], waiting.SOON * waiting.SCALE)[0]:
            raise AssertionError("the emulator sends nothing")
        data = os.read(self.descriptor, size)
        if not data:
            raise AssertionError("the line ended")
        return data

    def read(self, size):
        data = b""
        while len(data) < size:
            data += self._some(size - len(data))
        return data

    def read_frame(self):
        """A reply frame, each block acknowledged."""
        data = b""
        while not data.endswith(b"\x03"):
            data += self._some(BLOCK)
            if len(data) % BLOCK == 0:
                os.write(self.descriptor, ACK)
        os.write(self.descriptor, ACK)
        return data

    def send(self, command):
        for block in blocks(frame(command)):
            view = memoryview(block)
            while view:
                view = view[os.write(self.descriptor, view):]
            # Junk may stand in front of it.
            while self.read(1) != ACK:
                pass

    def call(self, command):
        self.send(command)
        return self.read_frame()[1:-2]

    def close(self):
        os.close(self.descriptor)


class ProgramCase(FolderCase):
    program = [os.path.join(TARGET.build, "sat-emulator")]

    def start(self, *options, **settings):
        emulator = Emulator(self.program, options=options, **settings)
        self.addCleanup(emulator.close)
        return emulator

    def caller(self, name):
        caller = Caller(name)
        self.addCleanup(caller.close)
        return caller

    def ready(self, *options, **settings):
        """A running emulator that prints objects, and a caller."""
        emulator = self.start("--json", *options, **settings)
        return emulator, self.caller(emulator.event("ready")["address"])

    def outcomes(self, emulator, caller, count):
        """The faults of so many exchanges, each of which is answered all the same."""
        faults = []
        for number in range(count):
            caller.call(b"ConsultarSAT|%06d" % number)
            faults.append("+".join(emulator.exchange()["faults"]))
        return faults

    def run_to_end(self, *options):
        done = subprocess.run([*self.program, *options], stdin=subprocess.DEVNULL, capture_output=True, timeout=20)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def file(self, text):
        path = self.path("falhas.txt")
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        return path


class OptionTest(ProgramCase):
    def test_faults_of_the_next_exchanges_in_order(self):
        emulator, caller = self.ready("--fault", "junk", "--fault", "ok", "--fault", "junk:bytes=3+ack-delay:ms=1")
        self.assertEqual(["junk", "", "junk:bytes=3+ack-delay:ms=1", ""], self.outcomes(emulator, caller, 4))

    def test_script_behind_the_single_faults(self):
        path = self.file("# two that fail\nrepeat 2 junk\nok\njunk:bytes=2\n")
        emulator, caller = self.ready("--script", path, "--fault", "ack-delay:ms=1")
        self.assertEqual(["ack-delay:ms=1", "junk", "junk", "", "junk:bytes=2", ""],
                         self.outcomes(emulator, caller, 6))

    def test_seed_that_was_not_given_is_shown_and_repeats_the_sequence(self):
        options = ["--random-faults", "0.5,junk,ack-delay:ms=1"]
        emulator, caller = self.ready(*options)
        seed = emulator.event("seed")["seed"]
        first = self.outcomes(emulator, caller, 30)
        self.assertEqual({"", "junk", "ack-delay:ms=1"}, set(first))
        emulator, caller = self.ready(*options, "--seed", str(seed))
        self.assertEqual(first, self.outcomes(emulator, caller, 30))

    def test_what_is_wrong_ends_the_program_before_the_port_opens(self):
        path = self.file("ok\n\nzap # no such fault\n")
        for options, expected in [(["--script", path], f"{path}:3: falha \"zap\" desconhecida: esperado ok, no-ack"),
                                  (["--script", self.path("none")], self.path("none") + ": "),
                                  (["--fault", "nak:block=0"], "esperado um numero de 1 a 100000"),
                                  (["--random-faults", "2"], "esperado um numero de 0 a 1"),
                                  (["--baud", "0"], "esperado um numero de 300 a 10000000")]:
            with self.subTest(options):
                code, output, errors = self.run_to_end(*options)
                self.assertNotEqual(0, code)
                self.assertIn(expected, errors)
                self.assertEqual("", output)

    def test_help_teaches_faults_and_both_systems(self):
        code, output, _ = self.run_to_end("--help")
        self.assertEqual(0, code)
        for expected in ("Porta:", "Equipamento:", "Falhas:", "Saida:", "unplug", "as=NOME", "--port CNCA0",
                         "--port COM12", "--link /tmp/sat", "repeat 3", "random P"):
            self.assertIn(expected, output)


class OutputTest(ProgramCase):
    def test_line_of_an_exchange(self):
        emulator = self.start("--fault", "junk:bytes=3+nak:block=2")
        ready = emulator.line()
        self.assertRegex(ready, r"^pronto /dev/pts/\d+$")
        reply = self.caller(ready.split(" ")[1]).call(b"ConsultarSAT|000001")
        self.assertRegex(emulator.line(), r"^\d\d:\d\d:\d\d ConsultarSAT 000001 comando=19 resposta=%d codigo=08000 "
                         r"envios=1 ok \d+ ms falha=junk:bytes=3 sem-efeito=nak:block=2$" % len(reply))

    def test_quiet_says_that_it_is_ready_and_nothing_of_exchanges(self):
        emulator = self.start("--quiet")
        ready = emulator.line()
        self.caller(ready.split(" ")[1]).call(b"ConsultarSAT|000001")
        emulator.type("quit")
        self.assertEqual(["terminando", None], [emulator.line(), emulator.line()])

    def test_bytes_that_are_no_text_do_not_break_an_object(self):
        emulator, caller = self.ready()
        caller.call(b"\xff\xfe\xc3|\xe9\x01")
        event = emulator.exchange()
        self.assertEqual(("\ufffd\ufffd\ufffd", "\ufffd\x01"), (event["command"], event["session"]))

    def test_port_that_cannot_be_opened_is_an_object_too(self):
        code, output, errors = self.run_to_end("--json", "--port", "/dev/none")
        self.assertEqual(1, code)
        event = json.loads(output)
        self.assertEqual("error", event["event"])
        self.assertIn("/dev/none", event["text"])
        self.assertIn("/dev/none", errors)


class InputTest(ProgramCase):
    def test_faults_while_it_runs(self):
        emulator, caller = self.ready()
        emulator.arm("junk")
        self.assertEqual(["junk", ""], self.outcomes(emulator, caller, 2))
        emulator.type("random 1 ack-delay:ms=1")
        emulator.event("answer")
        self.assertEqual(["ack-delay:ms=1"] * 2, self.outcomes(emulator, caller, 2))
        emulator.type("clear")
        emulator.event("answer")
        self.assertEqual([""], self.outcomes(emulator, caller, 1))

    def test_wrong_line_is_explained_and_spoils_nothing(self):
        emulator, caller = self.ready()
        emulator.type("fault zap")
        self.assertIn("no-ack", emulator.event("error")["text"])
        self.outcomes(emulator, caller, 1)
        emulator.type("quit")
        code, errors = emulator.finish()
        self.assertEqual(0, code)
        self.assertIn("\"zap\" desconhecida: esperado ok, no-ack", errors)

    def test_end_of_input_does_not_end_the_program(self):
        emulator, caller = self.ready()
        emulator.process.stdin.close()
        self.outcomes(emulator, caller, 2)

    def test_input_that_is_nothing(self):
        emulator, caller = self.ready(stdin=subprocess.DEVNULL)
        self.outcomes(emulator, caller, 2)

    def test_input_that_is_closed(self):
        self.program = ["/bin/sh", "-c", 'exec "$0" "$@" <&-', *type(self).program]
        emulator, caller = self.ready()
        self.outcomes(emulator, caller, 2)

    def test_flood_of_input_does_not_disturb_the_line(self):
        emulator, caller = self.ready("--quiet")
        for _ in range(50):
            emulator.process.stdin.write(b"fault ok\n" * 20)
            emulator.process.stdin.flush()
            caller.call(b"ConsultarSAT|000001")


class UnplugTest(ProgramCase):
    def unplug(self, options, fault):
        emulator = self.start(*options, "--fault", fault)
        first = emulator.line()
        caller = self.caller(first.split(" ")[1])
        seen = b""
        with self.assertRaises((OSError, AssertionError)):
            caller.send(b"ConsultarSAT|000001")
            while True:
                seen += caller.read(1)
        # The kernel throws away what a slow reader had not read yet when the line goes.
        self.assertTrue(b"\x02000001|".startswith(seen), seen)
        self.assertIn("porta desligada", emulator.line())
        started = waiting.now()
        again = emulator.line()
        self.caller(again.split(" ")[1]).call(b"ConsultarSAT|000002")
        return first, again, waiting.now() - started

    def test_link_follows_the_new_port(self):
        link = self.path("sat")
        first, again, _ = self.unplug(["--link", link], "unplug:byte=8,ms=50")
        self.assertTrue(first.endswith(" " + link) and again.endswith(" " + link))
        self.assertEqual(os.readlink(link), again.split(" ")[1])

    def test_link_of_another_name_replaces_the_old_one(self):
        link = self.path("sat")
        _, again, _ = self.unplug(["--link", link], "unplug:byte=8,ms=50,as=sat2")
        self.assertTrue(again.endswith(" " + link + "2"))
        self.assertFalse(os.path.lexists(link))
        self.assertEqual(os.readlink(link + "2"), again.split(" ")[1])

    def test_port_without_a_link_comes_back_after_its_time(self):
        _, again, seconds = self.unplug([], "unplug:byte=8,ms=400")
        self.assertRegex(again, r"^pronto /dev/pts/\d+$")
        self.assertGreaterEqual(seconds, 0.3)

    def test_name_that_cannot_be_had_ends_the_program(self):
        emulator = self.start("--fault", "unplug:byte=8,ms=1,as=/none/sat")
        caller = self.caller(emulator.line().split(" ")[1])
        caller.send(b"ConsultarSAT|000001")
        code, errors = emulator.finish()
        self.assertEqual(1, code)
        self.assertIn("/none/sat", errors)


class PaceTest(ProgramCase):
    BAUD = 115200

    def test_exchange_takes_the_time_of_the_wire_and_hardly_more(self):
        _, caller = self.ready("--baud", str(self.BAUD), "--fault", "size:bytes=9997")
        started = waiting.now()
        caller.send(b"ConsultarSAT|000001".ljust(9997, b"|"))
        sent = waiting.now()
        data = caller.read_frame()
        ended = waiting.now()
        wire = 10000 * 10 / self.BAUD
        self.assertEqual(10000, len(data))
        self.assertGreaterEqual(sent - started, wire)
        self.assertGreaterEqual(ended - started, 2 * wire)
        self.assertLessEqual(ended - started, waiting.upper(2 * wire))

    def test_without_a_pace_it_does_not_wait(self):
        _, caller = self.ready("--fault", "size:bytes=1000000")
        started = waiting.now()
        caller.call(b"ConsultarSAT|000001")
        self.assertLess(waiting.now() - started, 1000000 * 10 / self.BAUD)


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""The program sat-emulator: where it starts, and what it remembers after a kill."""

import os
import pty
import re
import select
import signal
import subprocess
import sys
import tempfile
import unittest

PROGRAM = sys.argv.pop(1)
STX, ETX, ACK = b"\x02", b"\x03", b"\x06"
SECONDS = 20


def frame(text):
    total = sum(text) % 256
    return STX + text + bytes([4 if total == 3 else total]) + ETX


class Emulator:
    def __init__(self, *options):
        self.process = subprocess.Popen(
            [PROGRAM, "--quiet", *options], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE
        )
        words = self.process.stdout.readline().split()
        if words[:1] != [b"pronto"]:
            raise AssertionError(self.process.stderr.read())
        self.line = os.open(words[1], os.O_RDWR | os.O_NOCTTY)

    def receive(self):
        if not select.select([self.line], [], [], SECONDS)[0]:
            raise AssertionError("no byte came")
        return os.read(self.line, 65536)

    def ask(self, command):
        """The fields of a reply that fits one block."""
        os.write(self.line, frame(command.encode()))
        received = b""
        while not (received.startswith(ACK + STX) and received.endswith(ETX)):
            received += self.receive()
        os.write(self.line, ACK)
        return received[2:-2].decode().split("|")

    def type(self, line, answered=True):
        """A line on the standard input, and the one that answers it."""
        self.process.stdin.write(line.encode() + b"\n")
        self.process.stdin.flush()
        return self.process.stdout.readline().decode().strip() if answered else None

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.communicate()
        os.close(self.line)


class Program(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.state = os.path.join(folder.name, "state.json")

    def start(self, *options):
        emulator = Emulator(*options)
        self.addCleanup(lambda: emulator.process.poll() is None and emulator.kill())
        return emulator

    def refuse(self, *options):
        result = subprocess.run([PROGRAM, *options], capture_output=True, text=True, timeout=SECONDS)
        self.assertNotEqual(result.returncode, 0)
        self.assertNotIn("pronto", result.stdout)
        return result.stderr

    def test_starts_where_it_is_told(self):
        for start, code in (("new", "06002"), ("activated", "06003"), ("linked", "06010"), ("blocked", "06006"),
                            ("deactivated", "06007")):
            with self.subTest(start=start):
                emulator = self.start("--start-as", start)
                self.assertEqual(emulator.ask("EnviarDadosVenda|000001|12345678|x")[1], code)
                emulator.kill()
        emulator = self.start()
        self.assertEqual(emulator.ask("EnviarDadosVenda|000001|12345678|x")[1], "06010")
        self.assertIn("--start-as", self.refuse("--start-as", "sold"))

    def test_codes_follow_the_rule_of_the_state(self):
        for option in ("--activation-code", "--emergency-code"):
            for code in ("", "a b", "a|b", "x" * 33, "\u00e9"):
                with self.subTest(option=option, code=code):
                    self.assertIn("codigo invalido", self.refuse(option, code))

    def test_remembers_after_a_kill(self):
        emulator = self.start("--state", self.state)
        self.assertEqual(emulator.ask("BloquearSAT|000001|12345678")[1], "16000")
        self.assertEqual(emulator.ask("TrocarCodigoDeAtivacao|000002|12345678|1|abcd1234|abcd1234")[1], "18000")
        emulator.kill()
        emulator = self.start("--state", self.state, "--start-as", "new", "--activation-code", "other")
        status = emulator.ask("ConsultarStatusOperacional|000003|abcd1234")
        self.assertEqual((status[1], status[27]), ("10000", "2"))
        self.assertEqual(emulator.ask("ConsultarNumeroSessao|000004|abcd1234|000001")[1], "16000")

    def test_is_moved_while_it_runs(self):
        emulator = self.start("--state", self.state)
        self.assertEqual(emulator.type("state blocked"), "equipamento: blocked")
        self.assertEqual(emulator.ask("EnviarDadosVenda|000001|12345678|x")[1], "06006")
        emulator.type("state deactivated")
        emulator.kill()
        emulator = self.start("--state", self.state)
        self.assertEqual(emulator.ask("EnviarDadosVenda|000001|12345678|x")[1], "06007")
        self.assertEqual(emulator.type("state linked"), "equipamento: linked")
        os.mkdir(self.state + ".tmp")
        emulator.type("state blocked", answered=False)
        self.assertIn("nao pode ser gravado", emulator.process.stderr.readline().decode())
        emulator.type("state sold", answered=False)
        self.assertIn("unblocked ou deactivated", emulator.process.stderr.readline().decode())
        os.rmdir(self.state + ".tmp")
        self.assertEqual(emulator.ask("EnviarDadosVenda|000001|12345678|x")[1], "06010")

    def test_answers_in_the_background_of_a_terminal_and_hears_in_front(self):
        shell, terminal = pty.fork()
        if shell == 0:
            os.execv("/bin/bash", ["bash", "--norc", "--noprofile", "-i"])
        self.addCleanup(os.waitpid, shell, 0)
        self.addCleanup(os.close, terminal)
        os.write(terminal, f"{PROGRAM} --quiet &\n".encode())
        emulator = Emulator.__new__(Emulator)
        emulator.line = os.open(self.wait_for(terminal, rb"pronto (/dev/pts/\d+)").group(1), os.O_RDWR | os.O_NOCTTY)
        self.addCleanup(os.close, emulator.line)
        for _ in range(3):
            self.assertEqual(emulator.ask("ConsultarSAT|000001")[1], "08000")
        os.write(terminal, b"jobs; echo list''ed\n")
        self.assertIn(b"Running", self.wait_for(terminal, rb"(?s).*\nlisted").group())
        os.write(terminal, b"fg\nstate blocked\n")
        self.wait_for(terminal, rb"equipamento: blocked")
        os.write(terminal, b"quit\n")
        self.wait_for(terminal, rb"terminando")
        os.write(terminal, b"exit\n")

    def wait_for(self, terminal, shape):
        """What a terminal shows, up to something of this shape."""
        shown = b""
        while not re.search(shape, shown):
            if not select.select([terminal], [], [], SECONDS)[0]:
                raise AssertionError(f"no {shape} in {shown}")
            shown += os.read(terminal, 65536)
        return re.search(shape, shown)

    def test_a_state_belongs_to_one_program(self):
        emulator = self.start("--state", self.state)
        self.assertEqual(emulator.ask("BloquearSAT|000001|12345678")[1], "16000")
        self.assertIn("esta em uso por outro sat-emulator", self.refuse("--state", self.state))
        emulator.kill()
        emulator = self.start("--state", self.state)
        self.assertEqual(emulator.ask("ConsultarStatusOperacional|000002|12345678")[27], "2")

    def test_a_state_that_is_none_is_left_alone(self):
        with open(self.state, "w") as file:
            file.write('{"format": 1, ')
        message = self.refuse("--state", self.state)
        self.assertIn(f"o estado em {self.state} nao e valido", message)
        with open(self.state) as file:
            self.assertEqual(file.read(), '{"format": 1, ')
        folder = self.state + ".folder"
        os.mkdir(folder)
        self.assertIn("nao pode ser lido", self.refuse("--state", folder))

    def test_what_cannot_be_kept_has_not_happened(self):
        emulator = self.start("--state", self.state)
        os.mkdir(self.state + ".tmp")
        reply = emulator.ask("BloquearSAT|000001|12345678")
        self.assertEqual(reply[1:3], ["16099", "Erro desconhecido: estado nao gravado"])
        os.rmdir(self.state + ".tmp")
        self.assertEqual(emulator.ask("ConsultarStatusOperacional|000002|12345678")[27], "0")


if __name__ == "__main__":
    unittest.main()

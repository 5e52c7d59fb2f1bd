"""Each example sells through the real library against the emulator, and does what its users must when that goes wrong.

ZANTIR_TEST_LANGUAGES names the languages that must be there; the others are skipped where something is missing.
"""
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

TESTS = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(TESTS, "device"))

import settings  # noqa: E402
import targets  # noqa: E402
from languages import LANGUAGES, example  # noqa: E402

DEMANDED = os.environ.get("ZANTIR_TEST_LANGUAGES", "").split(",")
SALE = example("demo", "venda.xml")
SECONDS = 120

SOLD = re.compile(r"ConsultarSAT: 08000 SAT em operacao\n"
                  r"(?P<lost>Resposta perdida.*\n)?"
                  r"Venda: 06000 Emitido com sucesso \+ conteudo notas\n"
                  r"Chave: CFe(?P<key>\d{44})\n"
                  r"Total: 140\.06\n"
                  r"Cupom: (?P<size>\d+) bytes\n")


class Sale:
    """The tests of one language; a class for each is made below."""

    language = None

    @classmethod
    def setUpClass(cls):
        missing = cls.language.missing()
        if missing and cls.language.name in DEMANDED:
            raise AssertionError(f"{cls.language.name} needs {missing}")
        if missing:
            raise unittest.SkipTest(f"needs {', '.join(missing)}")
        cls.built = cls.language.prepare()
        cls.folder = tempfile.TemporaryDirectory(prefix="zantir-example-")
        cls.addClassCleanup(cls.folder.cleanup)
        cls.emulator, port, connection = targets.Linux().emulator()
        cls.addClassCleanup(cls.emulator.close)
        if cls.language.wine:
            wine = targets.Wine()
            wine.prepare()
            wine.remove_devices()
            wine.link("COM9", cls.emulator_path(port))
            connection = {"emulator_port": "COM9"}
        cls.write_ini(**connection)

    @staticmethod
    def emulator_path(port):
        return f"/dev/pts/{int(port[3:]) - 1000}"

    @classmethod
    def write_ini(cls, **changes):
        with open(os.path.join(cls.folder.name, "SAT.ini"), "w", encoding="latin-1") as file:
            file.write(settings.compose(timeouts={"EnviarDadosVenda": 2, "ConsultarSAT": 5}, **changes))

    def sell(self, xml=SALE, code="12345678", expected=0, **environment):
        """What the program printed."""
        # Into files: Windows' Node cannot write to a pipe that it got from outside Wine.
        with tempfile.TemporaryFile() as output, tempfile.TemporaryFile() as errors:
            done = subprocess.run([*self.language.command(self.built), xml, code], cwd=self.folder.name,
                                  stdin=subprocess.DEVNULL, stdout=output, stderr=errors,
                                  env={**os.environ, **self.language.environment,
                                       "ZANTIR_WINEPREFIX": targets.Wine.prefix, **environment},
                                  timeout=SECONDS, check=False)
            output.seek(0)
            errors.seek(0)
            printed = output.read().decode("utf-8").replace("\r\n", "\n")
            complaint = errors.read().decode("utf-8", "replace")
        # The library itself says on standard output when it finds its log open.
        printed = "".join(line for line in printed.splitlines(True) if not line.startswith("["))
        self.assertEqual(expected, done.returncode, printed + complaint)
        return printed

    def arm(self, *faults):
        for fault in faults:
            self.emulator.type("fault " + fault)
            # What it said about earlier exchanges stands in front of its answer.
            while json.loads(self.emulator.line())["event"] != "answer":
                pass

    def test_a_sale(self):
        printed = self.sell()
        sold = SOLD.fullmatch(printed)
        self.assertIsNotNone(sold, printed)
        self.assertIsNone(sold.group("lost"))
        self.assertGreater(int(sold.group("size")), 4000)

    def test_a_lost_reply_is_recovered_by_its_session(self):
        # The first command is ConsultarSAT; the sale is carried out and its reply never sent.
        self.arm("ok", "silence")
        printed = self.sell()
        sold = SOLD.fullmatch(printed)
        self.assertIsNotNone(sold, printed)
        self.assertIn("L[2127]", sold.group("lost"))

    def test_a_sale_that_did_not_arrive_is_sent_again(self):
        self.arm("ok", "no-ack")
        printed = self.sell()
        self.assertIn("Resposta perdida", printed)
        self.assertIn("A venda nao chegou ao equipamento, enviando outra vez\nVenda: 06000", printed)

    def test_a_busy_device_is_asked_again(self):
        self.arm("ok", "busy:times=2")
        printed = self.sell()
        self.assertEqual(2, printed.count("Equipamento ocupado (06098), nova tentativa\n"), printed)
        self.assertIn("Venda: 06000", printed)

    def test_a_refusal_says_why(self):
        with tempfile.NamedTemporaryFile(suffix=".xml") as file:
            file.write(b"<CFe>")
            file.flush()
            printed = self.sell(file.name, expected=1)
        self.assertRegex(printed, r"Venda: 06010 Erro de validacao do conteudo.+\n\Z")

    def test_a_wrong_code_is_told(self):
        self.assertRegex(self.sell(code="99999999", expected=1), r"Venda: 06001 .+\n\Z")
        # One right code, so that wrong ones never come in a row.
        self.sell()

    def test_without_a_device_the_librarys_text_is_shown(self):
        with tempfile.TemporaryDirectory() as folder:
            whole, self.folder = self.folder, type("Folder", (), {"name": folder})
            self.addCleanup(setattr, self, "folder", whole)
            printed = self.sell(expected=2)
        self.assertIn("Sem comunicacao: SAT Erro[-01000]Win SAT Nao encontrado!!! L[2013] F[Communicate] ", printed)

    def test_a_library_that_is_not_there_is_told(self):
        if self.language.name.startswith("c_"):
            self.skipTest("the system loads it before main")
        if self.language.name in ("c", "csharp"):
            self.skipTest("found by the system's own paths")
        self.sell(expected=3, ZANTIR_LIB="no-such-library")


for _language in LANGUAGES:
    _name = "".join(part.capitalize() for part in _language.name.split("_")) + "Sale"
    globals()[_name] = type(_name, (Sale, unittest.TestCase), {"language": _language})


if __name__ == "__main__":
    unittest.main()

"""zantir against the emulated device: a day at the till."""
import os
import subprocess
import unittest

import settings
from cases import FolderCase, setUpModule  # noqa: F401
from program import run, run_json
from targets import TARGET, TOP

CODE = "12345678"
SALE = os.path.join(TOP, "examples", "demo", "venda.xml")
CANCELLATION = os.path.join(TOP, "examples", "demo", "cancelamento.xml")


class DayTest(FolderCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        link = cls.path("sat")
        cls.emulator = subprocess.Popen([os.path.join(TARGET.build, "sat-emulator"), "--link", link, "--activation-code", CODE],
                                        stdout=subprocess.PIPE)
        cls.addClassCleanup(cls.emulator.stdout.close)
        cls.addClassCleanup(cls.emulator.wait)
        cls.addClassCleanup(cls.emulator.terminate)
        cls.emulator.stdout.readline()
        number = 1000 + int(os.readlink(link).rsplit("/", 1)[1])
        cls.write_ini(settings.compose(emulator_port=f"COM{number}", log_mode=3))

    def value(self, document, name):
        return next(field["valor"] for field in document["campos"] if field["nome"] == name)

    def test_sale_is_recovered_by_its_session_and_cancelled_by_its_key(self):
        sold, code = run_json(self.folder, "vender", SALE, "--codigo", CODE, "--numero-sessao", "123", "--salvar", ".")
        self.assertEqual((0, True), (code, sold["formato_ok"]), sold)
        key = self.value(sold, "chaveConsulta")
        with open(self.path(key + ".xml"), "rb") as saved:
            self.assertIn(key.encode(), saved.read())
        recovered, code = run_json(self.folder, "sessao", "123", "--codigo", CODE)
        self.assertEqual((0, key), (code, self.value(recovered, "chaveConsulta")))
        cancelled, code = run_json(self.folder, "cancelar", key, CANCELLATION, "--codigo", CODE)
        self.assertEqual((0, "aceito"), (code, cancelled["resultado"]), cancelled)

    def test_cancellation_is_composed_from_key_and_sale(self):
        sold, _ = run_json(self.folder, "vender", SALE, "--codigo", CODE)
        key = self.value(sold, "chaveConsulta")
        cancelled, code = run_json(self.folder, "cancelar", key, "--venda", SALE, "--codigo", CODE)
        self.assertEqual((0, "aceito"), (code, cancelled["resultado"]), cancelled)

    def test_status_has_28_fields_of_the_right_shape(self):
        document, code = run_json(self.folder, "status", "--codigo", CODE)
        self.assertEqual((0, 28, []), (code, len(document["campos"]), document["formato_defeitos"]))
        shown = run(self.folder, "status", "--codigo", CODE).stdout.decode("utf-8")
        self.assertIn("estado de operação: desbloqueado", shown)

    def test_logs_of_the_device_are_saved(self):
        document, code = run_json(self.folder, "chamar", "ExtrairLogs", CODE, "--salvar", ".")
        self.assertEqual((0, 1), (code, len(document["arquivos"])))
        self.assertGreater(os.path.getsize(self.path(document["arquivos"][0])), 0)

    def test_diagnosis_compares_the_clocks(self):
        document, code = run_json(self.folder, "diagnostico", "--codigo", CODE)
        self.assertEqual((0, 0), (code, document["falhas"]), document)
        clock = document["verificacoes"][-1]
        self.assertEqual(("relogio", "ok"), (clock["nome"], clock["estado"]))
        self.assertIn("SAT em", clock["encontrado"])

    def test_end_to_end_test_has_its_shape(self):
        document, code = run_json(self.folder, "chamar", "TesteFimAFim", CODE, "@" + SALE)
        self.assertEqual((0, 9, []), (code, len(document["campos"]), document["formato_defeitos"]))


if __name__ == "__main__":
    unittest.main()

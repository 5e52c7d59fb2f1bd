"""Arguments that nobody should pass: always a text, and nothing on the line but what was passed."""
import os
import re
import unittest

import settings
from cases import DeviceCase, error_text, setUpModule  # noqa: F401
from frames import frame

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

INT_MIN = -2 ** 31
INT_MAX = 2 ** 31 - 1

# What a text between STX and checksum looks like: a number stands for the text argument of that place, None for the
# session, anything else for itself. The numbers passed besides are those shown.
SHAPES = {
    "AtivarSAT": [None, b"2", 0, 1, b"35"],
    "ComunicarCertificadoICPBRASIL": [None, 0, 1],
    "EnviarDadosVenda": [None, 0, 1],
    "CancelarUltimaVenda": [None, 0, 1, 2],
    "ConsultarSAT": [None],
    "TesteFimAFim": [None, 0, 1],
    "ConsultarStatusOperacional": [None, 0],
    "ConsultarNumeroSessao": [None, 0, b"000077"],
    "ConfigurarInterfaceDeRede": [None, 0, 1],
    "AssociarAssinatura": [None, 0, 1, 2],
    "AtualizarSoftwareSAT": [None, 0],
    "ExtrairLogs": [None, 0],
    "BloquearSAT": [None, 0],
    "DesbloquearSAT": [None, 0],
    "TrocarCodigoDeAtivacao": [None, 0, b"1", 1, 2],
    "ConsultarUltimaSessaoFiscal": [None, 0],
}
REPLY = b"000001|00000|ok||"


def arguments(name, session, texts):
    """What the client passes."""
    return [session if part is None else texts[part] if isinstance(part, int) else int(part)
            for part in SHAPES[name]]


def command(name, session, texts):
    """What must stand on the line."""
    fields = [name.encode()]
    for part in SHAPES[name]:
        text = session if part is None else texts[part] if isinstance(part, int) else part
        fields.append(b"(null)" if text is None else text)
    return frame(b"|".join(fields))


def spoilt(name, bad):
    """The bad text in each place alone, and in all."""
    count = sum(isinstance(part, int) for part in SHAPES[name])
    for at in range(count):
        yield [bad if place == at else b"text" for place in range(count)]
    yield [bad] * count


class HostileCallerTest(DeviceCase):
    ini = {"receipts": ""}

    def sends(self, name, session, shown_session, texts):
        with self.subTest(name=name, session=session, texts=texts):
            self.client.start(name, *arguments(name, session, texts))
            expected = command(name, shown_session, texts)
            self.assertEqual(expected, self.line.read(len(expected)))
            self.device.ack()
            self.device.reply(REPLY)
            self.assert_reply(REPLY)

    def every_place(self, bad):
        for name in SHAPES:
            for texts in spoilt(name, bad):
                self.sends(name, 1, b"000001", texts)

    def test_every_export_is_here(self):
        self.assertEqual(sorted(settings.COMMANDS), sorted(SHAPES))
        with open(os.path.join(TOP, "include", "zantir.h"), encoding="utf-8") as file:
            declared = set(re.findall(r"ZANTIR_CALL (\w+)\(", file.read()))
        self.assertEqual(declared, {*SHAPES, "VersaoDllZantir"})

    def test_null(self):
        self.every_place(None)

    def test_empty_text(self):
        self.every_place(b"")

    def test_control_bytes_separators_and_conversions(self):
        self.every_place(b"|\x01\x02\x04\x06\x15\x1a\x1b\x7f\r\n\t||%s%n%d%%\\\"")

    def test_end_of_text_in_the_middle(self):
        self.every_place(b"a\x03b\x03")

    def test_bytes_that_are_no_utf8(self):
        self.every_place(b"\xff\xfe\x80\xc3(\xed\xa0\x80\xf8\x88\x80\x80\x80")

    def test_outermost_sessions(self):
        for session, shown in ((INT_MIN, b"-483648"), (INT_MAX, b"483647")):
            for name, shape in SHAPES.items():
                self.sends(name, session, shown, [b"text"] * len(shape))

    def test_eleven_megabytes(self):
        huge = b"z" * (11 << 20)
        for name in SHAPES:
            for texts in spoilt(name, huge):
                if not texts:
                    continue
                reply = self.client.call(name, *arguments(name, 1, texts), within=60)
                self.assertEqual(error_text(-1, b"Comando excede o tamanho maximo", 0, name), reply.text)
                for file in os.listdir(self.folder):
                    if file.startswith("argument-"):
                        os.remove(self.path(file))
        self.line.stays_quiet()
        self.assert_works()


if __name__ == "__main__":
    unittest.main()

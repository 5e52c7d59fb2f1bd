"""The sixteen commands as the device sees them, and its replies as the caller gets them."""
import unittest

from cases import DeviceCase, setUpModule  # noqa: F401
from frames import frame

UTF8 = "São João – ação".encode("utf-8")
LATIN1 = "São João, ação".encode("latin-1")

# Each command with its arguments behind the session number 123456, and the text that must go out.
COMMANDS = [
    ("AtivarSAT", (1, b"12345678", b"11111111111111", 35), b"|1|12345678|11111111111111|35"),
    ("ComunicarCertificadoICPBRASIL", (b"12345678", b"-----BEGIN CERTIFICATE-----\r\nMII=\r\n"),
     b"|12345678|-----BEGIN CERTIFICATE-----\r\nMII=\r\n"),
    ("EnviarDadosVenda", (b"12345678", b"<CFe><xNome>" + UTF8 + b"</xNome></CFe>"),
     b"|12345678|<CFe><xNome>" + UTF8 + b"</xNome></CFe>"),
    ("CancelarUltimaVenda", (b"12345678", b"CFe35", b"<CFeCanc>" + LATIN1 + b"</CFeCanc>"),
     b"|12345678|CFe35|<CFeCanc>" + LATIN1 + b"</CFeCanc>"),
    ("ConsultarSAT", (), b""),
    ("TesteFimAFim", (b"12345678", LATIN1), b"|12345678|" + LATIN1),
    ("ConsultarStatusOperacional", (b"12345678",), b"|12345678"),
    ("ConsultarNumeroSessao", (b"XYZ", 2000001), b"|XYZ|000001"),
    ("ConfigurarInterfaceDeRede", (b"12345678", b"<config/>"), b"|12345678|<config/>"),
    ("AssociarAssinatura", (b"12345678", b"1111111111111122222222222222", b"assinatura=="),
     b"|12345678|1111111111111122222222222222|assinatura=="),
    ("AtualizarSoftwareSAT", (b"12345678",), b"|12345678"),
    ("ExtrairLogs", (b"12345678",), b"|12345678"),
    ("BloquearSAT", (b"12345678",), b"|12345678"),
    ("DesbloquearSAT", (b"12345678",), b"|12345678"),
    ("TrocarCodigoDeAtivacao", (b"12345678", 2, b"novo", b"novo"), b"|12345678|2|novo|novo"),
    ("ConsultarUltimaSessaoFiscal", (b"12345678",), b"|12345678"),
]

# All that a reply's text can carry: NUL would end it for the caller, ETX ends the frame.
EVERY_BYTE = bytes(byte for byte in range(1, 256) if byte != 3)


def completed(front, total):
    """`front` with one or two bytes more, so that the sum is `total` modulo 256."""
    last = (total - sum(front)) % 256
    if last in (0, 2, 3):
        return completed(front + b"A", total)
    return front + bytes([last])


class CommandTest(DeviceCase):
    def assert_sent(self, text, name, *arguments):
        reply = b"123456|00000|" + name.encode() + b"||"
        command, answer = self.exchange(name, *arguments, reply=reply)
        self.assertEqual(frame(text), command)
        self.assertEqual(reply, answer.text)

    def test_each_command_is_sent_byte_for_byte(self):
        for name, arguments, text in COMMANDS:
            with self.subTest(name):
                self.assert_sent(name.encode() + b"|123456" + text, name, 123456, *arguments)

    def test_session_number_is_reduced_to_six_digits(self):
        for number, text in [(1234567, b"234567"), (5, b"000005"), (-5, b"-00005"), (1000000, b"000000"),
                             (2147483647, b"483647"), (-2147483648, b"-483648")]:
            with self.subTest(number=number):
                self.assert_sent(b"ConsultarSAT|" + text, "ConsultarSAT", number)

    def test_empty_arguments_leave_their_separators(self):
        self.assert_sent(b"CancelarUltimaVenda|000001|||", "CancelarUltimaVenda", 1, b"", b"", b"")

    def test_missing_texts_are_sent_as_the_formatted_print_shows_them(self):
        self.assert_sent(b"CancelarUltimaVenda|000001|(null)|(null)|(null)", "CancelarUltimaVenda", 1, None, None, None)

    def test_format_signs_in_an_argument_mean_nothing(self):
        self.assert_sent(b"ExtrairLogs|000001|%s%n%d%%", "ExtrairLogs", 1, b"%s%n%d%%")

    def test_checksum_of_zero_is_sent_as_it_is(self):
        text = completed(b"ExtrairLogs|000001|code", 0)
        command, _ = self.exchange("ExtrairLogs", 1, text[len(b"ExtrairLogs|000001|"):])
        self.assertEqual(b"\x02" + text + b"\x00\x03", command)

    def test_checksum_of_three_is_sent_as_four(self):
        text = completed(b"ExtrairLogs|000001|code", 3)
        command, _ = self.exchange("ExtrairLogs", 1, text[len(b"ExtrairLogs|000001|"):])
        self.assertEqual(b"\x02" + text + b"\x04\x03", command)


class ReplyTextTest(DeviceCase):
    def test_every_byte_of_a_reply_reaches_the_caller(self):
        _, reply = self.exchange("ConsultarSAT", 1, reply=EVERY_BYTE)
        self.assertEqual(EVERY_BYTE, reply.text)

    def test_smallest_reply_frames(self):
        for text in (b"AB", b"A", b""):
            with self.subTest(text=text):
                _, reply = self.exchange("ConsultarSAT", 1, reply=text)
                self.assertEqual(text, reply.text)

    def test_reply_with_a_checksum_of_zero(self):
        text = completed(b"000001|08000|", 0)
        self.assertEqual(0, frame(text)[-2])
        _, reply = self.exchange("ConsultarSAT", 1, reply=text)
        self.assertEqual(text, reply.text)

    def test_reply_whose_sum_is_three_carries_four(self):
        text = completed(b"000001|08000|", 3)
        self.assertEqual(4, frame(text)[-2])
        _, reply = self.exchange("ConsultarSAT", 1, reply=text)
        self.assertEqual(text, reply.text)

    def test_nothing_of_a_longer_reply_is_left_in_a_shorter_one(self):
        _, first = self.exchange("ConsultarSAT", 1, reply=b"x" * 5000)
        _, second = self.exchange("ConsultarSAT", 1, reply=b"short")
        self.assertEqual(b"short", second.text)
        self.assertEqual(first.pointer, second.pointer)

    def test_version_is_told_without_touching_the_device(self):
        before = len(self.line.record)
        self.assertEqual(b"ZANTIR DLL Ver. 02.00", self.client.call("VersaoDllZantir").text)
        self.line.stays_quiet()
        self.assertEqual(before, len(self.line.record))


if __name__ == "__main__":
    unittest.main()

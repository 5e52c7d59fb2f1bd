"""The files that the replies of sales and cancellations leave."""
import os
import re
import shutil
import time
import unittest

from cases import DeviceCase, error_text, setUpModule  # noqa: F401
from targets import TARGET

NAME = re.compile(r"(venda|canc)-cprx-(\d{8})-(-?\d+)-1\.sat")

# With every kind of byte that a text mode might touch.
REPLY = b"000123|06000||Emitido|\xe7\xe3o||\x1a\x80\xff\tx\ry|"


class ResultFileCase(DeviceCase):
    def setUp(self):
        super().setUp()
        self.target_folder()
        for name in os.listdir(self.results):
            os.remove(os.path.join(self.results, name))

    def sell(self, session, reply):
        self.client.start("EnviarDadosVenda", session, b"12345678", b"<CFe/>")
        self.device.answer(reply)
        self.assert_reply(reply)

    def the_file(self):
        """Operation, session and content of the one result file, whose time must be about now."""
        (name,) = os.listdir(self.results)
        match = NAME.fullmatch(name)
        self.assertIsNotNone(match, name)
        near = [time.strftime("%d%H%M%S", time.localtime(time.time() - back)) for back in range(60)]
        self.assertIn(match[2], near)
        with open(os.path.join(self.results, name), "rb") as file:
            return match[1], match[3], file.read()


class ConfiguredFolderTest(ResultFileCase):
    ini = {"receipts": "Cupons"}

    def target_folder(self):
        self.results = self.path("Cupons")
        os.makedirs(self.results, exist_ok=True)

    def test_file_of_a_sale_holds_the_reply(self):
        self.sell(123456, REPLY)
        self.assertEqual(("venda", "123456", REPLY), self.the_file())

    def test_short_session_has_two_digits_in_the_name(self):
        self.sell(5, REPLY)
        self.assertEqual("05", self.the_file()[1])

    def test_session_in_the_name_is_the_reduced_one(self):
        self.sell(1234567, REPLY)
        self.assertEqual("234567", self.the_file()[1])

    def test_line_feeds_are_those_of_the_text_mode(self):
        self.sell(1, b"000001|06000|a\nb|")
        self.assertEqual(b"000001|06000|a\nb|".replace(b"\n", TARGET.newline), self.the_file()[2])

    def test_file_of_a_cancellation(self):
        self.client.start("CancelarUltimaVenda", 77, b"12345678", b"CFe35", b"<CFeCanc/>")
        self.device.answer(REPLY)
        self.assert_reply(REPLY)
        self.assertEqual(("canc", "77", REPLY), self.the_file())

    def test_file_of_a_failed_sale_holds_the_error_text(self):
        self.client.start("EnviarDadosVenda", 1, b"12345678", b"<CFe/>")
        self.device.receive_short()
        self.device.nak()
        text = error_text(-1005, b"Falha ao enviar Comando ao SAT[\\\\?\\%s]" % self.port.encode(), 2114)
        self.assert_reply(text)
        self.assertEqual(("venda", "01", text), self.the_file())

    def test_other_commands_leave_none(self):
        self.exchange("TesteFimAFim", 1, b"12345678", b"<CFe/>")
        self.assertEqual([], os.listdir(self.results))

    def test_missing_folder_is_not_made(self):
        shutil.rmtree(self.results)
        self.sell(1, REPLY)
        self.assertFalse(os.path.exists(self.results))

    def test_none_is_written_when_they_are_switched_off(self):
        self.addCleanup(self.configure)
        self.configure(receipts=None)
        self.sell(1, REPLY)
        self.assertEqual([], os.listdir(self.results))


@unittest.skipUnless(TARGET.name == "wine", "the standard folder is Windows' own")
class StandardFolderTest(ResultFileCase):
    ini = {"receipts": ""}

    def target_folder(self):
        self.results = os.path.join(TARGET.prefix, "drive_c", "ProgramData", "CupomDesk", "Cupons", "New")
        os.makedirs(self.results, exist_ok=True)
        self.addCleanup(shutil.rmtree, os.path.join(TARGET.prefix, "drive_c", "ProgramData", "CupomDesk"))

    def test_file_of_a_sale_stands_in_the_common_application_data(self):
        self.sell(123456, REPLY)
        self.assertEqual(("venda", "123456", REPLY), self.the_file())


if __name__ == "__main__":
    unittest.main()

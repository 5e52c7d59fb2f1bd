"""The diagnostic log and the protocol log, line by line."""
import difflib
import glob
import os
import re
import time
import unittest

from cases import DeviceCase, setUpModule  # noqa: F401
from frames import frame, spoilt
from masking import masked
from targets import TARGET
from test_commands import completed
from test_config import GOLDEN

SALE = b"<CFe><infCFe versaoDadosEnt=\"0.07\"><xProd>Caf\xe9</xProd></infCFe></CFe>"
REPLY = (b"000123|06000||Emitido com sucesso + conteudo notas|||Q0ZlPg==|20210114143725|"
         b"CFe35210111111111111111591234567890001231234567890|10.00|12345678901234|cXI=")


class LogCase(DeviceCase):
    """A client whose first call is the one that is looked at."""

    def setUp(self):
        pass

    @classmethod
    def warm_up(cls):
        pass

    def logged(self, *pattern):
        """The content of the one log of that name, and its name."""
        (path,) = glob.glob(self.path(*pattern))
        with open(path, "rb") as file:
            return file.read(), os.path.basename(path)

    def assert_golden(self, name, text):
        with open(os.path.join(GOLDEN, name), "rb") as file:
            expected = file.read()
        actual = masked(text, TARGET)
        difference = difflib.unified_diff(expected.decode("latin-1").split("\n"),
                                          actual.decode("latin-1").split("\n"), name, "logged", lineterm="")
        self.assertTrue(actual == expected, "\n".join(difference))

    def sell(self):
        self.client.start("EnviarDadosVenda", 123, b"12345678", SALE)
        self.device.answer(REPLY)
        self.assert_reply(REPLY)


class WholeSaleTest(LogCase):
    """Through the emulator's port, which is the same way for both targets."""

    ini = {"log_mode": 5}

    @classmethod
    def begin(cls):
        TARGET.remove_devices()
        super().begin()

    @classmethod
    def plug_in(cls):
        super().plug_in()
        cls.port, cls.connection = TARGET.connect_as_emulator(cls.line)

    @classmethod
    def tearDownClass(cls):
        TARGET.prepare()

    def test_logs_of_a_first_sale(self):
        started = time.time()
        self.sell()
        # The folder of the logs is made when the settings are read, and until then the lines fall beside it.
        self.assert_golden("sale_before_folder.log", self.logged("*_SAT_api.log")[0])
        diagnostic, diagnostic_name = self.logged("Log", "*_SAT_api.log")
        protocol, protocol_name = self.logged("Log", "*_SAT_ProtocolLog.txt")
        self.assert_golden("sale_diagnostic.log", diagnostic)
        self.assert_golden("sale_protocol.txt", protocol)
        # The one is named by the day in Greenwich, the other by the day here.
        utc = {time.strftime("%Y%m%d", time.gmtime(t)) for t in (started, time.time())}
        local = {time.strftime("%Y%m%d", time.localtime(t)) for t in (started, time.time())}
        self.assertIn(diagnostic_name.split("_")[0], utc)
        self.assertIn(protocol_name.split("_")[0], local)
        self.assert_shifted_hours(diagnostic)

    def assert_shifted_hours(self, diagnostic):
        """The diagnostic log's hour is three behind Greenwich, from 24 down to 1."""
        hours = {int(hour) for hour in re.findall(rb"(?m)^\[(\d\d):\d\d:\d\d\.\d{3}\]", diagnostic)}
        near = [time.gmtime(time.time() - back).tm_hour for back in (0, 60)]
        self.assertLessEqual(hours, {hour - 3 if hour > 3 else hour + 21 for hour in near})


@unittest.skipUnless(TARGET.name == "wine", "no pseudo terminal is a present device there")
class DiscoveredSaleTest(LogCase):
    ini = {"log_mode": 5}

    def test_log_of_a_sale_on_a_discovered_port(self):
        self.sell()
        self.assert_golden("sale_discovered_diagnostic.log", self.logged("Log", "*_SAT_api.log")[0])


class ProtocolLogTest(LogCase):
    """Every way in which a packet can stand in the protocol log."""

    def test_packets_as_they_are_shown(self):
        self.exchange("ConsultarSAT", 1, reply=b"000001|08000|plain||")
        # Checksums of zero both ways.
        front = b"ExtrairLogs|000001|"
        self.exchange("ExtrairLogs", 1, completed(front + b"code", 0)[len(front):], reply=b"AB}")
        # A first byte that is not STX, and a reply that is refused before it is accepted.
        self.client.start("ConsultarSAT", 1)
        self.clock_origin = self.line.record[0][0]
        self.device.receive_short()
        self.device.ack()
        self.device.send(b"X" + frame(b"000001|08000|odd||")[1:])
        self.device.expect_ack()
        self.assert_reply(b"000001|08000|odd||")
        self.at_phase(0.2)
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.device.ack()
        self.device.send(spoilt(frame(b"000001|08000|spoilt||")))
        self.device.expect_nak()
        self.device.reply(b"000001|08000|resent||")
        self.assert_reply(b"000001|08000|resent||")
        self.assert_golden("packets_protocol.txt", self.logged("Log", "*_SAT_ProtocolLog.txt")[0])


class SilentLogTest(LogCase):
    ini = {"log_mode": 0}

    def test_no_log_at_all_in_mode_zero(self):
        self.sell()
        self.assertEqual(["SAT.ini", "client-errors.txt"], sorted(os.listdir(self.folder)))


if __name__ == "__main__":
    unittest.main()

"""The port: how the line is set, and what the caller is told when there is none."""
import os
import termios
import unittest

from cases import DeviceCase, error_text, setUpModule  # noqa: F401
from frames import NAK
from targets import TARGET

NO_COMMUNICATION = b"Erro de Comunicacao com SAT"


class LineSettingsTest(DeviceCase):
    def test_line_is_set_to_115200_8n1_without_any_editing(self):
        # As unlike as a line can be: a slow terminal with an echo, parity and seven bits.
        before = termios.tcgetattr(self.line.slave)
        before[0] |= termios.ICRNL | termios.IXON | termios.ISTRIP
        before[1] |= termios.OPOST | termios.ONLCR
        before[2] = before[2] & ~termios.CSIZE | termios.CS7 | termios.PARENB | termios.CSTOPB
        before[3] |= termios.ECHO | termios.ICANON | termios.ISIG
        before[4] = before[5] = termios.B9600
        termios.tcsetattr(self.line.slave, termios.TCSANOW, before)

        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        iflag, oflag, cflag, lflag, ispeed, ospeed, _ = termios.tcgetattr(self.line.slave)
        self.device.ack()
        self.device.reply(b"000001|08000|ok||")
        self.assert_reply(b"000001|08000|ok||")

        self.assertEqual((termios.B115200, termios.B115200), (ispeed, ospeed))
        self.assertEqual(0, cflag & (termios.PARENB | termios.CSTOPB | termios.CRTSCTS))
        # The driver of a pseudo terminal has eight bits and no parity whatever it is told.
        self.assertEqual(termios.CS8, cflag & termios.CSIZE)
        self.assertEqual(0, iflag & (termios.ICRNL | termios.INLCR | termios.IGNCR | termios.IXON | termios.IXOFF |
                                     termios.ISTRIP))
        self.assertEqual(0, oflag & termios.OPOST)
        self.assertEqual(0, lflag & (termios.ECHO | termios.ICANON | termios.ISIG | termios.IEXTEN))

    def test_port_is_free_between_the_exchanges(self):
        self.exchange("ConsultarSAT", 1)
        os.close(os.open(self.line.name, os.O_RDWR | os.O_NOCTTY))
        self.assert_works()


class PortErrorTest(DeviceCase):
    """Without a present device, so that the emulator's port is the one that counts."""

    @classmethod
    def begin(cls):
        TARGET.remove_devices()
        super().begin()

    @classmethod
    def tearDownClass(cls):
        TARGET.prepare()

    @classmethod
    def plug_in(cls):
        super().plug_in()
        cls.port, cls.connection = TARGET.connect_as_emulator(cls.line)

    def setUp(self):
        super().setUp()
        self.addCleanup(self.configure)

    def assert_told(self, expected):
        self.assertEqual(expected, self.client.call("ConsultarSAT", 1).text)
        self.line.stays_quiet()

    def test_no_device_and_no_emulator(self):
        self.configure(emulator_port=None)
        self.assert_told(error_text(-1000, b"SAT Nao encontrado!!!", 2013))

    def test_port_without_com_in_its_name(self):
        self.configure(emulator_port="CNCA0")
        self.assert_told(error_text(-2002, NO_COMMUNICATION, 2052))

    def test_port_number_zero(self):
        self.configure(emulator_port="COM0")
        self.assert_told(error_text(-2003, NO_COMMUNICATION, 2063))

    def test_port_without_a_number(self):
        self.configure(emulator_port="COM")
        self.assert_told(error_text(-2003, NO_COMMUNICATION, 2063))

    def test_port_that_does_not_exist(self):
        self.configure(emulator_port="COM9999")
        self.assert_told(error_text(-1000, NO_COMMUNICATION, 2075))

    def test_emulator_takes_over_where_no_device_is(self):
        self.assert_works()

    def test_text_behind_the_port_number_is_not_read(self):
        self.configure(emulator_port=self.port + "x5")
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.device.nak()
        # The error text shows the setting as it stands.
        shown = b"Falha ao enviar Comando ao SAT[\\\\?\\%sx5]" % self.port.encode()
        self.assert_reply(error_text(-1005, shown, 2114))

    @unittest.skipUnless(TARGET.name == "wine", "there, any file can stand behind a port's name")
    def test_port_that_is_no_serial_line(self):
        TARGET.link("COM8", "/dev/null")
        self.addCleanup(TARGET.link, "COM8", None)
        self.configure(emulator_port="COM8")
        self.assert_told(error_text(-1003, b"Falha ao Configurar Porta de Comunicacao com SAT", 2087))

    @unittest.skipUnless(TARGET.name == "wine", "there, the test can be COM1")
    def test_command_that_fails_on_com1_means_that_there_is_no_device(self):
        TARGET.link("COM1", self.line.name)
        self.addCleanup(TARGET.link, "COM1", None)
        self.configure(emulator_port="COM1")
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.device.send(NAK)
        self.assert_reply(error_text(-1005, b"SAT Nao Encontrado", 2110))


if __name__ == "__main__":
    unittest.main()

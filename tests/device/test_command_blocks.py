"""Long commands: blocks of 16384 bytes, each acknowledged before the next is sent."""
import unittest

from cases import DeviceCase, error_text, setUpModule  # noqa: F401
from frames import BLOCK, filler, frame

FRONT = b"EnviarDadosVenda|000001|12345678|"


def sale_of_size(size):
    """The data of a sale whose command frame is `size` bytes long, and that frame."""
    data = filler(size - len(FRONT) - 3)
    return data, frame(FRONT + data)


class CommandBlockTest(DeviceCase):
    def send(self, size):
        data, expected = sale_of_size(size)
        self.client.start("EnviarDadosVenda", 1, b"12345678", data)
        received = self.device.receive(size)
        # Not assertEqual: nobody reads the difference of two such texts.
        self.assertTrue(received == expected, f"{len(received)} bytes differ from what was to be sent")
        self.device.reply(b"000001|06000|ok||||")
        self.assert_reply(b"000001|06000|ok||||")

    def test_one_byte_less_than_a_block(self):
        self.send(BLOCK - 1)

    def test_exactly_one_block_has_one_acknowledgement(self):
        self.send(BLOCK)

    def test_one_byte_more_than_a_block(self):
        self.send(BLOCK + 1)

    def test_exactly_two_blocks(self):
        self.send(2 * BLOCK)

    def test_a_million_and_a_half_bytes(self):
        self.send(1500000)


class RefusedBlockTest(DeviceCase):
    SIZE = 40000

    def refuse(self, number):
        data, expected = sale_of_size(self.SIZE)
        self.client.start("EnviarDadosVenda", 1, b"12345678", data)
        for _ in range(number - 1):
            self.line.read(BLOCK)
            self.device.ack()
        sent = min(BLOCK * number, self.SIZE)
        self.line.read(sent - BLOCK * (number - 1))
        self.device.nak()
        message = b"Falha ao enviar Comando ao SAT[\\\\?\\%s]" % self.port.encode()
        self.assert_reply(error_text(-1005, message, 2114))
        self.line.stays_quiet()
        self.assertTrue(self.line.received().endswith(expected[:sent]), "what was sent is not the frame's beginning")
        self.assert_works()

    def test_first_block_refused(self):
        self.refuse(1)

    def test_second_block_refused(self):
        self.refuse(2)

    def test_last_block_refused(self):
        self.refuse(3)

    def test_command_of_one_block_refused(self):
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.device.nak()
        message = b"Falha ao enviar Comando ao SAT[\\\\?\\%s]" % self.port.encode()
        self.assert_reply(error_text(-1005, message, 2114))
        self.assert_works()


if __name__ == "__main__":
    unittest.main()

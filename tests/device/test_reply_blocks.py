"""Long replies: the device sends a block only after the one before it was acknowledged."""
import unittest

from cases import DeviceCase, setUpModule  # noqa: F401
from frames import ACK, BLOCK, frame, reply_of_size


class ReplyBlockTest(DeviceCase):
    def receive(self, size, acknowledgements):
        text = reply_of_size(size)
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.device.ack()
        first = len(self.line.received())
        self.device.send_frame(frame(text))
        reply = self.client.finish()
        self.assertTrue(reply.text == text, f"{len(reply.text)} bytes differ from the reply that was sent")
        self.line.stays_quiet()
        self.assertEqual(ACK * acknowledgements, self.line.received()[first:])

    def test_one_byte_less_than_a_block(self):
        self.receive(BLOCK - 1, 1)

    def test_frame_that_ends_with_its_block_is_acknowledged_once(self):
        self.receive(BLOCK, 1)

    def test_one_byte_more_than_a_block(self):
        self.receive(BLOCK + 1, 2)

    def test_exactly_two_blocks(self):
        self.receive(2 * BLOCK, 2)

    def test_a_million_and_a_half_bytes(self):
        self.receive(1500000, 92)


if __name__ == "__main__":
    unittest.main()

"""What the library takes for an acknowledgement, and how long it waits for one."""
import select
import termios
import unittest

from cases import DeviceCase, error_text, setUpModule  # noqa: F401
from frames import ACK, frame


class AcknowledgementTest(DeviceCase):
    def not_sent(self, code):
        return error_text(code, b"Falha ao enviar Comando ao SAT[\\\\?\\%s]" % self.port.encode(), 2114)

    def test_other_bytes_before_it_are_skipped(self):
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.device.send(b"\x00\xffA\x02\x03\x16" + ACK)
        self.device.reply(b"000001|08000|ok||")
        self.assert_reply(b"000001|08000|ok||")

    def test_none_at_all_ends_the_call_at_the_third_change_of_the_seconds(self):
        self.at_phase(0.7)
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        reply = self.assert_reply(self.not_sent(-1))
        self.assert_between(2.0, 3.0, reply.milliseconds / 1000)
        self.line.stays_quiet()
        self.assert_works()

    def test_other_bytes_do_not_prolong_the_wait(self):
        self.at_phase(0.7)
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        answer = self.client.process.stdout
        while not select.select([answer], [], [], 0.1)[0]:
            self.device.send(b"?")
        reply = self.assert_reply(self.not_sent(-1))
        self.assert_between(2.0, 3.0, reply.milliseconds / 1000)
        self.assert_works()

    def test_one_after_two_and_a_half_seconds_is_accepted_where_the_seconds_changed_but_twice(self):
        self.at_phase(0.1)
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.line.stays_quiet(2.0)
        self.at_phase(0.6)
        self.device.ack()
        self.device.reply(b"000001|08000|ok||")
        reply = self.assert_reply(b"000001|08000|ok||")
        self.assertGreater(reply.milliseconds, 2400)

    def test_second_one_takes_the_place_of_the_replys_first_byte(self):
        self.at_phase(0.2)
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        # The frame's own STX is then summed with the text, and the checksum does not match.
        self.device.send(ACK + ACK + frame(b"000001|08000|ok||"))
        self.device.expect_nak()
        self.device.reply(b"000001|08000|ok||")
        self.assert_reply(b"000001|08000|ok||")

    def test_port_that_takes_no_bytes_ends_the_call(self):
        termios.tcflow(self.line.slave, termios.TCOOFF)
        self.addCleanup(termios.tcflow, self.line.slave, termios.TCOON)
        self.client.start("ConsultarSAT", 1)
        reply = self.assert_reply(self.not_sent(-1007))
        # The last write may begin just before the limit, and gives up after a second and the time of its bytes.
        self.assert_between(2.0, 4.1, reply.milliseconds / 1000)
        termios.tcflow(self.line.slave, termios.TCOON)
        self.line.stays_quiet()
        self.assert_works()


if __name__ == "__main__":
    unittest.main()

"""Replies that arrive as they should not: spoilt, cut short, late, or not at all."""
import unittest

from cases import DeviceCase, error_text, setUpModule  # noqa: F401
from frames import BLOCK, ETX, STX, frame, reply_of_size, spoilt

GOOD = b"000001|08000|SAT em operacao||"

NOT_RECEIVED = error_text(-1, b"Falha ao receber resposta do  SAT", 2127)


class ReplyCase(DeviceCase):
    # One second is the shortest time-out of a first byte.
    ini = {"timeouts": {"ConsultarSAT": 1}}

    def start_reply(self):
        """A command up to the point where the device answers. Begun early in a second of the link's clock, since the
        first byte of a resent frame must come before the seconds change."""
        self.at_phase(0.2)
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.device.ack()


    def assert_too_late(self):
        """The call has ended with the last NAK: a good frame behind it is no longer read."""
        self.device.send(frame(GOOD))
        self.assert_reply(NOT_RECEIVED)
        self.line.stays_quiet()
        self.line.discard()
        self.assert_works()


class SpoiltReplyTest(ReplyCase):
    def test_resent_frame_is_accepted(self):
        self.start_reply()
        self.device.send(spoilt(frame(GOOD)))
        self.device.expect_nak()
        self.device.reply(GOOD)
        self.assert_reply(GOOD)

    def test_third_try_is_the_last_that_counts(self):
        self.start_reply()
        for _ in range(2):
            self.device.send(spoilt(frame(GOOD)))
            self.device.expect_nak()
        self.device.reply(GOOD)
        self.assert_reply(GOOD)

    def test_three_spoilt_frames_end_the_call(self):
        self.start_reply()
        for _ in range(3):
            self.device.send(spoilt(frame(GOOD)))
            self.device.expect_nak()
        self.assert_too_late()

    def test_silence_after_the_refusal_ends_the_call_when_the_seconds_change(self):
        self.start_reply()
        self.device.send(spoilt(frame(GOOD)))
        self.device.expect_nak()
        reply = self.assert_reply(NOT_RECEIVED)
        self.assert_between(0.0, 1.0, reply.milliseconds / 1000)
        self.line.stays_quiet()
        self.assert_works()

    def test_long_frame_is_resent_from_its_first_block(self):
        text = reply_of_size(2 * BLOCK + 500)
        self.start_reply()
        bad = spoilt(frame(text))
        for at in range(0, len(bad), BLOCK):
            self.device.send(bad[at:at + BLOCK])
            if at + BLOCK < len(bad):
                self.device.expect_ack()
        self.device.expect_nak()
        self.device.send_frame(frame(text))
        self.assert_reply(text)

    def test_frame_that_ends_at_its_second_byte_is_refused(self):
        self.start_reply()
        self.device.send(STX + ETX)
        self.device.expect_nak()
        self.device.reply(GOOD)
        self.assert_reply(GOOD)

    def test_any_first_byte_stands_for_the_start_of_the_frame(self):
        self.start_reply()
        self.device.send(b"\x00" + frame(GOOD)[1:])
        self.device.expect_ack()
        self.assert_reply(GOOD)

    def test_bytes_behind_the_end_are_dropped(self):
        self.start_reply()
        self.device.send(frame(GOOD) + b"behind it")
        self.device.expect_ack()
        self.assert_reply(GOOD)
        self.assert_works()

    def test_frame_that_comes_byte_by_byte(self):
        self.start_reply()
        data = frame(GOOD)
        for at in range(len(data)):
            # Longer than the gap that ends a read, so that each byte is a read of its own.
            self.line.stays_quiet(0.015)
            self.device.send(data[at:at + 1])
        self.device.expect_ack()
        self.assert_reply(GOOD)


class StalledReplyTest(ReplyCase):
    def stall(self, missing):
        """The first block of a long frame, but for so many bytes. The read of the missing ones returns after as many
        milliseconds, and only then is the stall looked at."""
        text = reply_of_size(BLOCK + 100)
        self.start_reply()
        self.device.send(frame(text)[:BLOCK - missing])
        return text

    def test_resent_frame_is_accepted(self):
        text = self.stall(missing=40)
        self.device.expect_nak()
        self.device.reply(text)
        self.assert_reply(text)

    def test_stall_is_noticed_after_a_millisecond_for_each_byte_asked_for(self):
        text = self.stall(missing=2500)
        self.line.stays_quiet(2.3)
        self.device.expect_nak()
        self.device.reply(text)
        self.assertGreater(self.assert_reply(text).milliseconds, 2500)

    def test_resent_frame_may_be_two_seconds_late(self):
        text = self.stall(missing=40)
        self.device.expect_nak()
        self.line.stays_quiet(2.0)
        self.device.reply(text)
        self.assert_reply(text)

    def test_silence_after_the_refusal_ends_the_call_within_three_seconds(self):
        self.stall(missing=40)
        self.device.expect_nak()
        reply = self.assert_reply(NOT_RECEIVED)
        # Up to a second until the stall is noticed, and two to three for the first byte that does not come.
        self.assert_between(2.0, 4.0, reply.milliseconds / 1000)
        self.line.stays_quiet()
        self.assert_works()

    def test_three_stalls_end_the_call(self):
        text = self.stall(missing=40)
        for _ in range(2):
            self.device.expect_nak()
            self.device.send(frame(text)[:BLOCK - 40])
        self.device.expect_nak()
        self.assert_too_late()


class SilentDeviceTest(ReplyCase):
    def test_no_first_byte_ends_the_call_at_the_second_change_of_the_seconds(self):
        self.at_phase(0.7)
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.device.ack()
        reply = self.assert_reply(NOT_RECEIVED)
        self.assert_between(1.0, 2.0, reply.milliseconds / 1000)
        self.line.stays_quiet()
        self.assert_works()

    def test_first_byte_after_the_time_out_is_accepted_until_the_seconds_change_twice(self):
        self.at_phase(0.1)
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.device.ack()
        self.line.stays_quiet(1.3)
        self.device.reply(GOOD)
        reply = self.assert_reply(GOOD)
        self.assertGreater(reply.milliseconds, 1300)


class UnpluggedDeviceTest(ReplyCase):
    def plug_in_again(self):
        type(self).plug_in()
        self.configure()
        self.assert_works()

    def test_in_the_middle_of_its_reply(self):
        self.start_reply()
        self.device.send(frame(reply_of_size(BLOCK + 100))[:BLOCK - 40])
        self.line.wait_until_taken()
        self.line.unplug()
        self.assert_reply(NOT_RECEIVED)
        self.plug_in_again()

    def test_before_its_reply(self):
        self.start_reply()
        self.line.wait_until_taken()
        self.line.unplug()
        self.assert_reply(NOT_RECEIVED)
        self.plug_in_again()

    def test_instead_of_an_acknowledgement(self):
        port = self.port.encode()
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.line.unplug()
        self.assert_reply(error_text(-1, b"Falha ao enviar Comando ao SAT[\\\\?\\%s]" % port, 2114))
        self.plug_in_again()


if __name__ == "__main__":
    unittest.main()

"""What many exchanges leave behind in the process."""
import os
import unittest

from cases import DeviceCase, setUpModule  # noqa: F401
from frames import frame
from targets import TARGET

EXCHANGES = 200

# Each exchange creates the machine-wide lock anew and never closes it: one handle each, on purpose. On Linux a lock
# that is there already is the same one.
HANDLES_AN_EXCHANGE = 1 if TARGET.name == "wine" else 0


class ResourceTest(DeviceCase):
    def exchanges(self):
        for _ in range(EXCHANGES):
            self.exchange("ConsultarSAT", 1)

    def test_handles_grow_by_those_of_the_lock_alone(self):
        self.exchange("ConsultarSAT", 1)
        before = self.client.handles()
        self.assertGreater(before, 0)
        self.exchanges()
        self.assertEqual(before + EXCHANGES * HANDLES_AN_EXCHANGE, self.client.handles())

    @unittest.skipUnless(TARGET.name == "linux", "there, the process is seen from outside")
    def test_descriptors_as_the_system_lists_them_do_not_grow(self):
        folder = f"/proc/{self.client.process.pid}/fd"
        self.exchange("ConsultarSAT", 1)
        before = sorted(os.listdir(folder))
        self.exchanges()
        self.assertEqual(before, sorted(os.listdir(folder)))

    def test_failed_exchanges_leave_no_more(self):
        self.exchange("ConsultarSAT", 1)
        before = self.client.handles()
        for _ in range(20):
            self.client.start("ConsultarSAT", 1)
            self.device.receive_short()
            self.device.nak()
            self.assertIn(b"L[2114]", self.client.finish().text)
        self.assertEqual(before + 20 * HANDLES_AN_EXCHANGE, self.client.handles())

    def test_protocol_log_that_is_open_already_is_said_on_standard_output(self):
        # An exchange that never came to a packet leaves it open, and the next one finds it so.
        client = self.start_client()
        self.addCleanup(client.close)
        client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.device.nak()
        client.finish()
        client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.device.ack()
        self.device.send_frame(frame(b"000001|08000|ok||"))
        self.assertEqual(b"000001|08000|ok||", client.finish().text)
        client.close()
        self.assertRegex(client.everything_printed(),
                         r"\[\d{4}\] \[../src/api/ZANTIR\] \[CreateSAT_ProtLogFile\]--- rc\[\d{5}\] "
                         r"gl_tSat\.strSatProtLogFilePath\[Log\] gl_iFd\[[0-9A-F]{8}h\]")


if __name__ == "__main__":
    unittest.main()

"""SAT.ini: written where it is missing, read again when it changed."""
import glob
import os
import unittest

import settings
from cases import DeviceCase, FolderCase, error_text, setUpModule  # noqa: F401
from targets import TARGET

GOLDEN = os.path.join(os.path.dirname(os.path.abspath(__file__)), "golden")


def default_ini():
    """The default file with the line ends that the target's text mode makes."""
    with open(os.path.join(GOLDEN, "SAT.ini"), "rb") as file:
        return file.read().replace(b"\n", TARGET.newline)


class DefaultFileTest(FolderCase):
    def first_call(self):
        client = self.start_client()
        self.assertEqual(b"ZANTIR DLL Ver. 02.00", client.call("VersaoDllZantir").text)
        with open(self.path("SAT.ini"), "rb") as file:
            return file.read()

    def setUp(self):
        if os.path.exists(self.path("SAT.ini")):
            os.remove(self.path("SAT.ini"))

    def test_missing_file_is_written(self):
        self.assertEqual(default_ini(), self.first_call())

    def test_empty_file_is_written_over(self):
        self.write_ini("")
        self.assertEqual(default_ini(), self.first_call())

    def test_file_of_one_byte_is_left_alone(self):
        self.write_ini("#")
        self.assertEqual(b"#", self.first_call())

    def test_every_setting_of_a_file_is_left_alone(self):
        text = settings.compose(fixed_port="COM3", log_mode=0)
        self.write_ini(text)
        self.assertEqual(text.encode(), self.first_call())


class ReloadTest(DeviceCase):
    ini = {"log_mode": 3}

    def passes(self):
        """How often the settings were read, as the diagnostic log says."""
        count = 0
        # At midnight, UTC, a second one begins.
        for log in glob.glob(self.path("Log", "*_SAT_api.log")):
            with open(log, "rb") as file:
                count += file.read().count(b"item[PathLinux=")
        return count

    def test_unchanged_file_is_not_read_again(self):
        # The first call may still find the change of the test before.
        self.assert_works()
        before = self.passes()
        self.assert_works()
        self.assertEqual(before, self.passes())

    def test_changed_file_is_read_again_at_the_next_call(self):
        self.assert_works()
        before = self.passes()
        self.configure()
        self.client.call("VersaoDllZantir")
        self.assertEqual(before + 1, self.passes())

    def test_file_emptied_between_two_calls_is_written_anew(self):
        self.addCleanup(self.configure)
        self.write_ini("")
        self.client.call("VersaoDllZantir")
        with open(self.path("SAT.ini"), "rb") as file:
            self.assertEqual(default_ini(), file.read())

    def test_time_out_applies_from_the_next_call_on(self):
        self.addCleanup(self.configure)
        self.configure(timeouts={"ConsultarSAT": 1})
        self.at_phase(0.7)
        self.client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.device.ack()
        reply = self.assert_reply(error_text(-1, b"Falha ao receber resposta do  SAT", 2127))
        self.assert_between(1.0, 2.0, reply.milliseconds / 1000)

    def test_time_out_beyond_the_seventh_command_is_never_applied(self):
        self.addCleanup(self.configure)
        self.configure(timeouts={"ExtrairLogs": 1})
        self.client.start("ExtrairLogs", 1, b"12345678")
        self.device.receive_short()
        self.device.ack()
        self.line.stays_quiet(2.2)
        self.device.reply(b"000001|15000|late||")
        self.assert_reply(b"000001|15000|late||")

    def test_device_on_another_port_is_followed(self):
        self.assert_works()
        old = self.line
        self.plug_in()
        self.configure()
        self.assert_works()
        old.stays_quiet()


if __name__ == "__main__":
    unittest.main()

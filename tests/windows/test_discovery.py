"""Which of the present serial devices the DLL takes, by the real device-setup interface."""
import unittest

from cases import DeviceCase, error_text, setUpModule  # noqa: F401
from device import Device
from line import Line
from targets import TARGET

NOT_FOUND = error_text(-1000, b"SAT Nao encontrado!!!", 2013)
NO_COMMUNICATION = b"Erro de Comunicacao com SAT"


class DiscoveryTest(DeviceCase):
    """COM7 and COM12 have a line each; what is present differs from test to test."""

    @classmethod
    def begin(cls):
        super().begin()
        cls.other_line = Line()
        cls.addClassCleanup(cls.other_line.close)
        cls.other = Device(cls.other_line)
        TARGET.link("COM12", cls.other_line.name)
        cls.addClassCleanup(TARGET.link, "COM12", None)

    @classmethod
    def tearDownClass(cls):
        TARGET.prepare()

    def present(self, *devices, fixed_port=None):
        """(port name, friendly name) of the present devices, in the order of their enumeration."""
        TARGET.register([(f"{number:04}", *device) for number, device in enumerate(devices)])
        self.configure(fixed_port=fixed_port)

    def assert_found(self, device):
        self.client.start("ConsultarSAT", 1)
        device.answer(b"000001|08000|here||")
        self.assert_reply(b"000001|08000|here||")
        self.line.stays_quiet(0)
        self.other_line.stays_quiet(0)

    def assert_on_com7(self):
        self.assert_found(self.device)

    def assert_on_com12(self):
        self.assert_found(self.other)

    def assert_told(self, expected):
        self.assertEqual(expected, self.client.call("ConsultarSAT", 1).text)
        self.line.stays_quiet(0)
        self.other_line.stays_quiet(0)

    def test_mark_of_the_maker(self):
        self.present(("COM12", "ZANTIR"))
        self.assert_on_com12()

    def test_mark_of_the_model(self):
        self.present(("COM7", "USB Serial MXQ-B70 (COM7)"))
        self.assert_on_com7()

    def test_device_without_a_mark(self):
        self.present(("COM7", "USB Serial Port (COM7)"))
        self.assert_told(NOT_FOUND)

    def test_mark_in_small_letters_is_none(self):
        self.present(("COM7", "Zantir mxq-b70"))
        self.assert_told(NOT_FOUND)

    def test_no_device_at_all(self):
        self.present()
        self.assert_told(NOT_FOUND)

    def test_last_of_several_matches_wins(self):
        self.present(("COM7", "SAT MXQ-B70"), ("COM12", "SAT MXQ-B70"))
        self.assert_on_com12()
        self.present(("COM12", "SAT MXQ-B70"), ("COM7", "ZANTIR SAT"))
        self.assert_on_com7()

    def test_devices_without_a_mark_around_it_do_not_matter(self):
        self.present(("COM3", "Modem"), ("COM12", "ZANTIR SAT"), ("COM4", "Modem"))
        self.assert_on_com12()

    def test_port_name_in_small_letters(self):
        self.present(("com12", "ZANTIR SAT"))
        self.assert_on_com12()

    def test_printer_port_is_skipped(self):
        self.present(("COM7", "ZANTIR SAT"), ("LPT1", "ZANTIR SAT"))
        self.assert_on_com7()
        self.present(("LPT1", "ZANTIR SAT"))
        self.assert_told(NOT_FOUND)

    def test_device_without_a_friendly_name_is_skipped_and_the_next_is_seen(self):
        self.present(("COM7", None), ("COM12", "ZANTIR SAT"))
        self.assert_on_com12()
        self.present(("COM7", None))
        self.assert_told(NOT_FOUND)

    def test_device_without_a_port_name_is_skipped(self):
        self.present((None, "ZANTIR SAT"), ("COM7", "ZANTIR SAT"))
        self.assert_on_com7()

    def test_port_name_that_does_not_fit_is_none(self):
        self.present(("COM7", "ZANTIR SAT"), ("COM12" + "0" * 20, "ZANTIR SAT"))
        self.assert_on_com7()

    def test_fixed_port_reroutes_a_device_that_was_found(self):
        self.present(("COM7", "ZANTIR SAT"), fixed_port="COM12")
        self.assert_on_com12()

    def test_fixed_port_that_is_the_found_one(self):
        self.present(("COM7", "ZANTIR SAT"), fixed_port="COM7")
        self.assert_on_com7()

    def test_fixed_port_does_not_stand_in_for_a_device_that_was_not_found(self):
        self.present(("COM7", "Modem"), fixed_port="COM7")
        self.assert_told(NOT_FOUND)

    def test_fixed_port_of_two_characters_is_ignored(self):
        self.present(("COM7", "ZANTIR SAT"), fixed_port="C1")
        self.assert_on_com7()

    def test_empty_fixed_port_is_ignored(self):
        self.present(("COM7", "ZANTIR SAT"), fixed_port="")
        self.assert_on_com7()

    def test_fixed_port_without_a_digit_is_ignored(self):
        self.present(("COM7", "ZANTIR SAT"), fixed_port="COMx")
        self.assert_on_com7()

    def test_text_behind_the_fixed_ports_last_digit_is_cut(self):
        self.present(("COM7", "ZANTIR SAT"), fixed_port="COM12 left")
        self.assert_on_com12()

    def test_fixed_port_in_small_letters_has_no_com(self):
        self.present(("COM7", "ZANTIR SAT"), fixed_port="com12")
        self.assert_told(error_text(-2002, NO_COMMUNICATION, 2052))

    def test_fixed_port_number_zero(self):
        self.present(("COM7", "ZANTIR SAT"), fixed_port="COM0")
        self.assert_told(error_text(-2003, NO_COMMUNICATION, 2063))

    def test_removed_fixed_port_gives_the_found_one_back(self):
        self.present(("COM7", "ZANTIR SAT"), fixed_port="COM12")
        self.assert_on_com12()
        self.configure()
        self.assert_on_com7()


if __name__ == "__main__":
    unittest.main()

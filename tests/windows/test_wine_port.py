"""scripts/wine-port, which makes a serial line a present device of the Wine prefix."""
import os
import unittest

from cases import DeviceCase, error_text, setUpModule  # noqa: F401
from targets import TARGET

NOT_FOUND = error_text(-1000, b"SAT Nao encontrado!!!", 2013)


class WinePortTest(DeviceCase):
    def setUp(self):
        super().setUp()
        TARGET.remove_devices()
        self.place = os.path.join(TARGET.prefix, "dosdevices", "com7")
        TARGET.link("COM7", None)

    @classmethod
    def tearDownClass(cls):
        TARGET.prepare()

    def test_device_is_found_by_its_friendly_name(self):
        self.assertEqual(NOT_FOUND, self.client.call("ConsultarSAT", 1).text)
        TARGET.script("wine-port", "COM7", self.line.name, 'The "ZANTIR" SAT \\ (COM7)')
        self.assert_works()

    def test_second_registration_replaces_the_first(self):
        TARGET.script("wine-port", "COM7", "/dev/null", "Modem")
        TARGET.script("wine-port", "com7", self.line.name, "ZANTIR SAT")
        self.assertEqual(self.line.name, os.readlink(self.place))
        self.assert_works()

    def test_removed_device_is_gone(self):
        TARGET.script("wine-port", "COM7", self.line.name, "ZANTIR SAT")
        TARGET.script("wine-port", "--remove", "COM7")
        self.assertFalse(os.path.lexists(self.place))
        self.assertEqual(NOT_FOUND, self.client.call("ConsultarSAT", 1).text)
        # Twice is no mistake.
        TARGET.script("wine-port", "--remove", "COM7")

    def test_other_devices_stay(self):
        TARGET.script("wine-port", "COM7", self.line.name, "ZANTIR SAT")
        TARGET.script("wine-port", "COM8", "/dev/null", "ZANTIR SAT")
        TARGET.script("wine-port", "--remove", "COM8")
        self.assert_works()

    def test_what_is_no_port_name_is_refused(self):
        for arguments in (["LPT1", "/dev/null", "x"], ["COM", "/dev/null", "x"], ["COM7"], []):
            with self.subTest(arguments):
                self.assertNotEqual(0, TARGET.script("wine-port", *arguments, check=False).returncode)


if __name__ == "__main__":
    unittest.main()

"""The packages are the same bytes whenever, wherever and by whomever they are made."""
import os
import struct
import subprocess
import unittest

import packages


class BytesTest(unittest.TestCase):
    def test_a_second_packaging_gives_the_same(self):
        mask = os.umask(0o077)
        self.addCleanup(os.umask, mask)
        second = packages.make(TZ="Asia/Tokyo", LC_ALL="C", TMPDIR=packages.empty_folder(), USER="somebody")
        names = sorted(os.listdir(packages.made()))
        self.assertEqual(2, len(names))
        self.assertEqual(names, sorted(os.listdir(second)))
        for name in names:
            with self.subTest(name):
                with open(os.path.join(packages.made(), name), "rb") as one, \
                        open(os.path.join(second, name), "rb") as other:
                    self.assertTrue(one.read() == other.read(), f"{packages.made()} and {second} differ")

    def test_no_folder_of_the_build_is_in_a_file(self):
        for root in (packages.unpacked_zip(), packages.unpacked_deb()):
            names = packages.files(root)
            self.assertGreater(len(names), 30)
            for name in names:
                with open(os.path.join(root, name), "rb") as file:
                    self.assertNotIn(packages.TOP.encode(), file.read(), name)

    def test_windows_files_carry_no_time(self):
        for name in ("ZANTIR64.dll", "zantir.exe", "sat-emulator.exe"):
            with open(os.path.join(packages.unpacked_zip(), name), "rb") as file:
                data = file.read()
            header = struct.unpack_from("<I", data, 0x3C)[0]
            self.assertEqual((b"PE\0\0", 0), struct.unpack_from("<4s4xI", data, header), name)

    def test_linux_files_carry_no_hash_of_their_debug_information(self):
        root = packages.unpacked_deb()
        for name in ("usr/bin/zantir", "usr/bin/sat-emulator", "usr/lib/x86_64-linux-gnu/libzantir64.so"):
            sections = subprocess.run(["readelf", "-SW", os.path.join(root, name)], check=True, capture_output=True,
                                      text=True).stdout
            self.assertIn(".text", sections)
            for section in (".note.gnu.build-id", ".debug_info", ".symtab"):
                self.assertNotIn(section, sections, name)


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""The check of the house finds what it is there for."""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

TOP = pathlib.Path(sys.argv.pop(1)).resolve()


class House(unittest.TestCase):
    def setUp(self):
        self.copy = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.copy)
        for folder in ("src", "include"):
            shutil.copytree(TOP / folder, self.copy / folder)

    def check(self):
        return subprocess.run(
            [sys.executable, TOP / "tests/checks/house.py", self.copy], capture_output=True, text=True
        )

    def add(self, file, line):
        path = self.copy / file
        path.write_text(path.read_text() + line + "\n")
        return self.check()

    def test_the_house_as_it_is(self):
        result = self.check()
        self.assertEqual(result.returncode, 0, result.stdout)

    def test_an_include_that_points_up(self):
        for file, line in (
            ("src/vko_utils/log.cpp", '#include "../api/state.h"'),
            ("src/vko_utils/files.h", '#include "../vko_sat_utils/packet.h"'),
            ("src/platform/posix/clock.cpp", '#include "../../vko_utils/log.h"'),
            ("src/vko_sat_utils/packet.cpp", "#include <api/state.h>"),
        ):
            with self.subTest(file=file):
                result = self.add(file, line)
                self.assertEqual(result.returncode, 1)
                self.assertIn(f"{file}:", result.stdout)
                self.assertIn("points up", result.stdout)

    def test_a_system_named_in_a_shared_file(self):
        for line in ("#ifdef _WIN32", "#include <windows.h>", "#if defined(__linux__)", "#include <sys/stat.h>"):
            with self.subTest(line=line):
                result = self.add("src/api/state.cpp", line)
                self.assertEqual(result.returncode, 1)
                self.assertIn("names an operating system", result.stdout)


if __name__ == "__main__":
    unittest.main()

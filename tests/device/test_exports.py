"""What the shared object shows to those who load it."""
import os
import subprocess
import unittest

from settings import COMMANDS
from targets import TARGET

LIBRARY = os.path.join(TARGET.build, "libzantir64.so")


def dynamic(*options):
    """The lines of nm about the dynamic symbols."""
    output = subprocess.run(["nm", "-D", "--format=posix", *options, LIBRARY], check=True, capture_output=True,
                            text=True, env={**os.environ, "LC_ALL": "C"}).stdout
    return [line.split() for line in output.splitlines()]


class ExportTest(unittest.TestCase):
    def test_seventeen_functions_and_nothing_else(self):
        defined = {name.split("@")[0]: kind for name, kind, *_ in dynamic("--defined-only")}
        self.assertEqual(dict.fromkeys([*COMMANDS, "VersaoDllZantir"], "T"),
                         {name: kind for name, kind in defined.items() if kind != "A"})

    def test_runtime_of_the_compiler_is_inside(self):
        output = subprocess.run(["objdump", "-p", LIBRARY], check=True, capture_output=True, text=True).stdout
        needed = {line.split()[1] for line in output.splitlines() if line.split()[:1] == ["NEEDED"]}
        self.assertLessEqual(needed, {"libc.so.6", "libm.so.6", "ld-linux-x86-64.so.2"})


if __name__ == "__main__":
    unittest.main()

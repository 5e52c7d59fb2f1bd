"""scripts/wine, which starts every Windows program of the project."""
import os
import subprocess
import unittest

from targets import TARGET, TOP

# ADDR_NO_RANDOMIZE of Linux's personality(2).
NO_RANDOM_PLACES = 0x0040000
ALLOWED = subprocess.run(["setarch", os.uname().machine, "--addr-no-randomize", "true"], check=False).returncode == 0


def processes_of(prefix):
    """The personality of each process of a Wine prefix, by its number."""
    found = {}
    for number in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{number}/environ", "rb") as file:
                ours = f"WINEPREFIX={prefix}".encode() in file.read().split(b"\0")
            if ours and os.path.basename(os.readlink(f"/proc/{number}/exe")).startswith("wine64"):
                with open(f"/proc/{number}/personality", encoding="ascii") as file:
                    found[int(number)] = int(file.read(), 16)
        except OSError:  # it has ended meanwhile
            continue
    return found


class WineTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        TARGET.script("wine")

    @unittest.skipUnless(ALLOWED, "this sandbox keeps the places of memory random")
    def test_no_process_finds_the_page_that_it_needs_taken(self):
        program = subprocess.Popen([os.path.join(TOP, "scripts", "wine"), "cmd"], env=TARGET.environment,
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.addCleanup(program.communicate)
        self.assertNotEqual(b"", program.stdout.read(1))
        found = processes_of(TARGET.prefix)
        self.assertIn(program.pid, found)
        self.assertGreater(len(found), 1, "Wine's own processes are not there")
        self.assertEqual([], [number for number, personality in found.items() if not personality & NO_RANDOM_PLACES])

    def test_what_a_program_returns_is_returned(self):
        for code in (0, 1, 77):
            self.assertEqual(code, TARGET.script("wine", "cmd", "/c", f"exit {code}", check=False).returncode)


if __name__ == "__main__":
    unittest.main()

"""The library loaded and given back over and over in one process."""
import unittest

from cases import DeviceCase, setUpModule  # noqa: F401
from responder import Responder
from targets import TARGET

LOADS = 1000

# Each exchange leaves one handle to the machine-wide lock open, on purpose; where unloading does not end that, neither
# does loading anew. On Linux the handles of a process are one descriptor, which goes with the library.
# Pages of 4 KiB: the records of the lock and of the devices, two kilobytes a load, stay too; Wine's own loader adds as much on a busy
# machine (660 pages were seen on a quiet one, 1224 on a busy one). What the library itself would leave behind is larger.
MOST_PAGES = 2048

# The system's allocator reserves address space for its threads in pieces of 64 MB, of which one may come late.
RESERVED_PAGES = 16384

HANDLES_A_LOAD = 1 if TARGET.name == "wine" else 0


class UnloadTest(DeviceCase):
    def usage(self, client):
        """What the process has: handles, memory mappings, pages of address space, pages of its own."""
        with open(f"/proc/{client.process.pid}/maps", encoding="ascii", errors="replace") as file:
            mappings = len(file.readlines())
        with open(f"/proc/{client.process.pid}/statm", encoding="ascii") as file:
            size, resident, shared, *_ = map(int, file.read().split())
        return client.handles(), mappings, size, resident - shared

    def load_and_call(self, client):
        """The call comes from a thread that ends: only then Linux really takes the library out of the process."""
        client.start_threads(1, 1)
        self.assertEqual(1, client.finish_threads())
        client.reload()

    def test_a_thousand_loads_with_a_call_each(self):
        client = self.start_client()
        self.addCleanup(client.close)
        with Responder(self.line) as responder:
            for _ in range(20):
                self.load_and_call(client)
            before = self.usage(client)
            for _ in range(LOADS):
                self.load_and_call(client)
            after = self.usage(client)
            self.assertEqual(LOADS + 20, responder.answered)
        self.assertEqual(before[0] + LOADS * HANDLES_A_LOAD, after[0], "handles")
        self.assertLessEqual(after[1] - before[1], 4, "mappings")
        self.assertLessEqual(after[2] - before[2], RESERVED_PAGES + MOST_PAGES, "address space")
        self.assertLessEqual(after[3] - before[3], MOST_PAGES, "memory of its own")

    def test_loads_by_a_thread_that_stays(self):
        with Responder(self.line):
            self.client.reload()
            self.client.call("ConsultarSAT", 1)
            before = self.usage(self.client)
            for number in range(50):
                self.client.reload()
                self.assertEqual(b"%06d|08000|ok||" % number, self.client.call("ConsultarSAT", number).text)
            after = self.usage(self.client)
        self.assertEqual(before[0] + 50 * HANDLES_A_LOAD, after[0], "handles")
        self.assertLessEqual(after[1] - before[1], 4, "mappings")


if __name__ == "__main__":
    unittest.main()

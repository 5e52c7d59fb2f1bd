"""Calls from several threads of one process, under the caller's own lock."""
import unittest

from cases import DeviceCase, setUpModule  # noqa: F401
from responder import Responder
from targets import TARGET

THREADS = 8
CALLS = 25


class ThreadsTest(DeviceCase):
    def run_threads(self, count, calls):
        self.client.start_threads(count, calls)
        self.assertEqual(count * calls, self.client.finish_threads())

    def test_each_call_gets_its_own_reply_whatever_thread_makes_it(self):
        with Responder(self.line) as responder:
            self.run_threads(THREADS, CALLS)
            self.assertEqual(THREADS * CALLS, responder.answered)

    def test_threads_that_end_leave_the_lock_to_the_next_and_to_other_processes(self):
        other = self.start_client()
        with Responder(self.line):
            for number in range(20):
                self.run_threads(2, 1)
                # Both within moments: an abandoned or kept lock would cost seconds, or be refused.
                for client in (other, self.client):
                    reply = client.call("ConsultarSAT", number)
                    self.assertEqual(b"%06d|08000|ok||" % number, reply.text)
                    self.assertLess(reply.milliseconds, 1500)
        other.close()

    def test_threads_leave_no_handles_of_their_own(self):
        a_call = 1 if TARGET.name == "wine" else 0
        with Responder(self.line):
            self.run_threads(2, 2)
            before = self.client.handles()
            self.run_threads(THREADS, CALLS)
            self.assertEqual(before + THREADS * CALLS * a_call, self.client.handles())


if __name__ == "__main__":
    unittest.main()

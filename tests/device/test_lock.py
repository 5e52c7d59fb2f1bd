"""The machine-wide lock: one exchange at a time, whichever process makes it."""
import fcntl
import os
import termios
import unittest

import settings
from cases import DeviceCase, error_text, setUpModule  # noqa: F401
from targets import TARGET

BUSY = error_text(-1002, b"Falha ao Durante Lock do SAT", 1986)


class LockCase(DeviceCase):
    def second_client(self, folder=None):
        client = TARGET.client(folder or self.folder)
        self.addCleanup(client.close)
        # Its first call reads the settings, so that the next one goes to the lock at once.
        client.call("VersaoDllZantir")
        return client

    def hold(self, client):
        """The client comes to the middle of an exchange and stays there."""
        client.start("ConsultarSAT", 1)
        self.device.receive_short()
        self.device.ack()
        self.line.wait_until_taken()

    def let_go(self, client):
        self.device.reply(b"000001|08000|first||")
        self.assertEqual(b"000001|08000|first||", client.finish().text)


class LockTest(LockCase):
    def test_exchange_of_another_process_is_waited_for_three_seconds(self):
        other = self.second_client()
        self.hold(self.client)
        reply = other.call("ConsultarSAT", 2)
        self.assertEqual(BUSY, reply.text)
        self.assert_between(2.95, 3.0, reply.milliseconds / 1000)
        self.line.stays_quiet()
        self.let_go(self.client)
        self.assert_works()

    def test_exchange_that_ends_in_time_is_followed_by_the_waiting_one(self):
        other = self.second_client()
        self.hold(self.client)
        other.start("ConsultarSAT", 2)
        self.line.stays_quiet(0.5)
        self.let_go(self.client)
        command = self.device.answer(b"000002|08000|second||")
        self.assertEqual(b"\x02ConsultarSAT|000002", command[:-2])
        self.assertEqual(b"000002|08000|second||", other.finish().text)

    def test_process_that_dies_in_the_middle_leaves_the_lock_free(self):
        other = self.second_client()
        self.hold(other)
        other.kill()
        # A line whose last user is gone forgets that it was taken for one user alone; ours never is, since the test
        # holds it open too.
        fcntl.ioctl(self.line.slave, termios.TIOCNXCL)
        self.assert_works()

    def test_process_that_dies_while_another_waits_lets_that_one_in(self):
        other = self.second_client()
        self.hold(other)
        self.client.start("ConsultarSAT", 7)
        self.line.stays_quiet(0.3)
        other.kill()
        fcntl.ioctl(self.line.slave, termios.TIOCNXCL)
        command = self.device.answer(b"000007|08000|ok||")
        self.assertEqual(b"\x02ConsultarSAT|000007", command[:-2])
        self.assert_reply(b"000007|08000|ok||")

    def test_version_is_told_while_another_process_has_the_lock(self):
        other = self.second_client()
        self.hold(self.client)
        self.assertEqual(b"ZANTIR DLL Ver. 02.00", other.call("VersaoDllZantir").text)
        self.let_go(self.client)


class KeptLockTest(LockCase):
    """Where the emulator is on and its port is not named, the lock stays with the thread: on purpose."""

    def test_thread_keeps_the_lock_until_it_ends(self):
        TARGET.remove_devices()
        self.addCleanup(TARGET.prepare)
        port, connection = TARGET.connect_as_emulator(self.line)
        self.configure(**connection)

        folder = self.path("other")
        os.mkdir(folder)
        with open(os.path.join(folder, "SAT.ini"), "w", encoding="latin-1") as file:
            file.write(settings.compose(emulator_port=""))
        other = self.second_client(folder)
        # No error text: the caller gets the command back.
        self.assertEqual(b"\x02ConsultarSAT|000001\x03", other.call("ConsultarSAT", 1).text)
        self.assertEqual(BUSY, self.client.call("ConsultarSAT", 1).text)
        # The thread itself takes the lock again.
        self.assertEqual(b"\x02ConsultarSAT|000002\x03", other.call("ConsultarSAT", 2).text)
        other.kill()
        self.assert_works()


if __name__ == "__main__":
    unittest.main()

"""SAT.ini and the log folder as a file system may offer them: the library works with what it can read and write."""
import os
import shutil
import subprocess
import tempfile
import unittest
from datetime import datetime, timedelta, timezone

import settings
from cases import DeviceCase, error_text, setUpModule  # noqa: F401
from targets import TARGET

NO_DEVICE = error_text(-1000, b"SAT Nao encontrado!!!", 2013)

# Somebody who may not do everything. An administrator is refused nothing, so tests of refusals run as this one.
NOBODY = 65534


class FileSystemCase(DeviceCase):
    def setUp(self):
        super().setUp()
        self.place = tempfile.mkdtemp(prefix="zantir-")
        os.chmod(self.place, 0o777)
        self.addCleanup(shutil.rmtree, self.place, ignore_errors=True)

    def put(self, *names, data=None, **changes):
        """Writes a file of the folder; SAT.ini that leads to the device when no data are given."""
        if data is None:
            data = settings.compose(**{**self.connection, **changes}).encode()
        path = os.path.join(self.place, *names)
        with open(path, "wb") as file:
            file.write(data)
        return path

    def in_place(self, **options):
        client = TARGET.client(self.place, **options)
        self.addCleanup(client.close)
        return client

    def as_nobody(self):
        """A client that the system may refuse something."""
        if os.getuid() != 0:
            return self.in_place()
        program = os.path.join(TARGET.build, "zantir-call")
        try:
            subprocess.run([program], user=NOBODY, capture_output=True, check=False)
        except PermissionError:
            self.skipTest(f"only an administrator may come to {program}")
        return self.in_place(user=NOBODY)

    def assert_exchange(self, client, number):
        client.start("EnviarDadosVenda", number, b"12345678", b"<CFe/>")
        self.device.receive_short()
        self.device.ack()
        text = b"%06d|06000|\xff\x80|Emitido||" % number
        self.device.reply(text)
        self.assertEqual(text, client.finish().text)

    def assert_defaults(self, client):
        """Without settings a device that is present is found; a pseudo terminal on Linux never is."""
        for number in (1, 2):
            if TARGET.name == "wine":
                self.assert_exchange(client, number)
            else:
                self.assertEqual(NO_DEVICE, client.call("ConsultarSAT", number).text)


class SettingsFileTest(FileSystemCase):
    def test_folder_in_its_place(self):
        os.mkdir(os.path.join(self.place, "SAT.ini"))
        self.assert_defaults(self.in_place())
        self.assertEqual([], os.listdir(os.path.join(self.place, "SAT.ini")))
        self.assertFalse([name for name in os.listdir(self.place) if name.endswith((".tmp", ".TMP"))])

    def test_binary_file(self):
        self.put("SAT.ini", data=bytes(byte * 7 % 256 for byte in range(100000)))
        self.assert_defaults(self.in_place())

    def test_sixty_four_megabytes_in_front_of_the_settings(self):
        text = settings.compose(**self.connection).encode()
        self.put("SAT.ini", data=b"\n" * (64 << 20) + text)
        client = self.in_place()
        self.assertEqual(b"ZANTIR DLL Ver. 02.00", client.call("VersaoDllZantir", within=60).text)
        self.assert_exchange(client, 1)

    def test_hundred_thousand_characters_in_every_value(self):
        text = settings.compose(**self.connection, log_path="L" + "g" * 100000, receipts="R" * 100000)
        text = text.replace("115200,8,N,1", "1" * 100000).replace("SAT_api.log", "n" * 100000)
        self.put("SAT.ini", data=text.encode())
        client = self.in_place()
        self.assert_exchange(client, 1)
        self.assert_exchange(client, 2)

    def test_file_that_vanishes_and_comes_back(self):
        path = self.put("SAT.ini")
        client = self.in_place()
        self.assert_exchange(client, 1)
        os.remove(path)
        # Where discovery finds nothing, the emulator's port is asked for at each exchange and is not there now.
        if TARGET.name == "wine":
            self.assert_exchange(client, 2)
        else:
            self.assertEqual(b"\x02ConsultarSAT|000002\x03", client.call("ConsultarSAT", 2).text)
        self.assertFalse(os.path.exists(path))
        self.put("SAT.ini")
        self.assert_exchange(client, 3)

    @unittest.skipUnless(TARGET.name == "linux", "there, nobody is refused")
    def test_file_that_may_not_be_read(self):
        os.chmod(self.put("SAT.ini"), 0)
        self.assert_defaults(self.as_nobody())

    @unittest.skipUnless(TARGET.name == "linux", "there is no such thing there")
    def test_pipe_that_nobody_writes_to(self):
        os.mkfifo(os.path.join(self.place, "SAT.ini"))
        self.assert_defaults(self.in_place())

    @unittest.skipUnless(TARGET.name == "wine", "there is no such thing here")
    def test_file_that_another_program_keeps_to_itself(self):
        path = self.put("SAT.ini", log_mode=0)
        keeper = self.in_place()
        keeper.keep("SAT.ini")
        client = self.in_place()
        self.assert_defaults(client)
        # The default mode logs errors, the file says not to.
        self.assertTrue(self.logs())
        keeper.close()
        with open(path, "rb") as file:
            self.assertEqual(settings.compose(**{**self.connection, "log_mode": 0}).encode(), file.read())

    def logs(self):
        return [name for _, _, names in os.walk(self.place) for name in names if name.endswith("_SAT_api.log")]

    @unittest.skipUnless(TARGET.name == "linux", "there, nobody is refused")
    def test_folder_that_takes_no_file(self):
        """SAT.ini cannot be written with its defaults, nor can any log."""
        # The client's own file of errors is there already when it starts.
        self.put("client-errors.txt", data=b"")
        os.chmod(self.place, 0o555)
        self.assert_defaults(self.as_nobody())
        self.assertEqual(["client-errors.txt"], os.listdir(self.place))


class LogFolderTest(FileSystemCase):
    def setUp(self):
        super().setUp()
        self.put("SAT.ini", log_mode=5)

    def assert_two_exchanges(self, client):
        self.assert_exchange(client, 1)
        self.assert_exchange(client, 2)

    def test_file_in_its_place(self):
        self.put("Log", data=b"a file")
        self.assert_two_exchanges(self.in_place())
        with open(os.path.join(self.place, "Log"), "rb") as file:
            self.assertEqual(b"a file", file.read())

    def test_folders_in_place_of_the_logs(self):
        for name in self.names():
            os.makedirs(os.path.join(self.place, "Log", name))
        self.assert_two_exchanges(self.in_place())

    @unittest.skipUnless(TARGET.name == "linux", "there, nobody is refused")
    def test_folder_that_takes_no_file(self):
        os.mkdir(os.path.join(self.place, "Log"), 0o555)
        os.chmod(self.line.name, 0o666)
        self.assert_two_exchanges(self.as_nobody())
        self.assertEqual([], os.listdir(os.path.join(self.place, "Log")))

    def test_full_disk_under_the_logs(self):
        os.mkdir(os.path.join(self.place, "Log"))
        for name in self.names():
            os.symlink("/dev/full", os.path.join(self.place, "Log", name))
        self.assert_two_exchanges(self.in_place())

    @unittest.skipUnless(TARGET.name == "linux", "there, a pipe is opened by the system below")
    def test_pipes_in_place_of_the_logs(self):
        os.mkdir(os.path.join(self.place, "Log"))
        for name in self.names():
            os.mkfifo(os.path.join(self.place, "Log", name))
        self.assert_two_exchanges(self.in_place())

    def names(self):
        """The logs of today, whatever the time zone, and of the next midnight."""
        now = datetime.now(timezone.utc)
        for day in (now - timedelta(days=1), now, now + timedelta(days=1)):
            for name in ("SAT_api.log", "SAT_ProtocolLog.txt"):
                yield f"{day:%Y%m%d}_{name}"


class FullDiskTest(FileSystemCase):
    def test_no_room_at_all(self):
        """A file system of four pages, all of them taken."""
        made = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=16k,mode=777", "tmpfs", self.place],
                              capture_output=True, check=False)
        if made.returncode != 0:
            self.skipTest("no file system can be mounted here")
        self.addCleanup(subprocess.run, ["umount", "-l", self.place], check=False)
        self.put("SAT.ini", log_mode=5)
        self.put("client-errors.txt", data=b"")
        with open(os.path.join(self.place, "filler"), "wb", buffering=0) as file:
            try:
                while True:
                    file.write(bytes(512))
            except OSError:
                pass
        client = self.in_place()
        self.assert_exchange(client, 1)
        self.assert_exchange(client, 2)
        # Nor can the default file be written: it is missing then, and never half there.
        os.remove(os.path.join(self.place, "SAT.ini"))
        with open(os.path.join(self.place, "filler"), "ab", buffering=0) as file:
            try:
                while True:
                    file.write(bytes(512))
            except OSError:
                pass
        self.assert_defaults(self.in_place())
        self.assertFalse(os.path.exists(os.path.join(self.place, "SAT.ini")))


if __name__ == "__main__":
    unittest.main()

"""The two systems that the library is for, with a line to the device and a folder for the library."""
import os
import shutil
import subprocess
import tempfile

from programs import LINUX, TOP, WINDOWS, Device, Side

PORT = "COM7"


# The settings that the library writes where it finds none, as a test holds them against it.
DEFAULT_SETTINGS = os.path.join(TOP, "tests", "device", "golden", "SAT.ini")


def settings(log_mode, emulator_port=""):
    """SAT.ini: the default one but for the port and the level of the logs."""
    with open(DEFAULT_SETTINGS, encoding="ascii") as file:
        text = file.read()
    changes = {"LogMode=1": f"LogMode={log_mode}"}
    if emulator_port:
        changes["SerialPortWindows=CNCA0"] = f"SerialPortWindows={emulator_port}"
        # The section's switch is the first of that name.
        changes["Enable=0"] = "Enable=1"
    for old, new in changes.items():
        if old not in text:
            raise ValueError(f"the default settings have no {old}")
        text = text.replace(old, new, 1)
    return text


class Machine:
    """`with` one of these: a device on a line, and the sides on request. Everything is gone behind it."""

    def __enter__(self):
        work = os.path.join(TOP, "build", "bench")
        os.makedirs(work, exist_ok=True)
        self._folder = tempfile.mkdtemp(prefix="work-", dir=work)
        self._sides = []
        self.device = Device()
        try:
            self.connect()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        for side in self._sides:
            side.close()
        self.device.close()
        shutil.rmtree(self._folder, ignore_errors=True)

    def start(self, command, folder):
        """A side, which ends with the machine at the latest."""
        side = Side(command, folder, self.environment)
        self._sides.append(side)
        return side

    def shop(self, log_mode):
        """A folder for the library, with its settings."""
        folder = tempfile.mkdtemp(dir=self._folder)
        with open(os.path.join(folder, "SAT.ini"), "w", encoding="ascii", newline="\n") as file:
            file.write(settings(log_mode, self.emulator_port))
        return folder

    def library(self, log_mode, folder=None):
        """A program that calls the library, in a folder of its own unless one is given."""
        return self.start([*self.program("bench_library_side"), self.product], folder or self.shop(log_mode))

    def minimal(self):
        """The same exchanges without the library."""
        return self.start([*self.program("bench_minimal_side"), self.place], self._folder)

    def end(self, side):
        self._sides.remove(side)
        side.close()


class Native(Machine):
    """The shared object on this system. Pseudo terminals are not discovered, so the emulator's port leads there."""

    name = "native"
    environment = None
    product = os.path.join(LINUX, "libzantir64.so")

    def connect(self):
        self.place = self.device.place
        self.emulator_port = "COM%d" % (1000 + int(self.place.rsplit("/", 1)[1]))

    def program(self, name):
        return [os.path.join(LINUX, name)]


class Wine(Machine):
    """The DLL under Wine. The line is a present device, which the library finds."""

    name = "wine"
    product = "Z:" + os.path.join(WINDOWS, "ZANTIR64.dll").replace("/", "\\")
    environment = {**os.environ, "ZANTIR_WINEPREFIX": os.path.join(TOP, "build", "wine-bench")}
    emulator_port = ""
    place = f"\\\\.\\{PORT}"

    def connect(self):
        subprocess.run([os.path.join(TOP, "scripts", "wine-port"), PORT, self.device.place, f"ZANTIR SAT ({PORT})"],
                       env=self.environment, check=True)

    def program(self, name):
        return [os.path.join(TOP, "scripts", "wine"), os.path.join(WINDOWS, name + ".exe")]

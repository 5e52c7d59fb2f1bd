"""The two products under test. ZANTIR_TEST_TARGET says which: linux or wine."""
import os
import shlex
import subprocess
import tempfile

from client import Client
from emulator import Emulator
from pair import Pair

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

DEVICES = r"HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\USB\VID_0000&PID_0001"
PORTS_CLASS = "{4d36e978-e325-11ce-bfc1-08002be10318}"


class Linux:
    """libzantir64.so. No pseudo terminal is discovered, so the emulator's port leads to it."""

    name = "linux"
    newline = b"\n"
    build = os.environ.get("ZANTIR_TEST_BUILD", os.path.join(TOP, "build", "linux"))

    def prepare(self):
        pass

    def remove_devices(self):
        pass

    def connect(self, line):
        """Makes the line a port; its name, and the settings that lead to it."""
        number = 1000 + int(line.name.rsplit("/", 1)[1])
        return f"COM{number}", {"emulator_port": f"COM{number}"}

    def connect_as_emulator(self, line):
        return self.connect(line)

    def emulator(self, *options):
        """sat-emulator, ready; the port that leads to it, and the settings that lead to the port."""
        emulator = Emulator([os.path.join(self.build, "sat-emulator")], options=["--json", *options])
        return emulator, *self.where(emulator.event("ready"))

    def where(self, ready):
        """The port of an emulator that has just said that it is ready."""
        port = "COM%d" % (1000 + int(ready["address"].rsplit("/", 1)[1]))
        return port, {"emulator_port": port}

    def client(self, folder, user=None):
        # A program that watches another one, such as valgrind.
        wrapper = shlex.split(os.environ.get("ZANTIR_TEST_WRAPPER", ""))
        return Client([*wrapper, os.path.join(self.build, "zantir-call"), os.path.join(self.build, "libzantir64.so")],
                      folder, user=user)


def once_more(start):
    """Starts a program under Wine. A process that is killed in the middle of a request now and then takes Wine's own
    server along, and with it the program that starts just then, which is started anew."""
    try:
        return start()
    except AssertionError as error:
        if "wine client error" not in str(error):
            raise
        return start()


class Wine:
    """ZANTIR64.dll. The line is COM7, a present device that carries the mark."""

    name = "wine"
    newline = b"\r\n"
    build = os.environ.get("ZANTIR_TEST_BUILD", os.path.join(TOP, "build", "windows"))
    prefix = os.environ.get("ZANTIR_WINEPREFIX", os.path.join(TOP, "build", "wine-tests"))
    port = "COM7"
    friendly = "ZANTIR SAT (COM7)"

    def __init__(self):
        self.environment = {**os.environ, "ZANTIR_WINEPREFIX": self.prefix}

    def script(self, name, *arguments, check=True):
        def start():
            # The first program in a prefix leaves the Wine server behind, which must not hold on to a pipe of ours.
            with tempfile.TemporaryFile() as said:
                result = subprocess.run([os.path.join(TOP, "scripts", name), *arguments], env=self.environment,
                                        check=False, stdin=subprocess.DEVNULL, stdout=said, stderr=said)
                said.seek(0)
                if check and result.returncode != 0:
                    raise AssertionError(f"{name} {arguments}: {result.returncode}, saying {said.read()[-2000:]!r}")
                return result

        return once_more(start)

    def prepare(self):
        self.script("wine")
        self.register([("0001", self.port, self.friendly)])

    def remove_devices(self):
        self.register([])

    def register(self, devices):
        """Makes these the present serial devices: (instance, port name or None, friendly name or None)."""
        text = ["Windows Registry Editor Version 5.00", "", f"[-{DEVICES}]", ""]
        for instance, port, friendly in devices:
            text += [f"[{DEVICES}\\{instance}]", f'"ClassGUID"="{PORTS_CLASS}"', '"Class"="Ports"']
            if friendly is not None:
                text.append(f'"FriendlyName"="{friendly}"')
            text += ["", f"[{DEVICES}\\{instance}\\Device Parameters]"]
            if port is not None:
                text.append(f'"PortName"="{port}"')
            text.append("")
        path = os.path.join(self.prefix, "devices.reg")
        with open(path, "w", encoding="ascii") as file:
            file.write("\n".join(text))
        self.script("wine", "regedit", "/S", path)

    def link(self, port, path):
        """Puts a device file behind a port's name; None takes the port away."""
        place = os.path.join(self.prefix, "dosdevices", port.lower())
        if os.path.lexists(place):
            os.remove(place)
        if path is not None:
            os.symlink(path, place)

    def connect(self, line):
        self.link(self.port, line.name)
        return self.port, {}

    def connect_as_emulator(self, line):
        """Another port, which no present device has."""
        self.link("COM9", line.name)
        return "COM9", {"emulator_port": "COM9"}

    def emulator(self, *options):
        """The Windows program at COM12, one end of a pair whose other end is the device's port; COM13 and COM8 are
        another pair."""
        self.pairs = {"COM12": Pair(), "COM13": Pair()}
        for (port, pair), near in zip(self.pairs.items(), (self.port, "COM8")):
            self.link(port, pair.far)
            self.link(near, pair.near)
        def start():
            emulator = Emulator([os.path.join(TOP, "scripts", "wine"), os.path.join(self.build, "sat-emulator.exe")],
                                self.environment, ["--json", "--port", "COM12", *options])
            return emulator, *self.where(emulator.event("ready", 60))

        return once_more(start)

    def where(self, ready):
        port = {"COM12": self.port, "COM13": "COM8"}[ready["address"]]
        return port, {"fixed_port": port}

    def client(self, folder):
        library = "Z:" + os.path.join(self.build, "ZANTIR64.dll").replace("/", "\\")
        program = os.path.join(self.build, "zantir-call.exe")
        command = [os.path.join(TOP, "scripts", "wine"), program, library]
        return once_more(lambda: Client(command, folder, self.environment))


TARGET = {"linux": Linux, "wine": Wine}[os.environ.get("ZANTIR_TEST_TARGET", "linux")]()

"""How each kind of row is measured. Every measure takes the two sides in turn and returns pairs (measured, limit)."""
import json
import os
import subprocess
import tempfile
import time

from figures import extremes
from machines import Native, Wine
from programs import LINUX, TOP, ProgramError

MS = 1e6  # nanoseconds
MIB = 1 << 20

CONSULT = ("ConsultarSAT", 0, 0)
SALE = ("EnviarDadosVenda", 5120, 8192)  # a sale of 5 KB, and a reply with the signed receipt
PACED_SALE = ("EnviarDadosVenda", 20480, 30720)

# What the protocol demands of an exchange whose reply fills no block: a millisecond behind the write, the 10 ms that
# end the last read, 2 ms behind the close.
WAITS_MS = 13.0
# On a slow line the first of these passes while the bytes are under way.
WAITS_BEHIND_THE_WIRE_MS = 12.0

# After so long a file system's clock has gone on, with some room.
SETTLED_S = 2.5

BAUD = 115200
# The fastest that a device on a full-speed USB line is: a megabyte a second.
FASTEST_BAUD = 10_000_000
# Frames of texts of 10 KB, 100 KB, 1 MB and 8 MB. None of them ends with a full block, which needs no wait to end it.
REPLY_SIZES = (10243, 102403, MIB + 3, 8 * MIB + 3)


class Stage:
    """The machines and sides of a run, made when first asked for and used by all rows. Close it with `with`."""

    def __init__(self):
        self._machines = {}
        self._sides = {}

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for machine in self._machines.values():
            machine.__exit__()

    def machine(self, kind):
        if kind not in self._machines:
            self._machines[kind] = kind().__enter__()
        return self._machines[kind]

    def library(self, kind, log_mode):
        return self._side(kind, log_mode, lambda machine: machine.library(log_mode))

    def minimal(self, kind):
        return self._side(kind, None, lambda machine: machine.minimal())

    def _side(self, kind, log_mode, start):
        if (kind, log_mode) not in self._sides:
            side = start(self.machine(kind))
            self.machine(kind).device.set("reply", 0)
            # The first call of a process makes ready what later ones find.
            side.exchange("ConsultarSAT")
            if log_mode is not None:
                # It also makes the day's logs, whose folder the library looks through at each call until a further
                # change of it would show: once a day in a shop, but half of a row here.
                time.sleep(SETTLED_S)
                side.exchange("ConsultarSAT")
            self._sides[kind, log_mode] = side
        return self._sides[kind, log_mode]


def checked(side, command, size, count=1):
    """An exchange on a line where something has to arrive."""
    wall, processor, length = side.exchange(command, size, count, within=60 + count)
    if length == 0:
        raise ProgramError("the reply is empty")
    return wall, processor


def exchanges(kind, log_mode, exchange):
    """Milliseconds of a call, beside the same exchange without the library."""
    command, size, reply = exchange

    def measure(stage, pairs):
        library, minimal = stage.library(kind, log_mode), stage.minimal(kind)
        stage.machine(kind).device.set("reply", reply)
        # One exchange is short, so a few more of them cost little and steady the median.
        return [tuple(checked(side, command, size)[0] / MS for side in (library, minimal)) for _ in range(4 * pairs)]

    return measure


def after_a_pause(kind, exchange):
    """The same with longer between two calls than the library takes the present devices for known. Each pair takes
    three seconds, so there are few."""
    command, size, reply = exchange

    def measure(stage, pairs):
        library, minimal = stage.library(kind, 1), stage.minimal(kind)
        stage.machine(kind).device.set("reply", reply)
        result = []
        for _ in range(max(3, pairs // 3)):
            time.sleep(3)
            result.append(tuple(checked(side, command, size)[0] / MS for side in (library, minimal)))
        return result

    return measure


def processor_time(exchange):
    """Processor milliseconds of an exchange, from runs of 14: with 15 pairs above 200 exchanges a side."""
    command, size, reply = exchange
    run = 14

    def measure(stage, pairs):
        library, minimal = stage.library(Native, 1), stage.minimal(Native)
        stage.machine(Native).device.set("reply", reply)
        return [tuple(checked(side, command, size, run)[1] / MS / run for side in (library, minimal))
                for _ in range(pairs)]

    return measure


def memory(kind, resident_kind="VmRSS"):
    """Resident megabytes of a process that has made 100 sales. It hardly varies: a fifth of the pairs is enough."""
    command, size, reply = SALE

    def resident(machine, side):
        checked(side, command, size, 100)
        result = side.resident_bytes(resident_kind) / MIB
        machine.end(side)
        return result

    def measure(stage, pairs):
        machine = stage.machine(kind)
        machine.device.set("reply", reply)
        return [(resident(machine, machine.library(1)), resident(machine, machine.minimal()))
                for _ in range(max(1, pairs // 5))]

    return measure


def paced_sale(stage, pairs):
    """Milliseconds of a large sale on a line of 115200 baud, beside what its bytes take there and the waits."""
    command, size, reply = PACED_SALE
    side = stage.library(Native, 1)
    device = stage.machine(Native).device
    device.set("reply", reply)
    device.set("baud", BAUD)
    device.counts()
    result = []
    for _ in range(pairs):
        elapsed = checked(side, command, size)[0] / MS
        wire_bytes = sum(device.counts())
        result.append((elapsed, wire_bytes * 10_000 / BAUD + WAITS_BEHIND_THE_WIRE_MS))
    device.set("baud", 0)
    return result


def settled(side, device, reply, baud):
    """Nanoseconds of an exchange whose reply has this size, behind one like it: what a call leaves to the next one,
    such as a buffer to be cleared or a log to be moved aside, is counted for its own size."""
    device.set("reply", reply)
    device.set("baud", 0)
    checked(side, *CONSULT[:2])
    device.set("baud", baud)
    device.counts()
    elapsed = checked(side, *CONSULT[:2])[0]
    device.set("baud", 0)
    return elapsed


def reply_sizes(log_mode):
    """Nanoseconds a byte, net of the waits, for the size of reply that costs most and the one that costs least, on
    the fastest line that a device has. The largest reply takes 8 s, in which the machine's noise evens out: a fifth
    of the rounds."""

    def measure(stage, pairs):
        side = stage.library(Native, log_mode)
        device = stage.machine(Native).device

        def per_byte(size):
            elapsed = settled(side, device, size, FASTEST_BAUD)
            return (elapsed - WAITS_MS * MS) / sum(device.counts())

        rounds = []
        for number in range(pairs):
            values = [per_byte(size) for size in REPLY_SIZES[:-1]]
            rounds.append([*values, per_byte(REPLY_SIZES[-1]) if number % 5 == 0 else rounds[-1][-1]])
        return extremes(rounds)

    return measure


def reply_growth(log_mode):
    """Nanoseconds that each further byte costs on an endlessly fast line, where nothing hides them: from 1 to 8 MB,
    beside from 100 KB to 1 MB."""

    def measure(stage, pairs):
        side = stage.library(Native, log_mode)
        device = stage.machine(Native).device
        small, middle, large = REPLY_SIZES[1:]
        result = []
        for _ in range(pairs):
            times = {size: settled(side, device, size, 0) for size in (small, middle, large)}
            result.append(((times[large] - times[middle]) / (large - middle),
                           (times[middle] - times[small]) / (middle - small)))
        return result

    return measure


def first_call(stage, pairs):
    """Milliseconds from before the library is loaded until the first reply is there, each in a new process."""
    machine = stage.machine(Wine)
    machine.device.set("reply", 0)
    # Keeps the system's own server awake between the processes.
    stage.minimal(Wine)

    def first(start):
        side = start()
        elapsed = (side.ready_ns + checked(side, *CONSULT[:2])[0]) / MS
        machine.end(side)
        return elapsed

    # Some three hundred requests to that server are in each: a minute in which the host is busy must not be all of it.
    # A till's program starts where it ran before: settings, folder and logs of the day are there.
    shop = machine.shop(1)
    first(lambda: machine.library(1, shop))
    # As in the morning, when nobody has changed settings or logs for a while.
    time.sleep(SETTLED_S)
    return [(first(lambda: machine.library(1, shop)), first(machine.minimal)) for _ in range(4 * pairs)]


UNITS = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}


def benchmarked(program, measured, limit):
    """Milliseconds of two routines of a Google Benchmark program, which runs both once a pair."""

    def measure(_, pairs):
        with tempfile.TemporaryDirectory() as folder:
            return [run_benchmarks(folder, program, measured, limit) for _ in range(pairs)]

    return measure


def run_benchmarks(folder, program, *names):
    command = [os.path.join(LINUX, program), "--benchmark_format=json", "--benchmark_min_time=0.03",
               "--benchmark_filter=^(%s)$" % "|".join(names)]
    done = subprocess.run(command, cwd=folder, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    times = {}
    for entry in json.loads(done.stdout)["benchmarks"]:
        if entry.get("error_occurred"):
            raise ProgramError(f"{entry['name']}: {entry['error_message']}")
        times[entry["name"]] = entry["real_time"] * UNITS[entry["time_unit"]]
    return tuple(times[name] for name in names)


def commit():
    """The commit that is measured, with a mark when the sources differ from it."""
    done = subprocess.run(["git", "-C", TOP, "describe", "--always", "--dirty"], stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, check=False)
    return done.stdout.decode().strip()

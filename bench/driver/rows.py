"""The rows of the table."""
import dataclasses
from collections.abc import Callable

import measures
from figures import Goal
from machines import Native, Wine
from measures import CONSULT, SALE

MINIMAL = "minimal program"


@dataclasses.dataclass(frozen=True)
class Row:
    """`measure` takes the stage and the number of pairs, and returns pairs in `unit`."""
    name: str
    what: str
    limit_is: str
    unit: str
    goal: Goal
    measure: Callable


def exchange_rows():
    commands = (("consult", "ConsultarSAT", CONSULT), ("sale", "5 KB sale", SALE))
    bounds = {(Native, 1): 1.03, (Wine, 1): 1.05, (Native, 5): 1.15, (Wine, 5): 1.40}
    for (machine, log_mode), bound in bounds.items():
        for name, what, exchange in commands:
            yield Row(f"{name}-{machine.name}-log{log_mode}", f"{what}, {machine.name}, LogMode={log_mode}", MINIMAL,
                      "ms", Goal("ratio", bound), measures.exchanges(machine, log_mode, exchange))
    # Then the library asks the system for its present devices, which a program does without that knows its port.
    yield Row("consult-wine-pause", "ConsultarSAT, wine, LogMode=1, after 3 s", MINIMAL, "ms", Goal("none"),
              measures.after_a_pause(Wine, CONSULT))


def routine(name, what, limit_is, goal, program, measured, limit):
    return Row(name, what, limit_is, "ms", goal, measures.benchmarked(program, measured, limit))


ROWS = [
    *exchange_rows(),
    Row("paced-sale", "20 KB sale, 30 KB reply, 115200 baud: wire share", "wire and demanded waits", "ms",
        Goal("share", 0.98), measures.paced_sale),
    Row("processor-consult", "processor time, ConsultarSAT", MINIMAL, "ms", Goal("more", 0.3),
        measures.processor_time(CONSULT)),
    Row("processor-sale", "processor time, 5 KB sale", MINIMAL, "ms", Goal("more", 0.3),
        measures.processor_time(SALE)),
    Row("memory-native", "resident after 100 sales", MINIMAL, "MB", Goal("more", 4), measures.memory(Native)),
    # The system's own libraries that find devices are mapped too: files that all programs share, and not ours to make
    # smaller. What the library allocates or has as a buffer is no file's.
    Row("memory-wine-own", "resident after 100 sales, wine, without files", MINIMAL, "MB", Goal("more", 4),
        measures.memory(Wine, "RssAnon")),
    Row("memory-wine-all", "resident after 100 sales, wine", MINIMAL, "MB", Goal("none"), measures.memory(Wine)),
    *(Row(f"reply-sizes-log{mode}", f"a byte of 10 KB to 8 MB at 1 MB/s, LogMode={mode}", "the cheapest size", "ns",
          Goal("ratio", 1.15), measures.reply_sizes(mode)) for mode in (0, 5)),
    *(Row(f"reply-growth-log{mode}", f"a byte of 1..8 MB to 100 KB..1 MB, unpaced, LogMode={mode}",
          "the smaller replies", "ns", Goal("none"), measures.reply_growth(mode)) for mode in (0, 5)),
    routine("checksum", "checksum of 1 MB", "memcpy", Goal("ratio", 2.0), "base64_bench", "Checksum/1048576",
            "Memcpy/1048576"),
    routine("configuration", "pass over the default SAT.ini", "reading it once", Goal("value", 3.0), "settings_bench",
            "ConfigurationPass", "ReadDefault"),
    routine("lookup-growth", "look-up in a section of 200 KB", "of 100 KB", Goal("ratio", 2.2), "settings_bench",
            "Lookup/200000", "Lookup/100000"),
    routine("lookup-200", "look-up in a section of 200 KB", "reading it once", Goal("none"), "settings_bench",
            "Lookup/200000", "ReadLong/200000"),
    routine("encode", "Base64 of 1 MB, encoding", "libcrypto", Goal("below", 1.0), "base64_bench",
            "EncodeOurs/1048576", "EncodeOpenssl/1048576"),
    routine("decode", "Base64 of 1 MB, decoding", "libcrypto", Goal("below", 1.0), "base64_bench",
            "DecodeOurs/1048576", "DecodeOpenssl/1048576"),
    Row("first-call-wine", "first call of a process, ConsultarSAT, wine", MINIMAL, "ms", Goal("more", 20),
        measures.first_call),
]


def chosen(names):
    """The rows whose names contain one of `names`, in the table's order; all rows without any. KeyError for a name
    that is in none."""
    for name in names:
        if not any(name in row.name for row in ROWS):
            raise KeyError(name)
    return [row for row in ROWS if not names or any(name in row.name for name in names)]

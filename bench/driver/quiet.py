"""How quiet the machine is: what it takes to wake a process on another processor.

Every call into the system that another process serves costs this twice. On a virtual machine whose host is busy it
grows tenfold from one minute to the next, and with it whatever a row measures through such calls.
"""
import os
import statistics
import time

ROUNDS = 2000


def wake_up_us():
    """Microseconds, half a median round trip between processes on two processors; None where there is only one."""
    processors = sorted(os.sched_getaffinity(0))
    if len(processors) < 2:
        return None
    (to_echo, from_us), (to_us, from_echo) = os.pipe(), os.pipe()
    child = os.fork()
    if child == 0:
        os.sched_setaffinity(0, {processors[1]})
        for _ in range(ROUNDS):
            os.write(from_echo, os.read(to_echo, 1))
        os._exit(0)
    try:
        os.sched_setaffinity(0, {processors[0]})
        trips = []
        for _ in range(ROUNDS):
            start = time.perf_counter()
            os.write(from_us, b".")
            os.read(to_us, 1)
            trips.append(time.perf_counter() - start)
    finally:
        os.sched_setaffinity(0, processors)
        for descriptor in (to_echo, from_us, to_us, from_echo):
            os.close(descriptor)
        os.waitpid(child, 0)
    return round(statistics.median(trips) / 2 * 1e6, 1)

"""How quiet the machine is. The load does not show what the host of a virtual machine takes from it, and above some
two hundredths of its time a row says more of the host than of the library: a call into the system that another process
serves then waits for a processor twice. It is a share of all time: a row that mostly waits is disturbed by less."""
import time

# The share of the processors' time that the host may take of a quiet machine.
QUIET = 0.02
# How often a row is measured at most, and how long the host has in between.
MOST_TRIES = 4
PAUSE_S = 5


def processor_times():
    """What the processors have done so far, in ticks (proc(5), the first line of /proc/stat): all, and stolen."""
    with open("/proc/stat", encoding="ascii") as file:
        # The guests' times behind these eight are in the first two already.
        ticks = [int(field) for field in file.readline().split()[1:9]]
    return sum(ticks), ticks[7]


def stolen(before, behind):
    """The share of the processors' time that the host took from the machine in between."""
    return (behind[1] - before[1]) / max(1, behind[0] - before[0])


def quietest(measure):
    """What `measure` returned, each time with the share stolen meanwhile, the one that counts first. It is repeated
    until the machine was quiet. Where it never was, the quietest one counts: what it says has no part in that."""
    tries = []
    while not tries or (tries[-1][1] > QUIET and len(tries) < MOST_TRIES):
        if tries:
            time.sleep(PAUSE_S)
        before = processor_times()
        result = measure()
        tries.append((result, stolen(before, processor_times())))
    return sorted(tries, key=lambda tried: tried[1])

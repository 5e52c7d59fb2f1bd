"""The table's arithmetic: from pairs of measurements, taken in turn, to a judged row."""
import dataclasses
import json
import math


def quantile(values, share):
    """The value below which `share` of the values lie, between two of them where none does."""
    ordered = sorted(values)
    place = share * (len(ordered) - 1)
    below = math.floor(place)
    above = math.ceil(place)
    return ordered[below] + (ordered[above] - ordered[below]) * (place - below)


def median(values):
    return quantile(values, 0.5)


@dataclasses.dataclass(frozen=True)
class Goal:
    """What is compared, and with what. `kind` is one of

    ratio   measured / limit is at most the bound
    below   measured / limit is below the bound
    share   limit / measured is at least the bound
    more    measured - limit is at most the bound
    value   measured is at most the bound, whatever the limit
    none    measured / limit is only told
    """
    kind: str
    bound: float = 0.0

    def compare(self, measured, limit):
        if self.kind == "share":
            return limit / measured
        if self.kind == "more":
            return measured - limit
        return measured if self.kind == "value" else measured / limit

    def met(self, compared):
        if self.kind == "none":
            return None
        if self.kind == "share":
            return compared >= self.bound
        return compared < self.bound if self.kind == "below" else compared <= self.bound

    def text(self, unit):
        if self.kind == "none":
            return "(told)"
        if self.kind == "share":
            return f">= {self.bound:.1%}"
        if self.kind == "more":
            return f"<= +{self.bound:g} {unit}"
        if self.kind == "value":
            return f"<= {self.bound:g} {unit}"
        return f"{'<' if self.kind == 'below' else '<='} {self.bound:.2f}"

    def compared_text(self, value):
        """A compared value as the column of the spread shows it."""
        if self.kind == "share":
            return f"{value:.2%}"
        if self.kind == "more":
            return f"{value:+.3f}"
        return f"{value:.4g}" if self.kind == "value" else f"{value:.3f}"


@dataclasses.dataclass(frozen=True)
class Figure:
    """A judged row. `compared` is the median over the pairs of what the goal compares; `low` and `high` are its
    quartiles. `stolen` is the share of the machine's time that its host took meanwhile. `set_aside` has the compared
    and the stolen of the tries in which the host took more."""
    row: str
    what: str
    limit_is: str
    unit: str
    pairs: int
    measured: float
    limit: float
    compared: float
    low: float
    high: float
    goal: Goal
    stolen: float = 0.0
    set_aside: tuple[tuple[float, float], ...] = ()

    @property
    def ratio(self):
        """The compared value itself where that is a ratio, so that goal and column say the same."""
        return self.compared if self.goal.kind in ("ratio", "below", "none") else self.measured / self.limit

    @property
    def met(self):
        return self.goal.met(self.compared)


def judge(row, what, limit_is, unit, goal, pairs):
    """The figure of pairs (measured, limit)."""
    if not pairs:
        raise ValueError(f"{row}: nothing was measured")
    compared = [goal.compare(measured, limit) for measured, limit in pairs]
    return Figure(row, what, limit_is, unit, len(pairs), median([pair[0] for pair in pairs]),
                  median([pair[1] for pair in pairs]), median(compared), quantile(compared, 0.25),
                  quantile(compared, 0.75), goal)


def extremes(rounds):
    """Pairs of the largest and the smallest of several like figures, one a round: which two these are is said by the
    medians over all rounds, so that noise in one round does not choose them."""
    medians = [median(column) for column in zip(*rounds)]
    largest = medians.index(max(medians))
    smallest = medians.index(min(medians))
    return [(values[largest], values[smallest]) for values in rounds]


HEADINGS = ("row", "what", "measured", "limit", "ratio", "quartiles", "goal", "met", "stolen", "tries")


def cells(figure):
    goal = figure.goal
    spread = f"{goal.compared_text(figure.low)} .. {goal.compared_text(figure.high)}"
    met = {True: "yes", False: "NO", None: "-"}[figure.met]
    return (figure.row, figure.what, f"{figure.measured:.4g} {figure.unit}", f"{figure.limit:.4g} {figure.unit}",
            f"{figure.ratio:.3f}", spread, goal.text(figure.unit), met,
            f"{figure.stolen:.1%}", str(1 + len(figure.set_aside)))


def table(figures):
    """The lines of the table."""
    rows = [HEADINGS, *map(cells, figures)]
    widths = [max(len(row[column]) for row in rows) for column in range(len(HEADINGS))]
    lines = []
    for row in rows:
        # Words to the left, numbers to the right.
        padded = [cell.ljust(width) if column in (0, 1, 6, 7) else cell.rjust(width)
                  for column, (cell, width) in enumerate(zip(row, widths))]
        lines.append("  ".join(padded).rstrip())
    lines.insert(1, "  ".join("-" * width for width in widths))
    return lines


def as_json(figures, about):
    rows = [{**dataclasses.asdict(figure), "goal": figure.goal.text(figure.unit), "goal_kind": figure.goal.kind,
             "bound": figure.goal.bound, "ratio": figure.ratio, "met": figure.met} for figure in figures]
    return json.dumps({**about, "all_met": all_met(figures), "rows": rows}, indent=2) + "\n"


def all_met(figures):
    return all(figure.met is not False for figure in figures)

#!/usr/bin/env python3
"""Measures the library beside its limits: a table on the output, and the same as JSON."""
import argparse
import dataclasses
import os
import platform
import sys
import time

import figures
import measures
import quiet
import rows
from programs import TOP, ProgramError


def arguments():
    parser = argparse.ArgumentParser(prog="scripts/bench", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter,
                                     epilog="rows:\n" + "\n".join(f"  {row.name:20} {row.what}" for row in rows.ROWS))
    parser.add_argument("row", nargs="*", help="measure only rows whose names contain this")
    parser.add_argument("--pairs", type=int, default=15, metavar="N",
                        help="how often the two sides are taken in turn (default 15); short exchanges four times that")
    parser.add_argument("--json", default=os.path.join(TOP, "build", "bench", "bench.json"), metavar="FILE",
                        help="where the JSON goes (default build/bench/bench.json)")
    result = parser.parse_args()
    if result.pairs < 1:
        parser.error("at least one pair")
    try:
        result.rows = rows.chosen(result.row)
    except KeyError as unknown:
        parser.error(f"no row's name contains {unknown}")
    return result


def measured(chosen, pairs):
    """The figures of the rows, one after the other; says on the error output where it is."""
    result = []
    with measures.Stage() as stage:
        for row in chosen:
            start = time.monotonic()
            print(f"   {row.name} ...", end="", file=sys.stderr, flush=True)
            (figure, stolen), *others = quiet.quietest(lambda row=row: figures.judge(
                row.name, row.what, row.limit_is, row.unit, row.goal, row.measure(stage, pairs)))
            set_aside = tuple((other.compared, others_stolen) for other, others_stolen in others)
            result.append(dataclasses.replace(figure, stolen=stolen, set_aside=set_aside))
            print(f" {time.monotonic() - start:.1f} s", file=sys.stderr, flush=True)
    return result


def main():
    asked = arguments()
    start = time.time()
    result = measured(asked.rows, asked.pairs)
    about = {"commit": measures.commit(), "when": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(start)),
             "seconds": round(time.time() - start, 1), "pairs": asked.pairs, "processors": os.cpu_count(),
             "system": platform.platform(), "load_behind": os.getloadavg()[0]}
    os.makedirs(os.path.dirname(os.path.abspath(asked.json)), exist_ok=True)
    with open(asked.json, "w", encoding="utf-8") as file:
        file.write(figures.as_json(result, about))
    print("\n".join(figures.table(result)))
    missed = [figure.row for figure in result if figure.met is False]
    print(f"{len(result)} rows, " + (f"missed: {', '.join(missed)}" if missed else "every goal met"))
    return 1 if missed else 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except ProgramError as error:
        print(f"\nscripts/bench: {error}", file=sys.stderr)
        sys.exit(2)

#!/usr/bin/env python3
"""The functions of the package beside those of NumPy on the same stacks, in one run and one thread.

    PYTHONPATH=build/release/python /usr/bin/python3 python/bench/beside_numpy.py [--counts 1000 100000] [--orders 3 4 6]
        [--functions det inv] [--markdown FILE] [--chart FILE] [--json FILE]

Both take turns; the minimum of the processor time counts, so that other programs disturb little. One row: function, type,
order, number of matrices, ns per matrix of both, how many times faster the package is, and the goal for that. The row `copy` is
numpy.copyto beside itself: what memory asks for one matrix read and one written. A count of 1 shows what a call costs.
"""

import argparse
import json
import os
import time

# Before NumPy loads its BLAS, whose threads are not for small matrices.
os.environ["OPENBLAS_NUM_THREADS"] = os.environ["OMP_NUM_THREADS"] = "1"

import numpy  # noqa: E402

import tarnm  # noqa: E402
from chart import chart  # noqa: E402

# How many times faster than NumPy a stack has to be; what a call for one 3 x 3 matrix may cost, ns.
GOALS = {"matmul": 4, "det": 10, "inv": 10, "solve": 10, "cholesky": 10, "qr": 10, "eigh": 5, "eigvals": 5}
CALL_GOAL = 1500


def stacks(order, count, dtype):
    random = numpy.random.default_rng(1)
    a = random.uniform(-1, 1, (count, order, order))
    positive = a @ numpy.swapaxes(a, 1, 2) + numpy.eye(order)
    return (a + 2 * order * numpy.eye(order)).astype(dtype), positive.astype(dtype)


def contenders(order, count, dtype):
    a, p = stacks(order, count, dtype)
    right, place = a[..., :1].copy(), numpy.empty_like(a)
    yield "copy", lambda: numpy.copyto(place, a), lambda: numpy.copyto(place, a)
    yield "matmul", lambda: tarnm.matmul(a, p), lambda: numpy.matmul(a, p)
    yield "det", lambda: tarnm.det(a), lambda: numpy.linalg.det(a)
    yield "inv", lambda: tarnm.inv(a), lambda: numpy.linalg.inv(a)
    yield "solve", lambda: tarnm.solve(a, right), lambda: numpy.linalg.solve(a, right)
    yield "cholesky", lambda: tarnm.cholesky(p), lambda: numpy.linalg.cholesky(p)
    yield "qr", lambda: tarnm.qr(a), lambda: numpy.linalg.qr(a)
    yield "eigh", lambda: tarnm.eigh(p), lambda: numpy.linalg.eigh(p)
    yield "eigvals", lambda: tarnm.eigvals(a), lambda: numpy.linalg.eigvals(a)


def seconds(function, repeat):
    # Memory as a loop over this function finds it, not as the other contender left it.
    function()
    start = time.thread_time()
    for _ in range(repeat):
        function()
    return (time.thread_time() - start) / repeat


def compared(ours, theirs, count, budget):
    # The clock is a call of the system: what takes less than some microseconds is repeated between two looks at it.
    repeat = max(2, 3000 // count)
    best = [float("inf")] * 2
    end = time.perf_counter() + budget
    for turn in range(1000000):
        times = [seconds(ours, repeat), seconds(theirs, repeat)]
        if turn > 0:
            best = [min(pair) for pair in zip(best, times)]
        if turn >= 3 and time.perf_counter() > end:
            return [1e9 * each / count for each in best]


def measured(options):
    for dtype in ("float32", "float64"):
        for order in options.orders:
            for count in options.counts:
                for name, ours, theirs in contenders(order, count, dtype):
                    if options.functions and name not in options.functions:
                        continue
                    a, b = compared(ours, theirs, count, options.budget)
                    yield {"function": name, "type": dtype, "order": order, "count": count, "tarnm": a, "numpy": b}


def goal_of(row):
    """The goal as text, and whether it is reached; nothing for a row without one."""
    goal = GOALS.get(row["function"])
    if goal is None:
        return "", ""
    if row["count"] == 1 and row["order"] != 3:
        return "", ""
    if row["count"] == 1:
        return f"< {CALL_GOAL} ns", "yes" if row["tarnm"] < CALL_GOAL else "no"
    return f"{goal}", "yes" if row["numpy"] >= goal * row["tarnm"] else "no"


def markdown(rows):
    lines = ["| function | type | n | matrices | tarnm, ns | NumPy, ns | times faster | goal | reached |",
             "|---|---|--:|--:|--:|--:|--:|--:|---|"]
    for row in rows:
        goal, reached = goal_of(row)
        lines.append(f"| {row['function']} | {row['type']} | {row['order']} | {row['count']} | {row['tarnm']:.1f} | "
                     f"{row['numpy']:.1f} | {row['numpy'] / row['tarnm']:.1f} | {goal} | {reached} |")
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--counts", type=int, nargs="+", default=[1, 1000, 100000])
    parser.add_argument("--orders", type=int, nargs="+", default=[3, 4, 6])
    parser.add_argument("--functions", nargs="+", default=[], help="these alone")
    parser.add_argument("--budget", type=float, default=0.5, help="seconds for a row")
    parser.add_argument("--markdown", help="write a table there")
    parser.add_argument("--chart", help="draw the rows there, SVG")
    parser.add_argument("--json", help="write the rows there")
    options = parser.parse_args()
    tarnm.set_num_threads(1)
    rows = []
    print(f"{'function':9} {'type':8} {'n':>2} {'count':>7} {'tarnm ns':>10} {'NumPy ns':>10} {'ratio':>6} {'goal':>9} reached")
    for row in measured(options):
        rows.append(row)
        a, b = row["tarnm"], row["numpy"]
        goal, reached = goal_of(row)
        print(f"{row['function']:9} {row['type']:8} {row['order']:2} {row['count']:7} {a:10.1f} {b:10.1f} {b / a:6.1f} "
              f"{goal:>9} {reached}", flush=True)
    for name, text in (("markdown", markdown), ("chart", lambda all_rows: chart(all_rows, GOALS)),
                       ("json", lambda all_rows: json.dumps(all_rows, indent=1))):
        if getattr(options, name):
            with open(getattr(options, name), "w", encoding="utf-8") as file:
                file.write(text(rows))


if __name__ == "__main__":
    main()

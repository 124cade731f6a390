#!/usr/bin/env python3
"""The functions of the package beside those of NumPy on the same stacks, in one run.

    PYTHONPATH=build/gcc/python /usr/bin/python3 python/bench/beside_numpy.py [--counts 1000 100000] [--orders 3 4 6] [--json FILE]

Both take turns; the minimum counts. One row: function, type, order, number of matrices, ns per matrix of both, and how many
times faster the package is. One thread.
"""

import argparse
import json
import time

import numpy

import tarnm


def stacks(order, count, dtype):
    random = numpy.random.default_rng(1)
    a = random.uniform(-1, 1, (count, order, order))
    positive = a @ numpy.swapaxes(a, 1, 2) + numpy.eye(order)
    return (a + 2 * order * numpy.eye(order)).astype(dtype), positive.astype(dtype)


def rows(order, count, dtype):
    a, p = stacks(order, count, dtype)
    right = a[..., :1].copy()
    yield "matmul", lambda: tarnm.matmul(a, p), lambda: numpy.matmul(a, p)
    yield "det", lambda: tarnm.det(a), lambda: numpy.linalg.det(a)
    yield "inv", lambda: tarnm.inv(a), lambda: numpy.linalg.inv(a)
    yield "solve", lambda: tarnm.solve(a, right), lambda: numpy.linalg.solve(a, right)
    yield "cholesky", lambda: tarnm.cholesky(p), lambda: numpy.linalg.cholesky(p)
    yield "qr", lambda: tarnm.qr(a), lambda: numpy.linalg.qr(a)
    yield "eigh", lambda: tarnm.eigh(p), lambda: numpy.linalg.eigh(p)
    yield "eigvals", lambda: tarnm.eigvals(a), lambda: numpy.linalg.eigvals(a)


def seconds(function):
    start = time.perf_counter()
    function()
    return time.perf_counter() - start


def compared(ours, theirs, budget):
    ours(), theirs()
    best = [float("inf")] * 2
    end = time.perf_counter() + budget
    while True:
        best = [min(best[0], seconds(ours)), min(best[1], seconds(theirs))]
        if time.perf_counter() > end:
            return best


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--counts", type=int, nargs="+", default=[1, 1000, 100000])
    parser.add_argument("--orders", type=int, nargs="+", default=[3, 4, 6])
    parser.add_argument("--budget", type=float, default=0.5, help="seconds for a row")
    parser.add_argument("--json", help="write the rows there, too")
    options = parser.parse_args()
    tarnm.set_num_threads(1)
    table = []
    print(f"{'function':9} {'type':8} {'n':>2} {'count':>7} {'tarnm ns':>10} {'NumPy ns':>10} {'ratio':>6}")
    for dtype in ("float32", "float64"):
        for order in options.orders:
            for count in options.counts:
                for name, ours, theirs in rows(order, count, dtype):
                    a, b = (1e9 * best / count for best in compared(ours, theirs, options.budget))
                    table.append({"function": name, "type": dtype, "order": order, "count": count, "tarnm": a, "numpy": b})
                    print(f"{name:9} {dtype:8} {order:2} {count:7} {a:10.1f} {b:10.1f} {b / a:6.1f}", flush=True)
    if options.json:
        with open(options.json, "w", encoding="utf-8") as file:
            json.dump(table, file, indent=1)


if __name__ == "__main__":
    main()

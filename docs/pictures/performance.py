#!/usr/bin/python3
"""Plots the time of overlays against degree, atoms and conformers.

Usage: performance.py overlay.json performance.png

overlay.json: what overlay_bench writes with --benchmark_format=json
--benchmark_repetitions=5 --benchmark_filter='Search|ScreenBySize'.
"""

import json
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

MICROSECONDS = {"ns": 1e-3, "us": 1.0, "ms": 1e3}


def medians(path):
    """Name and arguments of each benchmark, with its median in microseconds."""
    with open(path) as file:
        for run in json.load(file)["benchmarks"]:
            if run.get("aggregate_name") == "median":
                name, *arguments = run["run_name"].split("/")
                yield name, [int(a.split(":")[1]) for a in arguments], (
                    run["cpu_time"] * MICROSECONDS[run["time_unit"]]
                )


runs = list(medians(sys.argv[1]))
figure, (left, middle, right) = plt.subplots(1, 3, figsize=(12, 3.8), layout="constrained")

for name, label in (
    ("SearchDense", "dense operators"),
    ("SearchOneAtATime", "one start at a time"),
    ("SearchInLanes", "four starts in lanes"),
):
    points = sorted((a[0], t) for n, a, t in runs if n == name)
    left.plot(*zip(*points), "o-", label=label)
left.set(xlabel="degree", ylabel="µs for four starts", yscale="log", title="Search")
left.legend()

by_size = [(a, t) for n, a, t in runs if n == "ScreenBySize"]
for axis, place, other, label in (
    (middle, 0, 1, "atoms of reference and fit"),
    (right, 1, 0, "conformers of 25 atoms"),
):
    fixed = {0: 25, 1: 1}[other]
    points = sorted((a[place], t) for a, t in by_size if a[other] == fixed)
    axis.plot(*zip(*points), "o-")
    axis.set(xlabel=label, ylabel="µs", xlim=(0, None), ylim=(0, None))
    axis.set_title("Expansion, search, polish")

figure.savefig(sys.argv[2], dpi=110)

#!/usr/bin/python3
"""Makes tests/data/numerics/lasso_paths.txt: LASSO paths of small designs by scikit-learn.

usage: lasso_paths.py > lasso_paths.txt   (python3-sklearn)

For each design: a line "name rows columns actives leavings"; X by rows, each followed by its
element of y; the columns in the order of their first entry; and for each of them a line, the
coefficients of all that had entered, where the next one enters or at the end of the path.
"""
import numpy as np
from sklearn.linear_model import lars_path

RANDOM = np.random.default_rng(4)


def overlapping(rows, columns):
    """Gaussians side by side, each at half its height where the next one peaks."""
    x = np.linspace(0, 1, rows)[:, None]
    return np.exp(-np.log(2) * (x * (columns - 1) - np.arange(columns)) ** 2)


def correlated(rows, columns):
    return RANDOM.normal(size=(rows, columns)) / 3 + RANDOM.normal(size=(rows, 1))


DESIGNS = [
    ("tall", RANDOM.normal(size=(30, 5))),
    ("wide", RANDOM.normal(size=(7, 12))),
    ("correlated", correlated(12, 9)),
    ("sums", np.cumsum(RANDOM.normal(size=(15, 10)), axis=1)),
    ("overlapping", overlapping(21, 9)),
]


def path(X, y):
    coefficients = lars_path(X, y, method="lasso", max_iter=10**6)[2]
    used = coefficients != 0
    # A column is 0 at the knot where it enters.
    entries = sorted((int(np.argmax(used[j])) - 1, j) for j in range(len(used)) if used[j].any())
    actives = [j for _, j in entries]
    knots = [knot for knot, _ in entries[1:]] + [coefficients.shape[1] - 1]
    leavings = int((used[:, :-1] & ~used[:, 1:]).sum())
    return actives, [coefficients[actives[:k + 1], knot] for k, knot in enumerate(knots)], leavings


def line(numbers):
    print(*(f"{value:.13g}" for value in numbers))


for name, X in DESIGNS:
    X = np.round(X, 2)
    y = np.round(RANDOM.normal(size=len(X)), 2)
    actives, entries, leavings = path(X, y)
    print(name, *X.shape, len(actives), leavings)
    for row in np.column_stack([X, y]):
        line(row)
    line(actives)
    for entry in entries:
        line(entry)

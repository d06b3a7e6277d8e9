#!/usr/bin/python3
"""SciPy's BFGS on the problems of bench/minimizer_bench.cpp: evaluations and the value reached.

SciPy stops by the gradient alone, here at 1e-6 in every component, so the value column tells how
the work compares. Needs python3-scipy.
"""

import numpy as np
from scipy.optimize import minimize


def rosenbrock(x):
    r = [10 * (x[1] - x[0] ** 2), 1 - x[0]]
    return r, [[-20 * x[0], 10], [-1, 0]]


def powell_badly_scaled(x):
    e = np.exp(-x)
    return [1e4 * x[0] * x[1] - 1, e[0] + e[1] - 1.0001], [[1e4 * x[1], 1e4 * x[0]], -e]


def brown_badly_scaled(x):
    r = [x[0] - 1e6, x[1] - 2e-6, x[0] * x[1] - 2]
    return r, [[1, 0], [0, 1], [x[1], x[0]]]


def beale(x):
    powers = np.arange(1, 4)
    r = np.array([1.5, 2.25, 2.625]) - x[0] * (1 - x[1] ** powers)
    return r, np.stack([x[1] ** powers - 1, x[0] * powers * x[1] ** (powers - 1)], axis=1)


def powell_singular(x):
    a, b = x[1] - 2 * x[2], x[0] - x[3]
    r = [x[0] + 10 * x[1], 5**0.5 * (x[2] - x[3]), a**2, 10**0.5 * b**2]
    s = 2 * 10**0.5 * b
    return r, [[1, 10, 0, 0], [0, 0, 5**0.5, -(5**0.5)], [0, 2 * a, -4 * a, 0], [s, 0, 0, -s]]


def wood(x):
    p, q = 90**0.5, 10**0.5
    r = [10 * (x[1] - x[0] ** 2), 1 - x[0], p * (x[3] - x[2] ** 2), 1 - x[2],
         q * (x[1] + x[3] - 2), (x[1] - x[3]) / q]
    return r, [[-20 * x[0], 10, 0, 0], [-1, 0, 0, 0], [0, 0, -2 * p * x[2], p], [0, 0, -1, 0],
               [0, q, 0, q], [0, 1 / q, 0, -1 / q]]


def pairs_of_rosenbrock(x):
    a, b = x[0::2], x[1::2]
    jacobian = np.zeros((x.size, x.size))
    even = np.arange(0, x.size, 2)
    jacobian[even, even], jacobian[even, even + 1], jacobian[even + 1, even] = -20 * a, 10, -1
    return np.stack([10 * (b - a**2), 1 - a], axis=1).ravel(), jacobian


def objective(residuals):
    def value_and_gradient(x):
        r, jacobian = map(np.asarray, residuals(x))
        return r @ r, 2 * r @ jacobian

    return value_and_gradient


PROBLEMS = [
    (rosenbrock, [-1.2, 1]),
    (powell_badly_scaled, [0, 1]),
    (brown_badly_scaled, [1, 1]),
    (beale, [1, 1]),
    (powell_singular, [3, -1, 0, 1]),
    (wood, [-3, -1, -3, -1]),
    (pairs_of_rosenbrock, [-1.2, 1] * 30),
    (pairs_of_rosenbrock, [-1.2, 1] * 300),
]

print(f"{'problem':22}{'variables':>10}{'iterations':>12}{'evaluations':>12}{'value':>12}  message")
for residuals, start in PROBLEMS:
    result = minimize(objective(residuals), np.array(start, float), jac=True, method="BFGS",
                      options={"gtol": 1e-6, "maxiter": 2000})
    print(f"{residuals.__name__:22}{len(start):10}{result.nit:12}{result.nfev:12}"
          f"{result.fun:12.2g}  {result.message}")

#!/usr/bin/python3
"""Makes tests/data/hermite/water_electrostatics.txt: a charge density fitted by NumPy.

usage: water_electrostatics.py water.json > water_electrostatics.txt   (python3-numpy)

water.json: RHF/6-31G* potential (kcal/mol/e) and field (kcal/mol/e/angstrom) by psi4 at points 1.4
to 2 van der Waals radii from the atoms, with the keys atoms (a list with x, y, z), points,
potential, field_x, field_y, field_z, holdout. Every fourth point is taken.

The density: all functions H_l H_m H_n exp(-t^2), 0 < l + m + n <= 2, of width 1.2/angstrom at each
atom. Least squares over centred columns. A column comes by quadrature over u:

  erf(w d)/d = 2/sqrt(pi) * integral from 0 to w of exp(-u^2 d^2),
  d^k/dx^k exp(-u^2 x^2) = (-u)^k H_k(u x) exp(-u^2 x^2)

Written: width, number of atoms, points fitted, points held out; a line for each atom, then x y z
potential field for each point; the coefficients of the functions; the relative rms error of the
potential at the points held out.
"""
import json
import sys

import numpy as np
from numpy.polynomial.hermite import hermval

WIDTH = 1.2
NODES, WEIGHTS = np.polynomial.legendre.leggauss(60)
U = WIDTH * (NODES + 1) / 2
LMN = [(l, m, s - l - m) for s in (1, 2) for l in range(s + 1) for m in range(s - l + 1)]
WEIGHTS *= WIDTH / 2 * 332.063713 * (np.pi / WIDTH**2) ** 1.5 * 2 / np.sqrt(np.pi)


def integrate(lmn, power, r):
    f = U**power * np.exp(-((U * np.linalg.norm(r, axis=1)[:, None]) ** 2))
    for axis, k in enumerate(lmn):
        f = f * hermval(U * r[:, axis:axis + 1], [0] * k + [1])
    return f @ WEIGHTS


def columns(points, atoms):
    for atom in atoms:
        for lmn in LMN:
            s, r = sum(lmn), points - atom
            blocks = [integrate(lmn, s, r)]
            blocks += [integrate(np.add(lmn, unit), s + 1, r) for unit in np.eye(3, dtype=int)]
            yield np.concatenate(blocks) / WIDTH**s


def line(numbers, digits):
    print(*(f"{value:.{digits}g}" for value in numbers))


with open(sys.argv[1]) as file:
    data = json.load(file)
atoms = np.array([[atom[axis] for axis in "xyz"] for atom in data["atoms"]])
points = np.reshape(data["points"], (-1, 3))
values = np.column_stack([data[key] for key in ("potential", "field_x", "field_y", "field_z")])
held = np.array(data["holdout"][::4]) == 1
points, values = points[::4], values[::4]

X = np.column_stack(list(columns(points[~held], atoms)))
X -= X.mean(axis=0)
coefficients = np.linalg.lstsq(X, values[~held].T.ravel(), rcond=None)[0]
there = values[held][:, 0]
found = (np.column_stack(list(columns(points[held], atoms))) @ coefficients)[:len(there)]

print(WIDTH, len(atoms), (~held).sum(), held.sum())
for atom in atoms:
    line(atom, 9)
for group in (~held, held):
    for row in np.column_stack([points, values])[group]:
        line(row, 9)
line(coefficients, 13)
line([np.linalg.norm(found - there) / np.linalg.norm(there)], 13)

#!/usr/bin/python3
"""Fits charge densities of more and more functions to a quantum mechanical potential and field.

Usage: fit_charges.py DATA.json

Errors are those at the points that are held out of the fit, beside those of atomic point charges.
"""

import json
import sys

import numpy as np

import qxhermite

COULOMB = 332.063713  # kcal/mol for two charges e, 1 angstrom apart


def relative_rms(errors, values):
    return np.sqrt(np.mean(errors**2) / np.mean(values**2))


def point_charges(atoms, points, potential, fitted):
    """The potential of neutral atomic charges, by least squares."""
    columns = COULOMB / np.linalg.norm(points[:, None] - atoms, axis=2)
    neutral = np.eye(len(atoms))[:, 1:] - np.eye(len(atoms))[:, :1]
    solution = np.linalg.lstsq(columns[fitted] @ neutral, potential[fitted], rcond=None)[0]
    return columns @ neutral @ solution


def main():
    with open(sys.argv[1]) as file:
        data = json.load(file)
    atoms = np.array([[atom[axis] for axis in "xyz"] for atom in data["atoms"]])
    points = np.reshape(data["points"], (-1, 3))
    potential = np.array(data["potential"])
    held_out = np.array(data["holdout"]) == 1

    charges = point_charges(atoms, points, potential, ~held_out)
    print(f"{len(atoms)} point charges  "
          f"{relative_rms((charges - potential)[held_out], potential[held_out]):.3f}")
    for per_atom in (2, 4, 8):
        fit = qxhermite.fit_charges(sys.argv[1], method="pruned", functions=per_atom * len(atoms))
        errors = fit.density.potential(points) - potential
        print(f"{fit.functions:2d} functions     "
              f"{relative_rms(errors[held_out], potential[held_out]):.3f}")


main()

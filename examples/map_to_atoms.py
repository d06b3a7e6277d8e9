#!/usr/bin/python3
"""Finds atoms in a density on a grid by two methods, and how far they are from those of a molecule.

Usage: map_to_atoms.py MAP.ccp4 MOLECULE.sdf
"""

import sys

import numpy as np

import qxhermite


def main():
    grid = qxhermite.read_grid(sys.argv[1])
    molecule = qxhermite.read_molecules(sys.argv[2])[0]
    heavy = molecule.coordinates[0][molecule.atomic_numbers > 1]
    print(f"{len(heavy)} heavy atoms, values up to {grid.values.max():.2f}")
    for method in ("refine", "lasso"):
        found = qxhermite.grid_to_atoms(grid, method=method)
        distances = np.linalg.norm(heavy[:, None] - found.coordinates, axis=2).min(axis=1)
        print(f"{method:7} {len(found)} atoms, cosine {found.cosine:.3f}, "
              f"at most {distances.max():.2f} A off")


main()

#!/usr/bin/python3
"""Takes one molecule around another at the distance where they touch: where is the energy least?

Usage: interaction_energy.py STANDS.json MOVES.json     potential and field of both
"""

import json
import sys

import numpy as np
from scipy.spatial.transform import Rotation

import qxhermite

RADII = {1: 1.2, 6: 1.7, 7: 1.55, 8: 1.52}  # angstrom


def atoms_of(path):
    with open(path) as file:
        atoms = json.load(file)["atoms"]
    return (np.array([[atom[axis] for axis in "xyz"] for atom in atoms]),
            np.array([RADII[atom["atomic_number"]] for atom in atoms]),
            [atom["element"] for atom in atoms])


def main():
    (a, a_radii, a_names), (b, b_radii, b_names) = map(atoms_of, sys.argv[1:])
    stands, moves = (qxhermite.fit_charges(path, method="pruned", functions=24).density
                     for path in sys.argv[1:])
    transforms = []
    for turn, way in zip(Rotation.random(2000, random_state=1).as_matrix(),
                         Rotation.random(2000, random_state=2).as_matrix()[:, 0]):
        turned = (b - b.mean(axis=0)) @ turn.T
        # The first distance along the way at which no two atoms are nearer than their radii, less
        # what a hydrogen bond allows.
        for distance in np.arange(0, 12, 0.05):
            place = a.mean(axis=0) + distance * way
            gaps = np.linalg.norm(a[:, None] - (turned + place), axis=2) - 0.72 * (
                a_radii[:, None] + b_radii)
            if gaps.min() > 0:
                break
        transform = np.eye(4)
        transform[:3, :3], transform[:3, 3] = turn, place - turn @ b.mean(axis=0)
        transforms.append(transform)

    energies = qxhermite.interaction_energy(stands, moves, np.array(transforms))
    best = transforms[energies.argmin()]
    moved = b @ best[:3, :3].T + best[:3, 3]
    i, j = np.unravel_index(np.linalg.norm(a[:, None] - moved, axis=2).argmin(), (len(a), len(b)))
    print(f"{len(energies)} places, {energies.min():.2f} to {energies.max():.2f} kcal/mol")
    print(f"the best has {a_names[i]} of the first by {b_names[j]} of the second")


main()

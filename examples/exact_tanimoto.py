#!/usr/bin/python3
"""Prints, for each pose of an overlay, the Tanimotos in its SD data beside the exact one.

Usage: exact_tanimoto.py reference.sdf hits.sdf [count]

The exact value comes from the overlaps of all pairs of atomic Gaussians, with no expansion in
between: for two Gaussians exp(-w |r - a|^2) and exp(-w |r - b|^2) it is proportional to
exp(-w |a - b|^2 / 2).
"""

import sys

import numpy as np
from rdkit import Chem

WIDTH = 2.34422871067 / 1.7**2


def overlap(a, b):
    squared = ((a[:, None] - b[None]) ** 2).sum(-1)
    return np.exp(-0.5 * WIDTH * squared).sum()


def heavy_atoms(path):
    for mol in Chem.SDMolSupplier(path, removeHs=True):
        yield mol, np.array(mol.GetConformer().GetPositions())


reference = next(heavy_atoms(sys.argv[1]))[1]
count = int(sys.argv[3]) if len(sys.argv) > 3 else None
print(f"{'title':20s} {'expanded':>9s} {'told':>9s} {'exact':>9s}")
for mol, fit in list(heavy_atoms(sys.argv[2]))[:count]:
    common = overlap(reference, fit)
    exact = common / (overlap(reference, reference) + overlap(fit, fit) - common)
    expanded = mol.GetProp("Shape Tanimoto")
    told = mol.GetProp("Exact Shape Tanimoto") if mol.HasProp("Exact Shape Tanimoto") else ""
    print(f"{mol.GetProp('_Name'):20s} {expanded:>9s} {told:>9s} {exact:9.6f}")
